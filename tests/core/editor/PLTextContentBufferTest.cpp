#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "PLOutlineTestSupport.h"
#include "core/editor/PLBIBSyntaxHightlighterDelegate.h"
#include "core/editor/PLSyntaxHighlighter.h"
#include "core/editor/PLTextContentBuffer.h"
#include "core/editor/PLTextContentBufferEditObserver.h"
#include "core/editor/PLTextSearch.h"

#include <functional>

#include <gtest/gtest.h>

using namespace PLTest;

namespace {

class PLTextContentBufferTest : public ProjectTest
{
protected:
    PLTextContentBuffer *bufferWith(const QString &text) { return (file = open(QStringLiteral("a.tex"), text))->contentBuffer(); }
    std::shared_ptr<PLFile> file;
};

// The typing filters: brackets and quotes are paired, a new line copies the tabs before the caret.
TEST_F(PLTextContentBufferTest, filtersRewriteWhatIsTyped)
{
    const std::tuple<const char16_t *, PLRange, const char16_t *, const char16_t *> cases[] = {
        {u"", {0, 0}, u"\"", u"``\""}, {u"ab", {1, 0}, u"(", u"a()b"}, {u"abc", {0, 3}, u"{", u"{}"}, {u"", {0, 0}, u"[", u"[]"},
        // A closing bracket is never swallowed; pasted text and a single quote are left alone.
        {u"()", {1, 0}, u")", u"())"}, {u"", {0, 0}, u"(x", u"(x"}, {u"", {0, 0}, u"'", u"'"},
        // Tabs are copied, spaces and tabs after text are not; only the tabs before the caret.
        {u"\t\tword", {6, 0}, u"\n", u"\t\tword\n\t\t"}, {u"  word", {6, 0}, u"\n", u"  word\n"}, {u"a\tb", {3, 0}, u"\n", u"a\tb\n"},
        {u"\t\tword", {1, 0}, u"\n", u"\t\n\t\tword"}, {u"\tone\n\t\t\ttwo", {11, 0}, u"\n", u"\tone\n\t\t\ttwo\n\t\t\t"},
        {u"\tab", {2, 1}, u"\n", u"\ta\n\t"},
        // A carriage return or CR LF gets no indent.
        {u"\tx", {2, 0}, u"\r", u"\tx\r"}, {u"\tx", {2, 0}, u"\r\n", u"\tx\r\n"}};
    for (const auto &[before, range, typed, after] : cases) {
        PLTextContentBuffer *buffer = bufferWith(QString::fromUtf16(before));
        buffer->replaceCharactersInRange(range, QString::fromUtf16(typed));
        EXPECT_EQ(visible(buffer->string()).toStdString(), visible(QString::fromUtf16(after)).toStdString());
        EXPECT_EQ(outlineText(file->outlineRootNode()), buffer->string());
        file->close();
    }
}

// Each edit is reported with the new text's range and the change in length, once the outline
// followed; an edit outside the text is not made.
TEST_F(PLTextContentBufferTest, reportsTheNewTextsRangeAfterTheOutlineFollowed)
{
    PLTextContentBuffer *buffer = bufferWith(QStringLiteral("abc"));
    QStringList reports;
    QObject::connect(buffer, &PLTextContentBuffer::didProcessEditing, [&](PLRange range, qsizetype delta) {
        reports << QStringLiteral("%1 %2 %3").arg(toString(range)).arg(delta).arg(outlineText(file->outlineRootNode()));
    });
    buffer->replaceCharactersInRange(PLRange{1, 1}, QStringLiteral("("));
    buffer->undoManager()->undo();
    buffer->replaceCharactersInRange(PLRange{4, 0}, QStringLiteral("x"));
    EXPECT_EQ(reports, QStringList({QStringLiteral("{1, 2} 1 a()c"), QStringLiteral("{1, 1} -1 abc")}));
    EXPECT_EQ(buffer->string(), QStringLiteral("abc"));
}

TEST_F(PLTextContentBufferTest, outlineUpdatingCanBeSwitchedOff)
{
    PLTextContentBuffer *buffer = bufferWith(QStringLiteral("abc"));
    OutlineNotificationRecorder recorder;
    buffer->setUpdateOutlineWhenReplacingCharacters(false);
    buffer->replaceCharactersInRange(PLRange{0, 0}, QStringLiteral("%!TEX TS-program = xelatex\n"));
    EXPECT_TRUE(recorder.notifications.empty());
    EXPECT_EQ(file->engine(), int(PLFile::DefaultEngine));
    EXPECT_EQ(outlineText(file->outlineRootNode()), QStringLiteral("abc"));
}

TEST_F(PLTextContentBufferTest, magicCommentInTheFirstNodeChoosesXeLaTeX)
{
    const std::pair<const char *, int> cases[] = {
        {"%!TEX TS-program = xelatex\n\\section{A}", PLFile::XeLaTeXEngine}, {"x %!TEX TS-program=xelatex  \n", PLFile::XeLaTeXEngine},
        {"%!TEX TS-program = xelatex", PLFile::DefaultEngine}, {"%!TEX TS-program = XeLaTeX\n", PLFile::DefaultEngine},
        {"\\section{A}\n%!TEX TS-program = xelatex\n", PLFile::DefaultEngine}};
    for (const auto &[text, engine] : cases) {
        bufferWith(QString::fromUtf8(text));
        EXPECT_EQ(file->engine(), engine) << text;
        file->close();
    }
    PLTextContentBuffer *buffer = bufferWith(QStringLiteral("\\section{A}"));
    buffer->replaceCharactersInRange(PLRange{0, 0}, QStringLiteral("%!TEX TS-program = xelatex\n"));
    EXPECT_EQ(file->engine(), int(PLFile::XeLaTeXEngine));
}

// Writes down each replacement it hears of with the text as it then stands, into the same log as
// the views' signal, so the order between the two shows.
class RecordingEditObserver : public PLTextContentBufferEditObserver
{
public:
    explicit RecordingEditObserver(QStringList *log) : m_log(log) {}
    void textContentBufferDidReplaceCharactersInRange(PLTextContentBuffer *buffer, PLRange range, const QString &string) override
    {
        m_log->append(QStringLiteral("%1+%2 \"%3\" -> %4").arg(range.location).arg(range.length).arg(string, buffer->string()));
    }

private:
    QStringList *m_log;
};

// A buffer needs no file and no outline: what follows its text hears each replacement once the
// characters changed (filtered when typed, as recorded when replayed) and before the views.
TEST(PLTextContentBufferObserverTest, theObserverHearsEveryReplacementBeforeTheViews)
{
    const std::pair<std::function<void(PLTextContentBuffer &)>, QStringList> cases[] = {
        {[](PLTextContentBuffer &b) { b.replaceCharactersInRange({1, 0}, QStringLiteral("(")); },
         {QStringLiteral("1+0 \"()\" -> a()b"), QStringLiteral("views")}},
        {[](PLTextContentBuffer &b) {
             b.replaceCharactersInRange({0, 2}, QStringLiteral("("));
             b.replaceCharactersInRange({0, 1}, QString());
             b.undoManager()->undo();
             b.undoManager()->redo();
         },
         {QStringLiteral("0+2 \"()\" -> ()"), QStringLiteral("views"), QStringLiteral("0+1 \"\" -> )"), QStringLiteral("views"),
          QStringLiteral("0+0 \"(\" -> ()"), QStringLiteral("views"), QStringLiteral("0+1 \"\" -> )"), QStringLiteral("views")}},
        {[](PLTextContentBuffer &b) { b.setString(QStringLiteral("(")); }, {QStringLiteral("0+2 \"(\" -> ("), QStringLiteral("views")}},
        {[](PLTextContentBuffer &b) { b.replaceCharactersInRange({3, 0}, QStringLiteral("x")); }, {}}};
    for (const auto &[edit, expected] : cases) {
        PLTextContentBuffer buffer(QStringLiteral("a.tex"), nullptr, QStringLiteral("ab"));
        QStringList heard;
        buffer.setEditObserver(std::make_unique<RecordingEditObserver>(&heard));
        QObject::connect(&buffer, &PLTextContentBuffer::didProcessEditing, [&] { heard.append(QStringLiteral("views")); });
        edit(buffer);
        EXPECT_EQ(heard, expected);
    }
}

// The bibliography colouring goes by the extension of the buffer's name, in any case.
TEST(PLTextContentBufferRulesTest, aBibNameGetsTheBibliographyColouring)
{
    for (const auto &[name, bibliography] : {std::pair{"refs.bib", true}, {"REFS.Bib", true}, {".bib", true}, {"bib", false},
                                             {"refs.bib.tex", false}, {"a.tex", false}}) {
        const PLTextContentBuffer buffer(QString::fromUtf8(name), nullptr, QStringLiteral("@book{k,}"));
        EXPECT_EQ(dynamic_cast<PLBIBSyntaxHightlighterDelegate *>(buffer.syntaxHighlighter()->delegate()) != nullptr, bibliography) << name;
    }
}

using PLTextSearch::Backwards;
using PLTextSearch::Forwards;

TEST(TextSearch, FindsTheExpectedRange)
{
    // The three alphas start at 0, 11 and 23.
    const char *const alphas = "Alpha beta ALPHA gamma alpha";
    // The text, the string, the selection, the direction and the range found.
    const std::tuple<const char *, const char *, PLRange, qint32, PLRange> cases[] = {
        // Forwards from the selection's end or the caret, a match may start right there, and wraps.
        {alphas, "alpha", {0, 5}, Forwards, {11, 5}}, {alphas, "ALPHA", {12, 0}, Forwards, {23, 5}},
        {alphas, "beta", {0, 6}, Forwards, {6, 4}}, {alphas, "aLpHa", {24, 0}, Forwards, {0, 5}},
        // Backwards the last before the selection, not one overlapping its start, and wraps.
        {alphas, "alpha", {23, 5}, Backwards, {11, 5}}, {alphas, "alpha", {14, 0}, Backwards, {0, 5}},
        {alphas, "alpha", {3, 0}, Backwards, {23, 5}},
        // Inside the only occurrence, it is found again either way.
        {"one Word here", "word", {6, 0}, Backwards, {4, 4}}, {"one Word here", "WORD", {6, 0}, Forwards, {4, 4}},
        {"axb a.b", ".", {0, 0}, Forwards, {5, 1}}, {alphas, "delta", {3, 0}, Forwards, PLNotFoundRange},
        {alphas, "", {3, 0}, Backwards, PLNotFoundRange}, {"abc", "b", {10, 0}, Forwards, {1, 1}}};
    for (const auto &[text, string, selection, direction, expected] : cases)
        EXPECT_EQ(PLTextSearch::rangeOfString(QString::fromUtf8(text), QString::fromUtf8(string), selection, direction), expected)
            << text << " / " << string << " from " << selection.location;
}

}
