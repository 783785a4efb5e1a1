#include "core/editor/PLLatexSyntaxHighlighterDelegate.h"

#include "core/foundation/PLBracedCommandScan.h"
#include "core/foundation/PLRegularExpressionHelper.h"
#include "core/foundation/PLUserDefaultsConstants.h"
#include "core/foundation/PLStringLineCalculations.h"

#include <unicode/uniset.h>

#include <algorithm>
#include <initializer_list>

// Every pattern here runs on each line after each keystroke, so each one reads a line in one pass:
// quantifiers are possessive or bounded by characters their follower cannot match, and a token
// that cannot close (no closing brace before the line ends) is swallowed whole by a fallback
// alternative, instead of being tried again from every later start in the line. Such a swallowed
// run leaves its marker group unset and is skipped.
//
// "." stops at line terminators; \v is exactly the set of characters "." refuses.
namespace {
// The sets behind the expression engine's \w and \s, which decide where a command ends.
const icu::UnicodeSet &frozenSet(const char16_t *pattern)
{
    UErrorCode status = U_ZERO_ERROR;
    auto *set = new icu::UnicodeSet(icu::UnicodeString(pattern), status);
    set->freeze();
    return *set;
}
bool isWordCharacter(char32_t c)
{
    static const icu::UnicodeSet &word = frozenSet(u"[\\p{Alphabetic}\\p{M}\\p{Nd}\\p{Pc}\\u200c\\u200d]");
    if (c < 0x80)
        return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'_';
    return word.contains(UChar32(c));
}
bool isWhiteSpace(char32_t c)
{
    static const icu::UnicodeSet &space = frozenSet(u"[\\p{WhiteSpace}]");
    if (c < 0x80)
        return c == u' ' || (c >= 0x09 && c <= 0x0d);
    return space.contains(UChar32(c));
}
// The code point at a location and how many UTF-16 units it takes; a lone surrogate is itself.
std::pair<char32_t, qsizetype> codePointAt(const QString &string, qsizetype i, qsizetype end)
{
    const QChar c = string.at(i);
    if (c.isHighSurrogate() && i + 1 < end && string.at(i + 1).isLowSurrogate())
        return {QChar::surrogateToUcs4(c, string.at(i + 1)), 2};
    return {c.unicode(), 1};
}
const QString kIncludeLink = QStringLiteral("file://");

// The commands the heading and include expressions start with: a line holding none of them
// cannot match either expression.
bool holdsAnyOf(QStringView line, std::initializer_list<QStringView> commands)
{
    // Every command starts with a backslash, and a line has few: try the commands only there.
    for (qsizetype at = line.indexOf(u'\\'); at >= 0; at = line.indexOf(u'\\', at + 1)) {
        const QStringView rest = line.sliced(at);
        // Compared inline: most backslashes start none of the commands, and a call per command
        // cost more than the comparison.
        const auto starts = [rest](QStringView command) {
            return rest.size() >= command.size() && std::equal(command.begin(), command.end(), rest.begin());
        };
        if (std::any_of(commands.begin(), commands.end(), starts))
            return true;
    }
    return false;
}

// The first character of the set in the searched range, one character long.
PLRange firstOf(const QString &string, qsizetype location, qsizetype length, QStringView set)
{
    const qsizetype end = location + length;
    // The set has a handful of characters: look through it inline rather than calling out for
    // every character of the line.
    for (qsizetype i = std::max<qsizetype>(location, 0); i < end && i < string.size(); ++i) {
        const QChar c = string.at(i);
        if (std::find(set.begin(), set.end(), c) != set.end())
            return PLRange{i, 1};
    }
    return PLNotFoundRange;
}

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
    const bool heading = backslash
        && holdsAnyOf(string, {u"\\part", u"\\chapter", u"\\section", u"\\subsection", u"\\subsubsection", u"\\paragraph"});
    const bool include = backslash && holdsAnyOf(string, {u"\\input", u"\\include", u"\\bibliography"});
    if (backslash)
        paint(syntaxHighlighter, PLUserDefaultsEditorColorFunctionsBackground, PLUserDefaultsEditorColorFunctions,
              functionLocator, string, lineStart);
    if (heading)
        paint(syntaxHighlighter, PLUserDefaultsEditorColorStructureDividersBackground,
              PLUserDefaultsEditorColorStructureDividers, structureDividerLocator, string, lineStart);
    if (bracket)
        paint(syntaxHighlighter, PLUserDefaultsEditorColorBracketsBackground, PLUserDefaultsEditorColorBrackets,
              [](const QString &s, qsizetype location, qsizetype length) { return firstOf(s, location, length, u"[]{}"); },
              string, lineStart);
    if (dollar)
        paint(syntaxHighlighter, PLUserDefaultsEditorColorDollarSignAreasBackground,
              PLUserDefaultsEditorColorDollarSignAreas,
              [](const QString &s, qsizetype location, qsizetype length) { return firstOf(s, location, length, u"$"); },
              string, lineStart);
    if (percent)
        paint(syntaxHighlighter, PLUserDefaultsEditorColorCommentedAreasBackground,
              PLUserDefaultsEditorColorCommentedAreas, commentLocator, string, lineStart);
    if (include)
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

PLRange PLLatexSyntaxHighlighterDelegate::functionLocator(const QString &string, qsizetype location, qsizetype length)
{
    // A backslash, then any run of word characters or percent signs, then one optional white
    // space: read by hand, since starting the expression engine on every line cost more than the
    // reading.
    const qsizetype end = std::min(location + length, string.size());
    for (qsizetype i = std::max<qsizetype>(location, 0); i < end; ++i) {
        if (string.at(i) != u'\\')
            continue;
        qsizetype stop = i + 1;
        while (stop < end) {
            const auto [c, units] = codePointAt(string, stop, end);
            if (c != u'%' && !isWordCharacter(c))
                break;
            stop += units;
        }
        if (stop < end) {
            const auto [c, units] = codePointAt(string, stop, end);
            if (isWhiteSpace(c))
                stop += units;
        }
        return PLRange{i, stop - i};
    }
    return PLNotFoundRange;
}

PLRange PLLatexSyntaxHighlighterDelegate::structureDividerLocator(const QString &string, qsizetype location,
                                                                  qsizetype length)
{
    return PLBracedCommandScan::firstBracedCommand(
        string, PLRange{location, length},
        {u"part", u"chapter", u"section", u"subsection", u"subsubsection", u"paragraph"}, true, false);
}

PLRange PLLatexSyntaxHighlighterDelegate::commentLocator(const QString &string, qsizetype location, qsizetype length)
{
    // The backslash before the percent sign may lie before the searched range.
    const qsizetype end = std::min(location + length, string.size());
    for (qsizetype i = std::max<qsizetype>(location, 0); i < end; ++i) {
        if (string.at(i) != u'%' || (i > 0 && string.at(i - 1) == u'\\'))
            continue;
        qsizetype stop = i + 1;
        while (stop < end && !PLStringLineCalculations::endsLineContent(string.at(stop)))
            ++stop;
        return PLRange{i, stop - i};
    }
    return PLNotFoundRange;
}

PLRange PLLatexSyntaxHighlighterDelegate::linkLocator(const QString &string, qsizetype location, qsizetype length)
{
    return PLBracedCommandScan::firstBracedCommand(string, PLRange{location, length},
                                                   {u"input", u"include", u"bibliography"}, false, true);
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
