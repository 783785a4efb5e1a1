#include "PLOutlineTreeHelper.h"

#include "PLOutlineNode.h"

std::optional<PLLatexFileContentRangeSearchResult> PLOutlineTreeHelper::locateNodesInRange(qsizetype location,
                                                                                          qsizetype length) const
{
    if (!m_rootNode)
        return std::nullopt;
    std::shared_ptr<PLOutlineNode> node = m_rootNode;
    if (node->type() == PLOutlineNode::FileRoot) {
        if (node->childCount() == 0)
            return std::nullopt;
        node = node->childAtIndex(0);
    }
    qsizetype offset = 0;
    for (auto next = node->traverseRight(); node->contentLength() + offset < location && next; next = node->traverseRight()) {
        offset += node->contentLength();
        node = std::move(next);
    }
    PLLatexFileContentRangeSearchResult result;
    result.addSearchResult(PLLatexFileContentParserNodeSearchResult(node, offset));
    const qsizetype end = location + length;
    for (auto next = node->traverseRight(); node->contentLength() + offset < end && next; next = node->traverseRight()) {
        offset += node->contentLength();
        node = std::move(next);
        result.addSearchResult(PLLatexFileContentParserNodeSearchResult(node, offset));
    }
    return result;
}

std::shared_ptr<PLFile> PLOutlineTreeHelper::fileForIncludeNodeAtRange(qsizetype location, qsizetype length) const
{
    const auto found = locateNodesInRange(location, length);
    if (!found || found->countOfResults() == 0)
        return nullptr;
    const auto &record = found->searchResultAtIndex(0);
    const QString content = record.node()->content();
    qsizetype commas = 0;
    for (qsizetype i = 0; i < content.size() && record.location() + i < location; ++i) {
        if (content[i] == u',')
            ++commas;
    }
    const auto child = record.node()->childAtIndex(commas);
    return child ? child->file() : nullptr;
}
