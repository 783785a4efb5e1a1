#include "core/editor/PLGapBuffer.h"
#include "core/editor/PLLineIndices.h"
#include "core/foundation/PLStringLineCalculations.h"
#include "PLTestSupport.h"
#include "core/editor/PLTextAttributeRuns.h"

#include <QRandomGenerator>

#include <random>
#include <vector>

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
