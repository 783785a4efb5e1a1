#include "core/latex/PLOutlineTreeHelper.h"

#include "core/latex/PLOutlineNode.h"

std::optional<PLLatexFileContentRangeSearchResult> PLOutlineTreeHelper::locateNodesInRange(qsizetype location,
                                                                                          qsizetype length) const
{
    if (!m_rootNode)
        return std::nullopt;
    PLOutlineNode *node = m_rootNode.get();
    qsizetype offset = 0;
    if (node->type() == PLOutlineNode::FileRoot) {
        node = node->nodeAtLocation(location, &offset);
        if (!node)
            return std::nullopt;
    } else {
        for (PLOutlineNode *next = node->traverseRightNode(); next && node->contentLength() + offset < location;
             next = node->traverseRightNode()) {
            offset += node->contentLength();
            node = next;
        }
    }
    PLLatexFileContentRangeSearchResult result;
    result.addSearchResult(PLLatexFileContentParserNodeSearchResult(node->shared_from_this(), offset));
    const qsizetype end = location + length;
    for (PLOutlineNode *next = node->traverseRightNode(); next && node->contentLength() + offset < end;
         next = node->traverseRightNode()) {
        offset += node->contentLength();
        node = next;
        result.addSearchResult(PLLatexFileContentParserNodeSearchResult(node->shared_from_this(), offset));
    }
    return result;
}

std::shared_ptr<PLFile> PLOutlineTreeHelper::fileForIncludeNodeAtRange(qsizetype location, qsizetype length) const
{
    const auto found = locateNodesInRange(location, length);
    if (!found || found->countOfResults() == 0)
        return nullptr;
    const auto &record = found->searchResultAtIndex(0);
    const QStringView content = record.node()->contentView();
    qsizetype commas = 0;
    for (qsizetype i = 0; i < content.size() && record.location() + i < location; ++i) {
        if (content[i] == u',')
            ++commas;
    }
    const auto child = record.node()->childAtIndex(commas);
    return child ? child->file() : nullptr;
}
