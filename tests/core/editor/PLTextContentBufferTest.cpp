#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "PLOutlineTestSupport.h"
#include "core/editor/PLBIBSyntaxHightlighterDelegate.h"
#include "core/editor/PLSyntaxHighlighter.h"
#include "core/editor/PLTextContentBuffer.h"
#include "core/editor/PLTextContentBufferEditObserver.h"
#include "core/editor/PLTextSearch.h"
#include "core/editor/PLUndoManager.h"

#include <QSignalSpy>

#include <algorithm>
#include <functional>
#include <random>

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

// What the history should hold: the text after each step, the step it stands at and the saved one
// (-1 once a new step replaced the saved one).
struct Model
{
    std::vector<QString> texts;
    int index = 0;
    int clean = 0;
    bool isClean() const { return index == clean; }
    void record(const QString &text)
    {
        texts.resize(size_t(index) + 1);
        if (clean > index)
            clean = -1;
        texts.push_back(text);
        ++index;
    }
};

class PLUndoManagerTest : public ::testing::TestWithParam<unsigned>
{
protected:
    // A replacement somewhere in the text, with the brackets and line breaks the typing filters rewrite.
    void editRandomly()
    {
        static const QStringList pieces{QString(), QStringLiteral("x"), QStringLiteral("("), QStringLiteral("\n"),
                                        QStringLiteral("\"q\""), QStringLiteral("\t{")};
        const qsizetype size = buffer.length();
        const qsizetype location = pick(0, int(size));
        const qsizetype length = pick(0, int(std::min<qsizetype>(3, size - location)));
        buffer.replaceCharactersInRange(PLRange{location, length}, pieces[pick(0, int(pieces.size()) - 1)]);
    }
    int pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); }
    std::mt19937 random{GetParam()};
    PLTextContentBuffer buffer{QStringLiteral("a.tex"), nullptr, QStringLiteral("\tstart\n")};
    PLUndoManager *history = buffer.undoManager();
};

// Every step of a seeded run of edits, groups, undos, redos, saves and clears leaves the text, the
// counts, the clean state and the signals where the model says, as the document's edited state needs.
TEST_P(PLUndoManagerTest, keepsInStepWithTheModel)
{
    Model model{{buffer.string()}};
    QSignalSpy indexChanges(history, &PLUndoManager::indexChanged);
    QSignalSpy cleanChanges(history, &PLUndoManager::cleanChanged);
    for (int step = 0; step < 300; ++step) {
        SCOPED_TRACE(step);
        const Model before = model;
        const int action = pick(0, 39);
        if (action < 14) {
            editRandomly();
            model.record(buffer.string());
        } else if (action < 20) {
            // Nested groups and empty ones still make one step; nothing is taken back meanwhile.
            history->beginMacro();
            for (int edits = pick(0, 3); edits > 0; --edits) {
                const bool nested = pick(0, 1) == 1;
                if (nested)
                    history->beginMacro();
                editRandomly();
                if (nested)
                    history->endMacro();
            }
            const QString grouped = buffer.string();
            EXPECT_FALSE(history->canUndo() || history->canRedo() || history->isClean());
            history->undo();
            history->setClean();
            EXPECT_EQ(buffer.string(), grouped);
            history->endMacro();
            model.record(grouped);
        } else if (action < 28) {
            history->undo();
            model.index = std::max(0, model.index - 1);
        } else if (action < 35) {
            history->redo();
            model.index = std::min(int(model.texts.size()) - 1, model.index + 1);
        } else if (action < 39) {
            history->setClean();
            model.clean = model.index;
        } else {
            history->clear();
            model = Model{{buffer.string()}};
        }
        ASSERT_EQ(buffer.string(), model.texts[size_t(model.index)]);
        EXPECT_EQ(std::tuple(history->count(), history->index(), history->canUndo(), history->canRedo(), history->isClean()),
                  std::tuple(int(model.texts.size()) - 1, model.index, model.index > 0, model.index < history->count(), model.isClean()));
        // A clear announces the index even where it stays 0, as long as there were steps to forget.
        const bool cleared = action == 39 && before.texts.size() > 1;
        ASSERT_EQ(indexChanges.size(), model.index != before.index || cleared ? 1 : 0);
        if (!indexChanges.isEmpty()) {
            EXPECT_EQ(indexChanges.takeFirst().at(0).toInt(), model.index);
        }
        ASSERT_EQ(cleanChanges.size(), model.isClean() != before.isClean() ? 1 : 0);
        if (!cleanChanges.isEmpty()) {
            EXPECT_EQ(cleanChanges.takeFirst().at(0).toBool(), model.isClean());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, PLUndoManagerTest, ::testing::Values(1u, 2u, 3u, 5u, 8u, 13u));

}
