#pragma once

#include "PLLatexSyntaxHighlighterDelegate.h"

// The rules of bibliography files: entry types and "key = {value}" fields, then every LaTeX rule,
// so the LaTeX rules win where they overlap.
class PLBIBSyntaxHightlighterDelegate : public PLLatexSyntaxHighlighterDelegate
{
public:
    void syntaxHighlighterWillProcessStringForHighlighting(PLSyntaxHighlighter *syntaxHighlighter,
                                                           const QString &string, qsizetype lineStart) override;
};
