#include "PLEditorTestSupport.h"
#include "ui/editor/PLTextViewLineOverlayView.h"

namespace {

class Band : public PLTest::EditorTest
{
protected:
    void SetUp() override { PLTest::resetSettings(); }
    // The row of the character at the location, in the viewport.
    static QRect rowOf(PLTextView *view, qsizetype location)
    {
        QTextCursor cursor(view->document());
        cursor.setPosition(int(view->mirrorPosition(location)));
        const QRect caret = view->cursorRect(cursor);
        return QRect(0, caret.top(), view->viewport()->width(), caret.height());
    }
};

TEST_F(Band, CoversTheRowOfTheCaretAndLetsClicksThrough)
{
    PLTextView *view = showText(QStringLiteral("first\nsecond\nthird"));
    view->setSelectedRange(PLRange{8, 0});
    ASSERT_NE(view->lineHightlightView(), nullptr);
    EXPECT_EQ(view->lineHightlightView()->geometry(), rowOf(view, 8));
    QTest::keyClick(view, Qt::Key_Down);
    EXPECT_EQ(view->lineHightlightView()->geometry(), rowOf(view, 15));
    // The caret at the very end of a last line that has text stays on that line.
    view->setSelectedRange(PLRange{18, 0});
    EXPECT_EQ(view->lineHightlightView()->geometry(), rowOf(view, 17));
    QTextCursor cursor(view->document());
    cursor.setPosition(15);
    const QPoint onBand(view->cursorRect(cursor).center().x(), view->lineHightlightView()->geometry().center().y());
    ASSERT_EQ(view->viewport()->childAt(onBand), nullptr);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, onBand);
    EXPECT_EQ(view->selectedRange(), (PLRange{15, 0}));
}

TEST_F(Band, FollowsTheTextWhenTheViewScrollsOrResizes)
{
    QString text;
    for (int i = 0; i < 200; ++i)
        text += QStringLiteral("line %1\n").arg(i);
    PLTextView *view = showText(text);
    view->setSelectedRange(PLRange{text.indexOf(QStringLiteral("line 5\n")), 0});
    window.resize(600, 300);
    QCoreApplication::processEvents();
    EXPECT_EQ(view->lineHightlightView()->width(), view->viewport()->width());
    view->scrollRangeToVisible(PLRange{text.indexOf(QStringLiteral("line 150")), 0});
    QCoreApplication::processEvents();
    EXPECT_EQ(view->lineHightlightView()->geometry(), rowOf(view, view->selectedRange().location));
}

// In an empty text the band is sixteen pixels high on the first row.
TEST_F(Band, OnAnEmptyLastLineItIsSixteenPixelsHighOneBandBelowTheLastRow)
{
    // A text, the caret at its end, the row the band is below and how far.
    const std::tuple<QString, qsizetype, qsizetype, int> cases[] = {
        {QStringLiteral("a\nb\n"), 4, 3, 16}, {QStringLiteral("a\r\nb\r\n"), 6, 3, 16}, {QString(), 0, 0, 0}};
    QList<PLTextView *> views;
    for (const auto &[text, end, row, below] : cases)
        views << makeView(open(text, QStringLiteral("%1.tex").arg(views.size())));
    show({views[0], views[1], views[2]});
    for (qsizetype i = 0; i < views.size(); ++i) {
        const auto &[text, end, row, below] = cases[i];
        PLTextView *view = views[i];
        view->setFocus();
        view->setSelectedRange(PLRange{end, 0});
        view->updateLineHighlightPosition();
        QRect expected = rowOf(view, row).translated(0, below);
        if (text.isEmpty())
            expected.setHeight(16);
        EXPECT_EQ(view->lineHightlightView()->geometry(), expected) << i;
    }
}

TEST_F(Band, IsDrawnAtOneFifthOpacityInTheColoursOfTheSettingsAndFollowsThem)
{
    PLTextView *view = showText(QStringLiteral("x\n\n"));
    view->setSelectedRange(PLRange{2, 0});
    PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    defaults.setColor(PLColor::rgb(0, 0, 1, 1), PLUserDefaultsEditorBackgroundColor);
    defaults.setColor(PLColor::rgb(1, 0, 0, 1), PLUserDefaultsEditorColorLineHighlighter);
    defaults.setColor(PLColor::rgb(0, 1, 0, 1), PLUserDefaultsEditorColorLineHighlighterBorders);
    view->applyEditorBackgroundColor();
    PLNotificationCenter::defaultCenter().post(PLNotificationEditorLineHighlightColorDidChange);
    PLTextViewLineOverlayView *band = view->lineHightlightView();
    EXPECT_EQ(band->backgroundColor(), QColor(Qt::red));
    EXPECT_EQ(band->borderColor(), QColor(Qt::green));
    const QImage image = view->viewport()->grab().toImage();
    const QRect frame = band->geometry();
    const QColor middle = image.pixelColor(frame.center().x(), frame.center().y());
    const QColor edge = image.pixelColor(frame.center().x(), frame.top());
    // One fifth red over the blue background, and one fifth green at the border.
    EXPECT_NEAR(middle.redF(), 0.2, 0.02);
    EXPECT_NEAR(middle.blueF(), 0.8, 0.02);
    EXPECT_NEAR(edge.greenF(), 0.2, 0.02);
    EXPECT_NEAR(edge.redF(), 0.0, 0.02);
}

}
