#include "core/editor/PLLatexSyntaxHighlighterDelegate.h"

#include "core/foundation/PLRegularExpressionHelper.h"
#include "core/project/PLUserDefaultsConstants.h"

// Every pattern here runs on each line after each keystroke, so each one reads a line in one pass:
// quantifiers are possessive or bounded by characters their follower cannot match, and a token
// that cannot close (no closing brace before the line ends) is swallowed whole by a fallback
// alternative, instead of being tried again from every later start in the line. Such a swallowed
// run leaves its marker group unset and is skipped.
//
// "." stops at line terminators; \v is exactly the set of characters "." refuses.
namespace {
// A backslash, then any run of word characters or percent signs, then one optional white space.
const QString kFunctions = QStringLiteral(R"re(\\[\w%]*+\s?)re");
// The heading command through the first closing brace after the argument's first character.
const QString kStructureDividers = QStringLiteral(
    R"re(\\(?:part|chapter|section|subsection|subsubsection|paragraph)\*?\{(?:(.[^\v}]*+\})|[^\v]*+))re");
const QString kBrackets = QStringLiteral(R"re([\[\]{}])re");
const QString kDollarSigns = QStringLiteral(R"re(\$)re");
// From a percent sign that does not follow a backslash to the end of the line's content.
const QString kComment = QStringLiteral(R"re((?<!\\)%.*)re");
// The argument of an include, read the way the heading's is; group 1 is the file name.
const QString kInclude =
    QStringLiteral(R"re(\\(?:input|include|bibliography)\{(?:(.[^\v}]*+)\}|[^\v]*+))re");
const QString kIncludeLink = QStringLiteral("file://");
}

void PLLatexSyntaxHighlighterDelegate::syntaxHighlighterWillProcessStringForHighlighting(
    PLSyntaxHighlighter *syntaxHighlighter, const QString &string, qsizetype lineStart)
{
    // Each rule needs a character of its own to match; a line without one skips the rule's search.
    bool backslash = false;
    bool bracket = false;
    bool dollar = false;
    bool percent = false;
    for (const QChar c : string) {
        switch (c.unicode()) {
        case u'\\': backslash = true; break;
        case u'[': case u']': case u'{': case u'}': bracket = true; break;
        case u'$': dollar = true; break;
        case u'%': percent = true; break;
        default: break;
        }
    }
    if (backslash) {
        paint(syntaxHighlighter, PLUserDefaultsEditorColorFunctionsBackground, PLUserDefaultsEditorColorFunctions,
              kFunctions, string, lineStart);
        paint(syntaxHighlighter, PLUserDefaultsEditorColorStructureDividersBackground,
              PLUserDefaultsEditorColorStructureDividers, structureDividerLocator, string, lineStart);
    }
    if (bracket)
        paint(syntaxHighlighter, PLUserDefaultsEditorColorBracketsBackground, PLUserDefaultsEditorColorBrackets,
              kBrackets, string, lineStart);
    if (dollar)
        paint(syntaxHighlighter, PLUserDefaultsEditorColorDollarSignAreasBackground,
              PLUserDefaultsEditorColorDollarSignAreas, kDollarSigns, string, lineStart);
    if (percent)
        paint(syntaxHighlighter, PLUserDefaultsEditorColorCommentedAreasBackground,
              PLUserDefaultsEditorColorCommentedAreas, commentLocator, string, lineStart);
    if (backslash)
        syntaxHighlighter->setAttribute(PLTextAttributeName::Link, kIncludeLink, string, lineStart, linkLocator);
}

std::vector<std::pair<PLTextAttributeName, PLTextAttributeValue>> PLLatexSyntaxHighlighterDelegate::colours(
    PLSyntaxHighlighter *syntaxHighlighter, const QString &backgroundKey, const QString &foregroundKey)
{
    // The background goes on first, as each token has always been painted.
    std::vector<std::pair<PLTextAttributeName, PLTextAttributeValue>> colours;
    if (const std::optional<PLColor> background = syntaxHighlighter->colorForKey(backgroundKey))
        colours.emplace_back(PLTextAttributeName::BackgroundColor, *background);
    if (const std::optional<PLColor> foreground = syntaxHighlighter->colorForKey(foregroundKey))
        colours.emplace_back(PLTextAttributeName::ForegroundColor, *foreground);
    return colours;
}

PLRange PLLatexSyntaxHighlighterDelegate::structureDividerLocator(const QString &string, qsizetype location,
                                                                  qsizetype length)
{
    return firstMarkedMatch(kStructureDividers, string, PLRange{location, length}, 0);
}

PLRange PLLatexSyntaxHighlighterDelegate::commentLocator(const QString &string, qsizetype location, qsizetype length)
{
    // The backslash before the percent sign may lie before the searched range.
    return PLRegularExpressionHelper::firstMatchInRange(kComment, string, PLRange{location, length},
                                                        PLRegularExpressionHelper::WithTransparentBounds, 0);
}

PLRange PLLatexSyntaxHighlighterDelegate::linkLocator(const QString &string, qsizetype location, qsizetype length)
{
    return firstMarkedMatch(kInclude, string, PLRange{location, length}, 1);
}

PLRange PLLatexSyntaxHighlighterDelegate::firstMarkedMatch(const QString &pattern, const QString &string,
                                                           PLRange range, int answeredGroup)
{
    PLRange found = PLNotFoundRange;
    PLRegularExpressionHelper::enumerateMatches(pattern, string, range, [&](const PLRegexMatch &match) {
        if (!match.range(1).isFound())
            return true;
        found = match.range(answeredGroup);
        return false;
    });
    return found;
}

void PLLatexSyntaxHighlighterDelegate::paint(PLSyntaxHighlighter *syntaxHighlighter, const QString &backgroundKey,
                                             const QString &foregroundKey, const QString &regEx,
                                             const QString &string, qsizetype lineStart)
{
    syntaxHighlighter->setAttributes(colours(syntaxHighlighter, backgroundKey, foregroundKey), regEx, string, lineStart);
}

void PLLatexSyntaxHighlighterDelegate::paint(PLSyntaxHighlighter *syntaxHighlighter, const QString &backgroundKey,
                                             const QString &foregroundKey, const PLSyntaxHighlighterLocator &locator,
                                             const QString &string, qsizetype lineStart)
{
    syntaxHighlighter->setAttributes(colours(syntaxHighlighter, backgroundKey, foregroundKey), string, lineStart, locator);
}
