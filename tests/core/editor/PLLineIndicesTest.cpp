#include "core/editor/PLLineIndices.h"
#include "PLTestSupport.h"

#include <QRandomGenerator>

#include <gtest/gtest.h>

namespace {

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
