#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "PLOutlineTestSupport.h"
#include "core/editor/PLBIBSyntaxHightlighterDelegate.h"
#include "core/editor/PLSyntaxHighlighter.h"
#include "core/editor/PLTextContentBuffer.h"
#include "core/editor/PLTextContentBufferEditObserver.h"
#include "core/editor/PLTextSearch.h"
#include "core/editor/PLUndoManager.h"
#include "core/editor/PLGapBuffer.h"
#include "core/editor/PLLineIndices.h"
#include "core/foundation/PLStringLineCalculations.h"
#include "core/editor/PLTextAttributeRuns.h"

#include <QRandomGenerator>
#include <QSignalSpy>

#include <algorithm>
#include <functional>
#include <random>
#include <vector>

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

// Pieces that end lines in every way, split CR LF pairs and surrogate pairs when cut, and tabs.
QString randomPiece(QRandomGenerator &random)
{
    static const QString pieces[] = {QStringLiteral("ab"), QStringLiteral("\n"), QStringLiteral("\r"),
                                     QStringLiteral("\r\n"), QStringLiteral("\t"), QString::fromUtf16(u"\U0001F600"),
                                     QString::fromUtf16(u"x\u2028"), QString::fromUtf16(u"\u0085")};
    QString piece;
    for (int n = random.bounded(1, 5); n > 0; --n)
        piece += pieces[random.bounded(int(std::size(pieces)))];
    // Now and then more than the gap holds, so it has to grow.
    if (random.bounded(40) == 0)
        piece = piece.repeated(600);
    return piece;
}

void expectSameAsModel(const PLGapBuffer &buffer, const QString &model, QRandomGenerator &random, bool askLines)
{
    ASSERT_EQ(buffer.toString(), model);
    ASSERT_EQ(buffer.size(), model.size());
    if (!askLines)
        return;
    std::vector<qsizetype> starts;
    for (qsizetype p = 0; p <= model.size(); ++p) {
        if (PLLineIndices::isLineStart(model, p))
            starts.push_back(p);
    }
    ASSERT_EQ(buffer.lineCount(), qsizetype(starts.size()));
    for (qsizetype line = 0; line < buffer.lineCount(); ++line)
        ASSERT_EQ(buffer.lineStart(line), starts[size_t(line)]) << "line " << line;
    for (int probe = 0; probe < 8; ++probe) {
        const qsizetype location = random.bounded(model.size() + 1);
        ASSERT_EQ(buffer.lineForLocation(location), PLLineIndices::lineNumberForCharacterIndex(starts, location));
        const qsizetype length = random.bounded(model.size() - location + 1);
        ASSERT_EQ(buffer.mid(location, length), model.mid(location, length));
        const PLRange range{location, std::min<qsizetype>(length, 3)};
        const auto bounds = PLStringLineCalculations::lineBoundsIn(buffer, range);
        const auto expected = PLStringLineCalculations::lineBoundsForRange(model, range);
        ASSERT_EQ(std::tuple(bounds.start, bounds.end, bounds.contentsEnd), std::tuple(expected.start, expected.end, expected.contentsEnd));
    }
}

TEST(PLGapBufferRandomTest, editsKeepTextAndLinesAsAPlainStringWould)
{
    for (const quint32 seed : {1u, 7u, 2024u, 90210u}) {
        QRandomGenerator random(seed);
        QString model = QStringLiteral("first line\r\nsecond\rthird\n");
        PLGapBuffer buffer(model);
        expectSameAsModel(buffer, model, random, true);
        for (int step = 0; step < 300; ++step) {
            // Now and then the text is taken in whole again, as a reload does, so it starts without a gap.
            if (step % 25 == 0)
                buffer = PLGapBuffer(model);
            const qsizetype location = random.bounded(model.size() + 1);
            // Inserts, deletes and replacements, mostly near the previous edit as typing goes.
            const qsizetype length = random.bounded(3) == 0 ? 0 : random.bounded(std::min<qsizetype>(model.size() - location, 12) + 1);
            const QString inserted = random.bounded(3) == 0 ? QString() : randomPiece(random);
            // A text handed out before the edit, sharing the characters when no gap is open, keeps them.
            const QString handedOut = buffer.toString();
            const QString before = model;
            buffer.replace(location, length, inserted);
            model.replace(location, length, inserted);
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", step " << step << " at " << location << " replacing " << length);
            ASSERT_EQ(handedOut, before);
            // Lines not asked about for a few edits after a reload are found in the edited text.
            expectSameAsModel(buffer, model, random, step % 25 >= 3);
        }
    }
}

