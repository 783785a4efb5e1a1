#pragma once

#include "core/foundation/PLRange.h"
#include "core/editor/PLSyntaxHighlighter.h"
#include "core/editor/PLSyntaxHighlighterDelegate.h"

// The LaTeX rules, applied to each line in this order, later ones winning where they paint the same
// attribute: commands, sectioning headings, brackets, dollar signs, comments, then a link over the
// file name of each \input, \include and \bibliography.
class PLLatexSyntaxHighlighterDelegate : public PLSyntaxHighlighterDelegate
{
public:
    void syntaxHighlighterWillProcessStringForHighlighting(PLSyntaxHighlighter *syntaxHighlighter,
                                                           const QString &string, qsizetype lineStart) override;

    // A command: its backslash, its name and one white space after it.
    static PLRange functionLocator(const QString &string, qsizetype location, qsizetype length);
    // A sectioning command through the closing brace of its first brace group on the line.
    static PLRange structureDividerLocator(const QString &string, qsizetype location, qsizetype length);
    // From the first unescaped percent sign to the end of the line's content. A percent sign that
    // starts the line is always a comment; one right after a backslash never starts one.
    static PLRange commentLocator(const QString &string, qsizetype location, qsizetype length);
    // The argument of an include or bibliography command, extension included.
    static PLRange linkLocator(const QString &string, qsizetype location, qsizetype length);

protected:
    // The first match in range of a pattern whose group 1 marks a real token (a match without it
    // is a run swallowed so that it is read only once): the range of answeredGroup.
    static PLRange firstMarkedMatch(const QString &pattern, const QString &string, PLRange range, int answeredGroup);
    // The colours of a rule that the settings hold, background first.
    static std::vector<std::pair<PLTextAttributeName, PLTextAttributeValue>> colours(
        PLSyntaxHighlighter *syntaxHighlighter, const QString &backgroundKey, const QString &foregroundKey);
    // Paints one token class, background then foreground, with the colours the settings hold now;
    // a colour the settings lack is not painted.
    static void paint(PLSyntaxHighlighter *syntaxHighlighter, const QString &backgroundKey,
                      const QString &foregroundKey, const QString &regEx, const QString &string, qsizetype lineStart);
    static void paint(PLSyntaxHighlighter *syntaxHighlighter, const QString &backgroundKey,
                      const QString &foregroundKey, const PLSyntaxHighlighterLocator &locator, const QString &string,
                      qsizetype lineStart);
};
