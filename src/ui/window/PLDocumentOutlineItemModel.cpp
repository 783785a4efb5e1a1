#include "ui/window/PLDocumentOutlineItemModel.h"

#include "core/project/PLFile.h"
#include "core/latex/PLOutlineNode.h"
#include "ui/window/PLResourceImage.h"

#include <QFont>
#include <QGuiApplication>
#include <QPalette>

PLDocumentOutlineItemModel::PLDocumentOutlineItemModel(const std::shared_ptr<PLFile> &file, QObject *parent)
    : QAbstractItemModel(parent), m_dataSource(file)
{
    build(&m_top);
}

PLDocumentOutlineItemModel::~PLDocumentOutlineItemModel() = default;

std::vector<std::shared_ptr<PLOutlineNode>> PLDocumentOutlineItemModel::visibleChildren(const Item *item) const
{
    std::vector<std::shared_ptr<PLOutlineNode>> nodes;
    if (item != &m_top && isRepeatedFileRoot(item->parent, item->node.get()))
        return nodes;
    m_dataSource.appendChildrenOfItem(item->node.get(), nodes);
    return nodes;
}

bool PLDocumentOutlineItemModel::isRepeatedFileRoot(const Item *item, const PLOutlineNode *node)
{
    if (node->type() != PLOutlineNode::FileRoot)
        return false;
    for (; item; item = item->parent) {
        if (item->node.get() == node)
            return true;
    }
    return false;
}

void PLDocumentOutlineItemModel::build(Item *item) const
{
    item->children.clear();
    for (auto &node : visibleChildren(item)) {
        auto child = std::make_unique<Item>();
        child->node = std::move(node);
        child->parent = item;
        refreshShown(child.get());
        build(child.get());
        item->children.push_back(std::move(child));
    }
}

bool PLDocumentOutlineItemModel::refreshShown(Item *item) const
{
    QString shown = m_dataSource.objectValueForItem(item->node.get());
    QString icon = m_dataSource.iconResourceNameForItem(item->node.get());
    const bool group = m_dataSource.isGroupItem(item->node.get());
    if (shown == item->shown && icon == item->icon && group == item->group)
        return false;
    item->shown = std::move(shown);
    item->icon = std::move(icon);
    item->group = group;
    return true;
}

void PLDocumentOutlineItemModel::reloadData()
{
    beginResetModel();
    build(&m_top);
    endResetModel();
}

QModelIndexList PLDocumentOutlineItemModel::reloadItem(const PLOutlineNode *root)
{
    QList<const Item *> found;
    collect(&m_top, root, found);
    QModelIndexList inserted;
    for (const Item *item : std::as_const(found))
        synchronise(const_cast<Item *>(item), inserted);
    return inserted;
}

void PLDocumentOutlineItemModel::collect(const Item *item, const PLOutlineNode *node, QList<const Item *> &found) const
{
    for (const auto &child : item->children) {
        if (child->node.get() == node)
            found << child.get();
        collect(child.get(), node, found);
    }
}

void PLDocumentOutlineItemModel::synchronise(Item *item, QModelIndexList &inserted)
{
    const std::vector<std::shared_ptr<PLOutlineNode>> wanted = visibleChildren(item);
    const QModelIndex parentIndex = indexOfItem(item);
    std::size_t row = 0;
    std::size_t next = 0;
    while (next < wanted.size()) {
        const std::shared_ptr<PLOutlineNode> &node = wanted[next];
        if (row < item->children.size() && item->children[row]->node == node) {
            synchronise(item->children[row].get(), inserted);
            // Typing in the text under a heading changes nothing the row shows.
            if (refreshShown(item->children[row].get())) {
                const QModelIndex kept = index(int(row), 0, parentIndex);
                emit dataChanged(kept, kept);
            }
            ++row;
            ++next;
            continue;
        }
        // A node further down is still wanted here: the rows before it went away.
        std::size_t later = row;
        while (later < item->children.size() && item->children[later]->node != node)
            ++later;
        if (later < item->children.size()) {
            beginRemoveRows(parentIndex, int(row), int(later) - 1);
            item->children.erase(item->children.begin() + std::ptrdiff_t(row), item->children.begin() + std::ptrdiff_t(later));
            endRemoveRows();
            continue;
        }
        auto child = std::make_unique<Item>();
        child->node = node;
        child->parent = item;
        refreshShown(child.get());
        build(child.get());
        beginInsertRows(parentIndex, int(row), int(row));
        item->children.insert(item->children.begin() + std::ptrdiff_t(row), std::move(child));
        endInsertRows();
        inserted << index(int(row), 0, parentIndex);
        ++row;
        ++next;
    }
    if (row < item->children.size()) {
        beginRemoveRows(parentIndex, int(row), int(item->children.size()) - 1);
        item->children.erase(item->children.begin() + std::ptrdiff_t(row), item->children.end());
        endRemoveRows();
    }
}

