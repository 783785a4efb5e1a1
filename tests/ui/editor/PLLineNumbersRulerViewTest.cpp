#include "PLEditorTestSupport.h"
#include "ui/editor/PLLineNumbersRulerView.h"

#include <QScrollBar>

#include <cmath>

namespace {

class Ruler : public PLTest::EditorTest
{
protected:
    PLLineNumbersRulerView *showRuler(const QString &text, QSize size = QSize(500, 300))
    {
        view = makeView(open(text));
        auto *ruler = new PLLineNumbersRulerView(view);
        show({view}, size);
        return ruler;
    }
    static qreal expectedThickness(const QFont &font, int digits)
    {
        return std::ceil(std::max(22.0, QFontMetricsF(font).horizontalAdvance(QString(digits, u'8')) + 10.0));
    }
    PLTextView *view = nullptr;
};

// A text, its line starts, the digits its widest number needs and the label font's pixel size: a
// large font makes every digit count show in the width, a tiny one the least width.
using RulerLines = PLTest::WithParam<Ruler, std::tuple<const char *, std::vector<qsizetype>, int, int>>;

TEST_P(RulerLines, ListsEveryLineAndIsAsWideAsTheLineCountNeeds)
{
    const auto &[text, indices, digits, pixelSize] = GetParam();
    PLLineNumbersRulerView *ruler = showRuler(QString::fromLatin1(text));
    QFont font = ruler->font();
    font.setPixelSize(pixelSize);
    ruler->setFont(font);
    EXPECT_EQ(ruler->lineIndices(), indices);
    EXPECT_EQ(ruler->requiredThickness(), expectedThickness(font, digits));
    QCoreApplication::processEvents();
    EXPECT_EQ(ruler->ruleThickness(), expectedThickness(font, digits));
    EXPECT_EQ(ruler->width(), int(ruler->ruleThickness()));
    EXPECT_EQ(view->viewport()->x(), ruler->width());
}

using Lines = std::vector<qsizetype>;
INSTANTIATE_TEST_SUITE_P(Texts, RulerLines,
                         ::testing::Values(std::tuple{"", Lines{0}, 1, 40}, std::tuple{"a\n", Lines{0, 2}, 1, 40},
                                           std::tuple{"1\n2\n3\n4\n5\n6\n7\n8\n", Lines{0, 2, 4, 6, 8, 10, 12, 14, 16}, 1, 40},
                                           std::tuple{"1\n2\n3\n4\n5\n6\n7\n8\n9\n", Lines{0, 2, 4, 6, 8, 10, 12, 14, 16, 18}, 2, 40},
                                           std::tuple{"one line", Lines{0}, 1, 6}));

TEST_F(Ruler, FollowsEditsAndWidensOnTheNextTurnOfTheEventLoop)
{
    PLLineNumbersRulerView *ruler = showRuler(QStringLiteral("1\n2\n3\n4\n5\n6\n7\n8"));
    QFont large = ruler->font();
    large.setPixelSize(40);
    ruler->setFont(large);
    QCoreApplication::processEvents();
    ASSERT_EQ(ruler->ruleThickness(), expectedThickness(large, 1));
    view->setSelectedRange(PLRange{view->contentBuffer()->length(), 0});
    QTest::keyClick(view, Qt::Key_Return);
    QTest::keyClicks(view, QStringLiteral("9"));
    QTest::keyClick(view, Qt::Key_Return);
    // The edits reach the list when it is next asked for; the width waits for the event loop.
    EXPECT_EQ(ruler->lineIndices().size(), 10u);
    EXPECT_EQ(ruler->ruleThickness(), expectedThickness(large, 1));
    QCoreApplication::processEvents();
    EXPECT_EQ(ruler->ruleThickness(), expectedThickness(large, 2));
    view->contentBuffer()->replaceCharactersInRange(PLRange{0, 4}, QString());
    EXPECT_EQ(ruler->lineNumberForCharacterIndex(0), 0);
    EXPECT_EQ(ruler->lineIndices().size(), 8u);
    QCoreApplication::processEvents();
    EXPECT_EQ(ruler->ruleThickness(), expectedThickness(large, 1));
}

TEST_F(Ruler, AWrappedLineIsNumberedOnceRightAlignedAndCentredOnItsFirstRow)
{
    const QString longLine = QStringLiteral("word ").repeated(80);
    PLLineNumbersRulerView *ruler = showRuler(QStringLiteral("short\n") + longLine + QStringLiteral("\nlast\n"));
    const QList<PLLineNumbersRulerView::Label> labels = ruler->labelsInRect(ruler->rect());
    ASSERT_EQ(labels.size(), 4);
    const QFontMetricsF metrics(ruler->font());
    for (int i = 0; i < 4; ++i) {
        const PLLineNumbersRulerView::Label &label = labels.at(i);
        EXPECT_EQ(label.lineNumber, i + 1);
        EXPECT_DOUBLE_EQ(label.baseline.x() + metrics.horizontalAdvance(QString::number(i + 1)), ruler->width() - 5.0);
    }
    // The second line wraps over many rows: the third label sits far below the second.
    QTextCursor start(view->document());
    start.setPosition(6);
    const QRect firstRow = view->cursorRect(start);
    EXPECT_NEAR(labels.at(1).baseline.y() - metrics.ascent() + metrics.height() / 2, firstRow.center().y(), 1.0);
    EXPECT_GT(labels.at(2).baseline.y() - labels.at(1).baseline.y(), 3 * firstRow.height());
}

TEST_F(Ruler, OnlyTheLinesInViewAreLabelled)
{
    QString text;
    for (int i = 1; i <= 5000; ++i)
        text += QStringLiteral("line %1\n").arg(i);
    PLLineNumbersRulerView *ruler = showRuler(text, QSize(400, 200));
    view->verticalScrollBar()->setValue(2500);
    QCoreApplication::processEvents();
    const QList<PLLineNumbersRulerView::Label> labels = ruler->labelsInRect(ruler->rect());
    ASSERT_FALSE(labels.isEmpty());
    EXPECT_LT(labels.size(), 30);
    const qsizetype firstVisible = view->cursorForPosition(QPoint(0, 0)).blockNumber() + 1;
    EXPECT_EQ(labels.first().lineNumber, firstVisible);
    for (qsizetype i = 1; i < labels.size(); ++i)
        EXPECT_EQ(labels.at(i).lineNumber, labels.at(i - 1).lineNumber + 1);
}

}
