#pragma once

#include "core/latex/PLLatexFileContentParserNodeSearchResult.h"

#include <QList>

// The nodes that cover a range of a file's text, in document order.
class PLLatexFileContentRangeSearchResult
{
public:
    void addSearchResult(const PLLatexFileContentParserNodeSearchResult &result) { m_nodes.append(result); }
    const PLLatexFileContentParserNodeSearchResult &searchResultAtIndex(qsizetype index) const { return m_nodes.at(index); }
    qsizetype countOfResults() const { return m_nodes.size(); }
    const QList<PLLatexFileContentParserNodeSearchResult> &nodes() const { return m_nodes; }

private:
    QList<PLLatexFileContentParserNodeSearchResult> m_nodes;
};
