#pragma once

#include "core/editor/PLLatexSyntaxHighlighterDelegate.h"

// The rules of bibliography files: entry types and "key = {value}" fields, then every LaTeX rule,
// so the LaTeX rules win where they overlap.
class PLBIBSyntaxHightlighterDelegate : public PLLatexSyntaxHighlighterDelegate
{
public:
    void syntaxHighlighterWillProcessStringForHighlighting(PLSyntaxHighlighter *syntaxHighlighter,
                                                           const QString &string, qsizetype lineStart) override;

    // From the line's first character through the line's last closing brace, when the line holds
    // "name = {" with some value after the brace.
    static PLRange keyValueLocator(const QString &string, qsizetype location, qsizetype length);
};
