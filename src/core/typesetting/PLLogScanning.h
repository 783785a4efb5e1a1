#pragma once

#include "core/foundation/PLRange.h"
#include "core/foundation/PLRegularExpressionHelper.h"

#include <QString>
#include <QStringList>
#include <QStringView>

#include <functional>
#include <optional>

// Searches of engine output that stay linear on any input: 100 MB logs, megabyte lines, binary
// garbage. A pattern is only tried where its leading literal occurs, anchored there, instead of at
// every position of the text, which is what makes a plain search quadratic on long lines.
namespace PLLogScanning {

// How the pattern continues after its leading literal.
enum class LiteralFollower {
    // By a fixed text: every occurrence of the literal is a candidate.
    Fixed,
    // By an expression that takes any run of characters up to the end of a line, so that where
    // the pattern matches after a later occurrence of the literal in a line it also matches after
    // the first one: after a failed candidate, the rest of its line is skipped.
    AnyRunInLine,
};

// Whether '.' of a regular expression stops at the character (the expression's own notion of a
// line end: LF, VT, FF, CR, NEL, LS, PS).
inline bool isExpressionLineEnd(QChar c)
{
    const char16_t u = c.unicode();
    return (u >= 0x0a && u <= 0x0d) || u == 0x85 || u == 0x2028 || u == 0x2029;
}

// Where the literal next occurs at or after the position, or -1. The literal's first character is
// looked for with the vectorised search of a single character, which is several times faster than
// a search of the whole literal on engine output.
qsizetype indexOfLiteral(QStringView text, QStringView literal, qsizetype from = 0);

// A cheap test of the text from a candidate to the end of its line, which must hold wherever the
// pattern matches there, so that the expression is not even tried where it cannot match.
using LinePrecondition = bool (*)(QStringView restOfLine);

// Every match of the pattern inside the range, left to right and non-overlapping, exactly as a
// search of the whole range would find them. The callback answers false to stop.
void enumerateMatchesAfterLiteral(const QString &pattern, QStringView literal, LiteralFollower follower,
                                  const QString &text, PLRange range,
                                  const std::function<bool(const PLRegexMatch &)> &callback,
                                  LinePrecondition precondition = nullptr);

// Whether the text holds ":", digits (maybe none), ": " somewhere: the heart of a located line.
bool containsLineNumberColon(QStringView text);

// The same with a hand-written matcher in place of an expression: given a candidate (where the
// literal starts) and the end of the range, it answers where the match that starts there ends. The
// callback gets each match's whole range.
using Matcher = std::optional<qsizetype> (*)(QStringView text, qsizetype candidate, qsizetype limit);
void enumerateMatchesAfterLiteral(Matcher matcher, QStringView literal, LiteralFollower follower, const QString &text,
                                  PLRange range, const std::function<bool(PLRange)> &callback);

// Hand-written matchers of the log string parser's expressions. ICU takes its slowest path for a
// captured run such as "(.)*"; plain line scanning finds exactly the same matches many times faster.
// "LaTeX Warning: (.)*\n(.)*\n" at a "LaTeX Warning: ".
std::optional<qsizetype> warningMatchEnd(QStringView text, qsizetype candidate, qsizetype limit);
// "! Undefined control sequence.\n(.)*\n(.)*\n\?" at a "! Undefined control sequence".
std::optional<qsizetype> undefinedControlSequenceMatchEnd(QStringView text, qsizetype candidate, qsizetype limit);

// "\(\./(.*?)\.tex(\)|\n|\s)" at a "(./": a file opening.
std::optional<qsizetype> fileOpeningMatchEnd(QStringView text, qsizetype candidate, qsizetype limit);

// The first match in the range of the strategies' error line
// "((\./.*\.tex):([0-9]*): (LaTeX Error: )?(.*\n.*))", with its five groups.
std::optional<PLRegexMatch> firstGeneralErrorLine(QStringView text, PLRange range);

// A match of "((\./?)((.)*)):([0-9]*): (LaTeX Error:)?((.)*)": the whole of it, the file name after
// the leading "." or "./" (group 3), the line number (group 5) and the message (group 7).
struct LocatedError
{
    PLRange match;
    PLRange fileName;
    PLRange lineNumber;
    PLRange message;
};
// The match that starts at the candidate, which must be a ".", and ends before the limit.
std::optional<LocatedError> locatedErrorAt(QStringView text, qsizetype candidate, qsizetype limit);
// Every match inside the range, as a search that tries each "." in turn and goes on after each
// match finds them: at most one per line, from the line's first "." on. Each line is read a bounded
// number of times whatever it holds.
void enumerateLocatedErrors(QStringView text, PLRange range, const std::function<void(const LocatedError &)> &callback);

std::optional<PLRegexMatch> firstMatchAfterLiteral(const QString &pattern, QStringView literal,
                                                   LiteralFollower follower, const QString &text, PLRange range);

// The next file opening of engine output at or after the position: "(./name.tex" followed by ")"
// or white space. The logs are cut into pieces at these.
std::optional<PLRange> nextFileOpening(const QString &text, qsizetype from);
// The name in a file opening, with its ".tex" (chapters/one.tex); empty when there is none.
QString nameOfOpenedFile(const QString &text, PLRange opening);
// The names of the source files opened in a piece of output, in order: "(./intro.tex" gives
// intro.tex. The piece may end anywhere, even inside a name.
QStringList namesOfOpenedFiles(const QString &text);
// "(" counts 1 and ")" -1, over every character but the last one of the area.
int countUnclosedBrackets(QStringView area);

// The integer at the start of a text the way the platform's integerValue reads it: leading blanks
// skipped, an optional sign, then digits; 0 when there are none; limited to the range of int.
int integerValue(QStringView text);

}
