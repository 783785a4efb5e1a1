#include "core/latex/PLDocumentOutlineViewDataSource.h"

#include "core/foundation/PLError.h"
#include "core/project/PLFile.h"
#include "core/latex/PLOutlineNode.h"

#include <algorithm>

namespace {
bool isPlainText(const PLOutlineNode &node)
{
    return node.type() == 7 && node.textNodeSubType() == 0;
}
bool isInclude(const PLOutlineNode &node)
{
    return node.type() == 7 && node.textNodeSubType() == 1;
}
bool isBibliography(const PLOutlineNode &node)
{
    return node.type() == 7 && node.textNodeSubType() == 2;
}
}

int PLDocumentOutlineViewDataSource::numberOfChildrenOfItem(const PLOutlineNode *item) const
{
    if (!item)
        return m_file ? 1 : 0;
    int count = 0;
    for (const auto &child : item->children()) {
        if (isPlainText(*child))
            continue;
        count += isBibliography(*child) ? int(child->childCount()) : 1;
    }
    return count;
}

std::shared_ptr<PLOutlineNode> PLDocumentOutlineViewDataSource::childOfItem(int index, const PLOutlineNode *item) const
{
    if (!item)
        return m_file ? m_file->outlineRootNode() : nullptr;
    // A bibliography shows a row per file, so a level can have more rows than raw children: every
    // row the count reports is answered.
    if (index < 0 || index >= std::max(int(item->childCount()), numberOfChildrenOfItem(item)))
        throw PLException(QStringLiteral("IndexOutOfBoundsException"),
                          QStringLiteral("Tried accessing a child at an index outside the amount of children"));
    qsizetype remaining = index;
    std::shared_ptr<PLOutlineNode> taken;
    for (const auto &child : item->children()) {
        if (isPlainText(*child))
            continue;
        if (isBibliography(*child)) {
            if (remaining < qsizetype(child->childCount())) {
                taken = child->childAtIndex(remaining);
                break;
            }
            remaining -= child->childCount();
        } else if (remaining == 0) {
            taken = child;
            break;
        } else {
            --remaining;
        }
    }
    if (taken && isInclude(*taken))
        return taken->childAtIndex(0);
    return taken;
}

void PLDocumentOutlineViewDataSource::appendChildrenOfItem(const PLOutlineNode *item,
                                                           std::vector<std::shared_ptr<PLOutlineNode>> &rows) const
{
    if (!item) {
        if (m_file)
            rows.push_back(m_file->outlineRootNode());
        return;
    }
    // An include whose file could not be followed has no root to show, and no row.
    const auto append = [&rows](const std::shared_ptr<PLOutlineNode> &node) {
        if (auto shown = isInclude(*node) ? node->childAtIndex(0) : node)
            rows.push_back(std::move(shown));
    };
    for (const auto &child : item->children()) {
        if (isPlainText(*child))
            continue;
        if (isBibliography(*child)) {
            for (const auto &file : child->children())
                append(file);
        } else {
            append(child);
        }
    }
}

QString PLDocumentOutlineViewDataSource::objectValueForItem(const PLOutlineNode *item) const
{
    return item ? item->escapedName() : QString();
}

bool PLDocumentOutlineViewDataSource::isGroupItem(const PLOutlineNode *item) const
{
    return item && m_file && item == m_file->outlineRootNode().get();
}

QString PLDocumentOutlineViewDataSource::iconResourceNameForItem(const PLOutlineNode *item) const
{
    if (!item || isGroupItem(item))
        return QString();
    switch (item->type()) {
    case 0: {
        // A bibliography command shows its files' roots in its place; they keep its icon.
        const auto file = item->file();
        if (file && file->type().compare(QStringLiteral("bib"), Qt::CaseInsensitive) == 0)
            return QStringLiteral("bibliography_outline_icon.png");
        return QStringLiteral("fileIncludes.png");
    }
    case 1: return QStringLiteral("parts.png");
    case 2: return QStringLiteral("chapters.png");
    case 3: return QStringLiteral("sections.png");
    case 4: return QStringLiteral("subsections.png");
    case 7:
        if (isInclude(*item))
            return QStringLiteral("fileIncludes.png");
        if (isBibliography(*item))
            return QStringLiteral("bibliography_outline_icon.png");
        return QString();
    default: return QString();
    }
}
