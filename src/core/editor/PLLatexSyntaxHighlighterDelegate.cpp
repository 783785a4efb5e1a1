#include "PLLatexSyntaxHighlighterDelegate.h"

#include "PLRegularExpressionHelper.h"
#include "PLUserDefaults.h"
#include "PLUserDefaultsConstants.h"

namespace {
// A backslash, then any run of word characters or percent signs, then one optional white space.
const QString kFunctions = QStringLiteral(R"re((\\(\w|%)*)(\s)?)re");
const QString kStructureDividers =
    QStringLiteral(R"re(\\(part|chapter|section|subsection|subsubsection|paragraph)(\*)?\{(.+?)\})re");
const QString kBrackets = QStringLiteral(R"re(\[|\]|\{|\})re");
const QString kDollarSigns = QStringLiteral(R"re(\$)re");
// Group 3 runs from the percent sign to the end of the line's content.
const QString kComment = QStringLiteral(R"re(((\s|\w)?(%(.)*)()re") + u'\n' + QStringLiteral(R"re()?))re");
const QString kInclude = QStringLiteral(R"re(\\(input|include|bibliography)\{((.+?)(\.tex|\.bib)?)\})re");
const QString kIncludeLink = QStringLiteral("file://");
}

void PLLatexSyntaxHighlighterDelegate::syntaxHighlighterWillProcessStringForHighlighting(
    PLSyntaxHighlighter *syntaxHighlighter, const QString &string, qsizetype lineStart)
{
    paint(syntaxHighlighter, PLUserDefaultsEditorColorFunctionsBackground, PLUserDefaultsEditorColorFunctions,
          kFunctions, string, lineStart);
    paint(syntaxHighlighter, PLUserDefaultsEditorColorStructureDividersBackground,
          PLUserDefaultsEditorColorStructureDividers, kStructureDividers, string, lineStart);
    paint(syntaxHighlighter, PLUserDefaultsEditorColorBracketsBackground, PLUserDefaultsEditorColorBrackets, kBrackets,
          string, lineStart);
    paint(syntaxHighlighter, PLUserDefaultsEditorColorDollarSignAreasBackground,
          PLUserDefaultsEditorColorDollarSignAreas, kDollarSigns, string, lineStart);
    paint(syntaxHighlighter, PLUserDefaultsEditorColorCommentedAreasBackground,
          PLUserDefaultsEditorColorCommentedAreas, commentLocator, string, lineStart);
    syntaxHighlighter->setAttribute(PLTextAttributeName::Link, kIncludeLink, string, lineStart, linkLocator);
}

PLRange PLLatexSyntaxHighlighterDelegate::commentLocator(const QString &string, qsizetype location, qsizetype length)
{
    PLRange found = PLRegularExpressionHelper::firstMatchInRange(kComment, string, PLRange{location, length},
                                                                 PLRegularExpressionHelper::NoOptions, 3);
    // "\%" is an escaped percent sign: look again after it, to the end of the string.
    while (found.isFound() && found.location > 0 && QStringView(string).mid(found.location - 1, 2) == u"\\%") {
        const qsizetype from = found.location + 1;
        found = PLRegularExpressionHelper::firstMatchInRange(kComment, string, PLRange{from, string.size() - from},
                                                             PLRegularExpressionHelper::NoOptions, 3);
    }
    return found;
}

PLRange PLLatexSyntaxHighlighterDelegate::linkLocator(const QString &string, qsizetype location, qsizetype length)
{
    return PLRegularExpressionHelper::firstMatchInRange(kInclude, string, PLRange{location, length},
                                                        PLRegularExpressionHelper::NoOptions, 2);
}

void PLLatexSyntaxHighlighterDelegate::paint(PLSyntaxHighlighter *syntaxHighlighter, const QString &backgroundKey,
                                             const QString &foregroundKey, const QString &regEx,
                                             const QString &string, qsizetype lineStart)
{
    const PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    if (const std::optional<PLColor> background = defaults.colorForKey(backgroundKey))
        syntaxHighlighter->setAttribute(PLTextAttributeName::BackgroundColor, *background, regEx, string, lineStart);
    if (const std::optional<PLColor> foreground = defaults.colorForKey(foregroundKey))
        syntaxHighlighter->setAttribute(PLTextAttributeName::ForegroundColor, *foreground, regEx, string, lineStart);
}

void PLLatexSyntaxHighlighterDelegate::paint(PLSyntaxHighlighter *syntaxHighlighter, const QString &backgroundKey,
                                             const QString &foregroundKey, const PLSyntaxHighlighterLocator &locator,
                                             const QString &string, qsizetype lineStart)
{
    const PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    if (const std::optional<PLColor> background = defaults.colorForKey(backgroundKey))
        syntaxHighlighter->setAttribute(PLTextAttributeName::BackgroundColor, *background, string, lineStart, locator);
    if (const std::optional<PLColor> foreground = defaults.colorForKey(foregroundKey))
        syntaxHighlighter->setAttribute(PLTextAttributeName::ForegroundColor, *foreground, string, lineStart, locator);
}