TEST(PLLineIndicesTest, listsTheFirstCharacterOfEveryLine)
{
    for (const auto &[text, indices] : {std::pair<QString, std::vector<qsizetype>>{QString(), {0}}, {QStringLiteral("a\nb\n"), {0, 2, 4}},
                                        {QStringLiteral("a\r\n\rb\n\nc"), {0, 3, 4, 6, 7}},
                                        {QStringLiteral("a\u0085b\u2028c\u2029"), {0, 2, 4, 6}}})
        EXPECT_EQ(PLLineIndices().indicesForText(text), indices) << text.toStdString();
}

TEST(PLLineIndicesTest, findsTheLineHoldingALocation)
{
    const std::vector<qsizetype> indices{0, 4, 9, 10, 20};
    for (const auto &[location, line] :
         {std::pair<qsizetype, qsizetype>{0, 0}, {3, 0}, {4, 1}, {8, 1}, {9, 2}, {10, 3}, {19, 3}, {20, 4}, {500, 4}})
        EXPECT_EQ(PLLineIndices::lineNumberForCharacterIndex(indices, location), line) << location;
    EXPECT_EQ(PLLineIndices::lineNumberForCharacterIndex({0}, 7), 0);
}

// The list after noted edits must always equal the list scanned anew: edits that split and join
// CR LF pairs, insert and remove whole lines, and several edits between two requests.
TEST(PLLineIndicesTest, notedEditsGiveTheSameListAsAFullScan)
{
    const QString pieces[] = {QStringLiteral("\r"), QStringLiteral("\n"), QStringLiteral("\r\n"), QStringLiteral("word"),
                              QStringLiteral("x\ny\n"), QStringLiteral("\u2029"), QString()};
    QRandomGenerator random(20261121);
    QString text = QStringLiteral("\\section{A}\r\nfirst\nsecond\r\rthird\n");
    PLLineIndices lines;
    lines.indicesForText(text);
    for (int round = 0; round < 3000; ++round) {
        const int editsBeforeRequest = random.bounded(1, 4);
        for (int edit = 0; edit < editsBeforeRequest; ++edit) {
            const qsizetype location = random.bounded(int(text.size()) + 1);
            const qsizetype length = random.bounded(int(std::min<qsizetype>(4, text.size() - location)) + 1);
            const QString &inserted = pieces[random.bounded(int(std::size(pieces)))];
            text.replace(location, length, inserted);
            lines.noteReplacement(PLRange{location, inserted.size()}, inserted.size() - length);
        }
        PLLineIndices scanned;
        ASSERT_EQ(lines.indicesForText(text), scanned.indicesForText(text)) << "round " << round << ": " << ::testing::PrintToString(text);
        if (text.size() > 200)
            text.truncate(50);
        if (text.size() == 50)
            lines.invalidate();
    }
}

PLColor shade(int n)
{
    return PLColor::rgb(n / 8.0, 0.5, 1.0 - n / 8.0, 1.0);
}

PLTextAttributes withForeground(int n)
{
    PLTextAttributes attributes;
    attributes.setValue(PLTextAttributeName::ForegroundColor, shade(n));
    return attributes;
}

// The attributes of every character, run by run, checking on the way that runs are maximal.
std::vector<PLTextAttributes> characters(const PLTextAttributeRuns &runs)
{
    std::vector<PLTextAttributes> result;
    qsizetype counted = 0;
    for (qsizetype index = 0; index < runs.length();) {
        PLRange run;
        const PLTextAttributes attributes = runs.attributesAtIndex(index, &run);
        EXPECT_EQ(run.location, index);
        EXPECT_GT(run.length, 0);
        if (!result.empty()) {
            EXPECT_FALSE(result.back() == attributes) << "runs at " << index << " should have been merged";
        }
        result.insert(result.end(), size_t(run.length), attributes);
        index = run.end();
        ++counted;
    }
    EXPECT_EQ(counted, runs.runCount());
    return result;
}

