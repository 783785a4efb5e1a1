#pragma once

#include <QtGlobal>

#include <memory>

class PLOutlineNode;

// One node found in a range of a file's text, with the index at which its content begins.
class PLLatexFileContentParserNodeSearchResult
{
public:
    PLLatexFileContentParserNodeSearchResult(std::shared_ptr<PLOutlineNode> node, qsizetype location)
        : m_node(std::move(node)), m_location(location)
    {
    }

    const std::shared_ptr<PLOutlineNode> &node() const { return m_node; }
    qsizetype location() const { return m_location; }

private:
    std::shared_ptr<PLOutlineNode> m_node;
    qsizetype m_location;
};
