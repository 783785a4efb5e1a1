#include "PLEditorTestSupport.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "ui/editor/PLTextViewLineOverlayView.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

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

TEST_F(Band, CoversTheRowOfTheCaretAcrossTheView)
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

TEST_F(Band, OnAnEmptyLastLineItIsSixteenPixelsHighOneBandBelowTheLastRow)
{
    PLTextView *view = showText(QStringLiteral("a\nb\n"));
    view->setSelectedRange(PLRange{4, 0});
    EXPECT_EQ(view->lineHightlightView()->geometry(), rowOf(view, 3).translated(0, 16));

    PLTextView *windows = makeView(open(QStringLiteral("a\r\nb\r\n"), QStringLiteral("windows.tex")));
    window.layout()->addWidget(windows);
    QCoreApplication::processEvents();
    windows->setFocus();
    windows->setSelectedRange(PLRange{6, 0});
    EXPECT_EQ(windows->lineHightlightView()->geometry(), rowOf(windows, 3).translated(0, 16));

    PLTextView *empty = makeView(open(QString(), QStringLiteral("empty.tex")));
    window.layout()->addWidget(empty);
    QCoreApplication::processEvents();
    empty->setFocus();
    empty->updateLineHighlightPosition();
    EXPECT_EQ(empty->lineHightlightView()->geometry(), QRect(0, rowOf(empty, 0).top(), empty->viewport()->width(), 16));
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

TEST_F(Band, ClicksGoThroughToTheText)
{
    PLTextView *view = showText(QStringLiteral("first line\nsecond line\n"));
    view->setSelectedRange(PLRange{3, 0});
    const QRect band = view->lineHightlightView()->geometry();
    QTextCursor cursor(view->document());
    cursor.setPosition(7);
    const QPoint onBand(view->cursorRect(cursor).center().x(), band.center().y());
    ASSERT_EQ(view->viewport()->childAt(onBand), nullptr);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, onBand);
    EXPECT_EQ(view->selectedRange(), (PLRange{7, 0}));
}

}
