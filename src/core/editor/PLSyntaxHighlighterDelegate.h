#pragma once

#include <QString>

class PLSyntaxHighlighter;

// A rule set: paints the tokens of one line through the highlighter's two painting operations.
class PLSyntaxHighlighterDelegate
{
public:
    virtual ~PLSyntaxHighlighterDelegate() = default;

    // string is the text of one line with its terminator; lineStart is where it starts in the text.
    virtual void syntaxHighlighterWillProcessStringForHighlighting(PLSyntaxHighlighter *syntaxHighlighter,
                                                                   const QString &string, qsizetype lineStart) = 0;
};
