#include "core/editor/PLGapBuffer.h"
#include "core/editor/PLLineIndices.h"
#include "core/foundation/PLStringLineCalculations.h"
#include "PLTestSupport.h"

#include <QRandomGenerator>

#include <gtest/gtest.h>

namespace {

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

}
