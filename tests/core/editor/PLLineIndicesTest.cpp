#include "core/editor/PLLineIndices.h"
#include "PLTestSupport.h"

#include <QRandomGenerator>

#include <gtest/gtest.h>

namespace {

struct LinesCase
{
    const char *name;
    QString text;
    std::vector<qsizetype> indices;
};

class PLLineIndicesListTest : public ::testing::TestWithParam<LinesCase>
{
};

TEST_P(PLLineIndicesListTest, listsTheFirstCharacterOfEveryLine)
{
    PLLineIndices lines;
    EXPECT_EQ(lines.indicesForText(GetParam().text), GetParam().indices);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, PLLineIndicesListTest,
    ::testing::Values(LinesCase{"empty", QString(), {0}}, LinesCase{"oneLine", QStringLiteral("abc"), {0}},
                      LinesCase{"finalNewline", QStringLiteral("a\nb\n"), {0, 2, 4}},
                      LinesCase{"onlyNewline", QStringLiteral("\n"), {0, 1}},
                      LinesCase{"crLfIsOneTerminator", QStringLiteral("a\r\nb\r\n"), {0, 3, 6}},
                      LinesCase{"loneCrAndLf", QStringLiteral("a\r\n\rb\n\nc"), {0, 3, 4, 6, 7}},
                      LinesCase{"unicodeTerminators", QStringLiteral("a\u0085b\u2028c\u2029"), {0, 2, 4, 6}},
                      LinesCase{"nineLines", QStringLiteral("1\n2\n3\n4\n5\n6\n7\n8\n9"), {0, 2, 4, 6, 8, 10, 12, 14, 16}}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(PLLineIndicesTest, findsTheLineHoldingALocation)
{
    const std::vector<qsizetype> indices{0, 4, 9, 10, 20};
    const std::vector<std::pair<qsizetype, qsizetype>> expected{{0, 0}, {3, 0}, {4, 1}, {8, 1}, {9, 2}, {10, 3}, {19, 3}, {20, 4}, {500, 4}};
    for (const auto &[location, line] : expected)
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
