#pragma once

#include "core/latex/PLLatexFileContentRangeSearchResult.h"

#include <memory>
#include <optional>

class PLFile;
class PLOutlineNode;

// Finds the outline nodes of one file that cover a range of its text, counting from a root whose
// nodes, walked in order, hold the text piece by piece.
class PLOutlineTreeHelper
{
public:
    explicit PLOutlineTreeHelper(std::shared_ptr<PLOutlineNode> rootNode) : m_rootNode(std::move(rootNode)) {}

    const std::shared_ptr<PLOutlineNode> &rootNode() const { return m_rootNode; }

    // The covering nodes with the locations where their contents begin; a location at the end of
    // one node belongs to it rather than to the next. Nothing for a root without children.
    std::optional<PLLatexFileContentRangeSearchResult> locateNodesInRange(qsizetype location, qsizetype length) const;
    // The file named by the include or bibliography command at the range (the name the range
    // falls in, counted by commas), or nothing.
    std::shared_ptr<PLFile> fileForIncludeNodeAtRange(qsizetype location, qsizetype length) const;

private:
    std::shared_ptr<PLOutlineNode> m_rootNode;
};
