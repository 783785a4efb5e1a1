#pragma once

#include "core/latex/PLDocumentOutlineViewDataSource.h"

#include <QAbstractItemModel>
#include <QHash>
#include <QPixmap>

#include <memory>
#include <vector>

class PLFile;
class PLOutlineNode;

// The sidebar's rows as a Qt item model: the rows the outline data source answers for a
// project's main file, kept as a tree of their own so that a row knows its parent even where an
// included file's root (which has no parent node) stands in for its include command.
class PLDocumentOutlineItemModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    enum Role {
        IsGroupRole = Qt::UserRole + 1,
    };

    explicit PLDocumentOutlineItemModel(const std::shared_ptr<PLFile> &file, QObject *parent = nullptr);
    ~PLDocumentOutlineItemModel() override;

    const PLDocumentOutlineViewDataSource &dataSource() const { return m_dataSource; }
    std::shared_ptr<PLOutlineNode> nodeForIndex(const QModelIndex &index) const;
    // Every row that shows the node (a file included twice shows twice).
    QModelIndexList indexesOfNode(const PLOutlineNode *node) const;

    // Builds every row again from the outline.
    void reloadData();
    // Brings the rows below every row of the file root up to date with the outline, keeping the
    // rows (and so their expansion) whose nodes are still there. Answers the rows that are new.
    QModelIndexList reloadItem(const PLOutlineNode *root);

    QModelIndex index(int row, int column, const QModelIndex &parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex &child) const override;
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

private:
    struct Item
    {
        std::shared_ptr<PLOutlineNode> node;
        Item *parent = nullptr;
        std::vector<std::unique_ptr<Item>> children;
        // What the row shows, so a row is repainted only when that changes.
        QString shown;
        QString icon;
        bool group = false;
    };

    std::vector<std::shared_ptr<PLOutlineNode>> visibleChildren(const Item *item) const;
    void build(Item *item) const;
    // Takes what the item's node now shows; true when that differs from what the row shows.
    bool refreshShown(Item *item) const;
    void synchronise(Item *item, QModelIndexList &inserted);
    QModelIndex indexOfItem(const Item *item) const;
    int rowOfItem(const Item *item) const;
    void collect(const Item *item, const PLOutlineNode *node, QList<const Item *> &found) const;
    // A file that includes itself, directly or not, would otherwise make an endless tree.
    static bool isRepeatedFileRoot(const Item *item, const PLOutlineNode *node);

    PLDocumentOutlineViewDataSource m_dataSource;
    Item m_top;
    mutable QHash<QString, QPixmap> m_icons;
};