TEST(PLTextAttributeRuns, AgreesWithAPlainListOfCharacterAttributesUnderRandomEdits)
{
    std::mt19937 random(20240611);
    PLTextAttributeRuns runs(40);
    std::vector<PLTextAttributes> model(40);
    const auto pick = [&](int below) { return int(std::uniform_int_distribution<int>(0, below)(random)); };
    // Shared attributes, as a colouring pass hands them out, beside equal but separate copies.
    const std::vector<PLTextAttributes> palette = {PLTextAttributes(), withForeground(0), withForeground(1)};
    const auto anyAttributes = [&] { return pick(1) == 0 ? palette[size_t(pick(2))] : withForeground(pick(2)); };
    for (int step = 0; step < 3000; ++step) {
        const int length = int(model.size());
        const int location = pick(length);
        const int count = pick(std::min(12, length - location));
        const PLRange range{location, count};
        const auto begin = model.begin() + location;
        switch (pick(5)) {
        case 0: {
            const PLTextAttributes attributes = pick(5) == 0 ? PLTextAttributes() : withForeground(pick(3));
            runs.setAttributes(attributes, range);
            std::fill(begin, begin + count, attributes);
            break;
        }
        case 1: {
            const PLFont font{QStringLiteral("Monaco"), double(10 + pick(2))};
            runs.addAttribute(PLTextAttributeName::Font, font, range);
            for (auto it = begin; it != begin + count; ++it)
                it->setValue(PLTextAttributeName::Font, font);
            break;
        }
        case 2:
            runs.removeAttribute(PLTextAttributeName::ForegroundColor, range);
            for (auto it = begin; it != begin + count; ++it)
                it->removeValue(PLTextAttributeName::ForegroundColor);
            break;
        case 3: {
            // Runs laid over the range or over the whole text; lengths below one are skipped and
            // the runs stop at the end of the text.
            const int start = pick(2) == 0 ? 0 : location;
            const int span = start == 0 && pick(1) == 0 ? length : count;
            std::vector<std::pair<qsizetype, PLTextAttributes>> laid;
            const int overshoot = pick(1) * 3;
            for (int covered = 0; covered < span + overshoot;) {
                laid.emplace_back(pick(5) - 1, anyAttributes());
                covered += std::max<int>(int(laid.back().first), 0);
            }
            runs.replaceRuns(start, laid);
            auto at = model.begin() + start;
            for (const auto &[runLength, attributes] : laid) {
                const auto stop = at + std::min<qsizetype>(std::max<qsizetype>(runLength, 0), model.end() - at);
                std::fill(at, stop, attributes);
                at = stop;
            }
            break;
        }
        default: {
            const int inserted = length > 200 ? 0 : pick(6);
            PLTextAttributes inherited;
            if (count > 0)
                inherited = model[size_t(location)];
            else if (location > 0)
                inherited = model[size_t(location - 1)];
            else if (length > 0)
                inherited = model[0];
            runs.replaceCharacters(range, inserted);
            model.erase(begin, begin + count);
            model.insert(model.begin() + location, size_t(inserted), inherited);
            break;
        }
        }
        ASSERT_EQ(runs.length(), qsizetype(model.size()));
        if (step % 10 == 0 || step > 2950) {
            const std::vector<PLTextAttributes> actual = characters(runs);
            ASSERT_TRUE(actual == model) << "after step " << step;
        }
        // Enumerating a range, its start possibly before the text, yields it clipped and whole.
        const int size = int(model.size());
        const int first = pick(size + 2) - 2;
        const int span = pick(size + 4);
        const int from = std::clamp(first, 0, size);
        std::vector<PLTextAttributes> enumerated;
        runs.enumerateAttributes(PLRange{first, span}, [&](const PLTextAttributes &attributes, PLRange run) {
            EXPECT_EQ(run.location, from + qsizetype(enumerated.size()));
            enumerated.insert(enumerated.end(), size_t(run.length), attributes);
        });
        const auto to = model.begin() + std::clamp(first + span, from, size);
        ASSERT_TRUE(enumerated == std::vector<PLTextAttributes>(model.begin() + from, to)) << "enumerating after step " << step;
    }
    PLRange effective;
    EXPECT_TRUE(runs.attributesAtIndex(runs.length(), &effective).isEmpty());
    EXPECT_EQ(effective, PLNotFoundRange);
}

// New characters take the attributes the text system gives them: inside a run its own, at a
// boundary or the end the character's before, at the start the one after, in a replacement the
// first replaced one's. Starts from six characters coloured 0, 0, 1, 1, 2, 2.
TEST(PLTextAttributeRuns, NewCharactersTakeTheAttributesTheTextSystemGivesThem)
{
    for (const auto &[replaced, insertedLength, expected] :
         {std::tuple<PLRange, qsizetype, const char *>{{1, 0}, 2, "00001122"}, {{2, 0}, 1, "0001122"}, {{0, 0}, 1, "0001122"},
          {{6, 0}, 1, "0011222"}, {{3, 2}, 3, "0011112"}, {{2, 2}, 0, "0022"}, {{0, 6}, 0, ""},
          // A length past the end is clipped; a location past the end changes nothing.
          {{4, 99}, 1, "00112"}, {{7, 0}, 3, "001122"}}) {
        PLTextAttributeRuns runs(6);
        for (int n = 0; n < 3; ++n)
            runs.setAttributes(withForeground(n), PLRange{2 * n, 2});
        runs.replaceCharacters(replaced, insertedLength);
        QString actual;
        for (const PLTextAttributes &attributes : characters(runs)) {
            const std::optional<PLColor> color = attributes.foregroundColor();
            actual += !color ? u'-' : color == shade(0) ? u'0' : color == shade(1) ? u'1' : u'2';
        }
        EXPECT_EQ(actual.toStdString(), expected) << replaced.location << "+" << replaced.length;
    }
}

}
