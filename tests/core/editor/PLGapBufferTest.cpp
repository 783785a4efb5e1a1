#include "core/editor/PLGapBuffer.h"
#include "core/editor/PLLineIndices.h"
#include "core/foundation/PLStringLineCalculations.h"

#include <gtest/gtest.h>

#include <QRandomGenerator>

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

void expectSameAsModel(const PLGapBuffer &buffer, const QString &model, QRandomGenerator &random)
{
    ASSERT_EQ(buffer.toString(), model);
    ASSERT_EQ(buffer.size(), model.size());
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
        ASSERT_EQ(bounds.start, expected.start);
        ASSERT_EQ(bounds.end, expected.end);
        ASSERT_EQ(bounds.contentsEnd, expected.contentsEnd);
    }
}

TEST(PLGapBufferRandomTest, editsKeepTextAndLinesAsAPlainStringWould)
{
    for (const quint32 seed : {1u, 7u, 2024u, 90210u}) {
        QRandomGenerator random(seed);
        QString model = QStringLiteral("first line\r\nsecond\rthird\n");
        PLGapBuffer buffer(model);
        expectSameAsModel(buffer, model, random);
        for (int step = 0; step < 300; ++step) {
            const qsizetype location = random.bounded(model.size() + 1);
            // Inserts, deletes and replacements, mostly near the previous edit as typing goes.
            const qsizetype length = random.bounded(3) == 0 ? 0 : random.bounded(std::min<qsizetype>(model.size() - location, 12) + 1);
            const QString inserted = random.bounded(3) == 0 ? QString() : randomPiece(random);
            buffer.replace(location, length, inserted);
            model.replace(location, length, inserted);
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", step " << step << " at " << location << " replacing " << length);
            expectSameAsModel(buffer, model, random);
        }
    }
}

}