std::shared_ptr<PLOutlineNode> PLDocumentOutlineItemModel::nodeForIndex(const QModelIndex &index) const
{
    if (!index.isValid())
        return nullptr;
    return static_cast<const Item *>(index.internalPointer())->node;
}

QModelIndexList PLDocumentOutlineItemModel::indexesOfNode(const PLOutlineNode *node) const
{
    QList<const Item *> found;
    collect(&m_top, node, found);
    QModelIndexList indexes;
    for (const Item *item : std::as_const(found))
        indexes << indexOfItem(item);
    return indexes;
}

int PLDocumentOutlineItemModel::rowOfItem(const Item *item) const
{
    const auto &siblings = item->parent->children;
    for (std::size_t row = 0; row < siblings.size(); ++row) {
        if (siblings[row].get() == item)
            return int(row);
    }
    return -1;
}

QModelIndex PLDocumentOutlineItemModel::indexOfItem(const Item *item) const
{
    if (item == &m_top)
        return QModelIndex();
    return createIndex(rowOfItem(item), 0, const_cast<Item *>(item));
}

QModelIndex PLDocumentOutlineItemModel::index(int row, int column, const QModelIndex &parent) const
{
    const Item *item = parent.isValid() ? static_cast<const Item *>(parent.internalPointer()) : &m_top;
    if (column != 0 || row < 0 || row >= int(item->children.size()))
        return QModelIndex();
    return createIndex(row, 0, item->children[std::size_t(row)].get());
}

QModelIndex PLDocumentOutlineItemModel::parent(const QModelIndex &child) const
{
    if (!child.isValid())
        return QModelIndex();
    return indexOfItem(static_cast<const Item *>(child.internalPointer())->parent);
}

int PLDocumentOutlineItemModel::rowCount(const QModelIndex &parent) const
{
    if (parent.column() > 0)
        return 0;
    const Item *item = parent.isValid() ? static_cast<const Item *>(parent.internalPointer()) : &m_top;
    return int(item->children.size());
}

int PLDocumentOutlineItemModel::columnCount(const QModelIndex &) const
{
    return 1;
}

QVariant PLDocumentOutlineItemModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return QVariant();
    const PLOutlineNode *node = static_cast<const Item *>(index.internalPointer())->node.get();
    switch (role) {
    case Qt::DisplayRole:
        return m_dataSource.objectValueForItem(node);
    case Qt::DecorationRole: {
        const QString name = m_dataSource.iconResourceNameForItem(node);
        if (name.isEmpty())
            return QVariant();
        auto cached = m_icons.find(name);
        if (cached == m_icons.end())
            cached = m_icons.insert(name, PLResourceImage(name));
        return *cached;
    }
    case Qt::ToolTipRole:
        if (node->type() == PLOutlineNode::FileRoot) {
            if (const auto file = node->file()) {
                if (!file->unreadableReason().isEmpty())
                    return QString(file->stringPath() + u'\n' + file->unreadableReason());
                return file->stringPath();
            }
        }
        return m_dataSource.objectValueForItem(node);
    case Qt::ForegroundRole:
        // A file that could not be read shows greyed, with the reason in its tooltip.
        if (node->type() == PLOutlineNode::FileRoot) {
            if (const auto file = node->file(); file && !file->unreadableReason().isEmpty())
                return QGuiApplication::palette().brush(QPalette::Disabled, QPalette::Text);
        }
        return QVariant();
    case IsGroupRole:
        return m_dataSource.isGroupItem(node);
    case Qt::SizeHintRole:
        return QSize(-1, int(PLDocumentOutlineViewDataSource::rowHeight));
    default:
        return QVariant();
    }
}

Qt::ItemFlags PLDocumentOutlineItemModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable;
}
