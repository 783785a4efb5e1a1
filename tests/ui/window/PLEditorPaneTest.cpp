#include "ui/window/PLGoToLineWindowController.h"
#include "ui/window/PLDocumentOutlineView.h"
#include "core/latex/PLOutlineNode.h"
#include "ui/window/PLSideBarViewController.h"
#include "core/project/PLTextViewHistoryHandler.h"
#include "ui/window/PLTitleBarButton.h"
#include "PLUiTestSupport.h"

#include <QLabel>
#include <QLineEdit>
#include <QStatusBar>

namespace {

// A project window on a main file of forty numbered lines, shown and focused.
class EditorPane : public PLTest::ProjectWindowTest
{
protected:
    void SetUp() override
    {
        ProjectWindowTest::SetUp();
        for (int i = 1; i <= 40; ++i)
            text += QStringLiteral("line %1\n").arg(i);
        mainPath = project.write(QStringLiteral("main.tex"), text + QStringLiteral("\\section{Later}\n\\input{chapter}\n"));
        project.write(QStringLiteral("chapter.tex"), QStringLiteral("Chapter text.\nMore.\n"));
        openWindow(mainPath, QSize(900, 400));
    }
    bool canGoBack() const { return pane()->historyNavigationBackwardsButton()->isEnabled(); }
    bool canGoForward() const { return pane()->historyNavigationForwardsButton()->isEnabled(); }
    void select(PLRange range) const
    {
        textView()->setFocus();
        textView()->setSelectedRange(range);
    }
    QString text;
    QString mainPath;
};

TEST_F(EditorPane, BackAndForwardWalkTheSelectionsMadeInTheFile)
{
    EXPECT_FALSE(canGoBack());
    const PLRange a{10, 0}, b{20, 4}, c{30, 0};
    select(a);
    select(b);
    select(c);
    // The history holds the selections left behind: the newest, b, is its current place.
    EXPECT_TRUE(canGoBack());
    EXPECT_FALSE(canGoForward());
    pane()->navigateBackward();
    EXPECT_EQ(textView()->selectedRange(), a);
    EXPECT_TRUE(canGoForward());
    ASSERT_TRUE(PLResponderChain::sendAction(window, PLAction::NavigateBackward, nullptr));
    EXPECT_EQ(textView()->selectedRange(), (PLRange{0, 0}));
    EXPECT_FALSE(canGoBack());
    EXPECT_FALSE(PLResponderChain::sendAction(window, PLAction::NavigateBackward, nullptr));
    // Walking the history records nothing of its own.
    pane()->navigateForward();
    EXPECT_EQ(textView()->selectedRange(), a);
    pane()->navigateForward();
    EXPECT_EQ(textView()->selectedRange(), b);
    EXPECT_FALSE(canGoForward());
    // A new pane starts a history of its own.
    pane()->splitView(Qt::NoModifier);
    EXPECT_TRUE(canGoBack());
    EXPECT_FALSE(editor->splitViewContentControllerAtIndex(1)->historyNavigationBackwardsButton()->isEnabled());
}

TEST_F(EditorPane, ARangeReachingTheEndOfTheTextIsNotRestored)
{
    for (const PLRange range : {PLRange{10, 0}, PLRange{textView()->contentBuffer()->length() - 3, 3}, PLRange{20, 0}, PLRange{25, 0}})
        select(range);
    pane()->navigateBackward();
    EXPECT_EQ(textView()->selectedRange(), (PLRange{25, 0}));
    pane()->navigateBackward();
    EXPECT_EQ(textView()->selectedRange(), (PLRange{10, 0}));
}

TEST_F(EditorPane, EachFileKeepsItsTrailAcrossFileSwitches)
{
    const std::shared_ptr<PLFile> main = pane()->file();
    select(PLRange{10, 0});
    select(PLRange{20, 0});
    select(PLRange{30, 0});
    ASSERT_TRUE(canGoBack());
    const std::shared_ptr<PLFile> chapter = main->filesInDocument().value(0);
    ASSERT_NE(chapter, nullptr);
    pane()->setFile(chapter);
    EXPECT_FALSE(canGoBack());
    select(PLRange{5, 0});
    select(PLRange{8, 0});
    EXPECT_TRUE(canGoBack());
    pane()->setFile(main);
    EXPECT_EQ(textView()->selectedRange(), (PLRange{30, 0}));
    EXPECT_TRUE(canGoBack());
    pane()->navigateBackward();
    EXPECT_EQ(textView()->selectedRange(), (PLRange{20, 0}));
    EXPECT_EQ(pane()->historyHandler()->getFileInDirection(PLHistoryDirectionBackwards), chapter);
}

// Go to line puts the caret at the line start, in view, and closes; it and an outline row are
// places to go back to, even when the sidebar had the focus.
TEST_F(EditorPane, GoToLineAndOutlineJumpsAreRecordedInTheHistory)
{
    select(PLRange{10, 0});
    select(PLRange{20, 0});
    ASSERT_TRUE(PLResponderChain::sendAction(window, PLAction::DisplayGoToLineWindow, nullptr));
    PLGoToLineWindowController *goToLine = editor->goToLineWindowController();
    ASSERT_TRUE(goToLine->window()->isVisible());
    QTest::keyClicks(goToLine->lineNumberTextField(), QStringLiteral("35"));
    QTest::keyClick(goToLine->lineNumberTextField(), Qt::Key_Return);
    EXPECT_FALSE(goToLine->window()->isVisible());
    const PLRange lineStart{text.indexOf(QStringLiteral("line 35")), 0};
    EXPECT_EQ(textView()->selectedRange(), lineStart);
    EXPECT_EQ(pane()->file()->selectedRange(), lineStart);
    EXPECT_TRUE(textView()->viewport()->rect().contains(textView()->cursorRect()));
    pane()->navigateBackward();
    EXPECT_EQ(textView()->selectedRange(), (PLRange{20, 0}));
    std::shared_ptr<PLOutlineNode> section = pane()->file()->outlineRootNode()->children().back();
    ASSERT_EQ(section->type(), 3);
    const PLRange heading{text.size(), 0};
    windowController->splitViewController()->sideBarViewController()->sidebar()->setFocus();
    mainArea()->sideBarDidSelectItem(section);
    EXPECT_EQ(textView()->selectedRange(), heading);
    EXPECT_TRUE(textView()->hasFocus());
    pane()->navigateBackward();
    EXPECT_EQ(textView()->selectedRange(), (PLRange{20, 0}));
    pane()->navigateForward();
    EXPECT_EQ(textView()->selectedRange(), heading);
    // What reads as no number goes to the start.
    editor->displayGoToLineWindow();
    goToLine->lineNumberTextField()->setText(QStringLiteral("abc"));
    goToLine->goToLine();
    EXPECT_EQ(textView()->selectedRange(), (PLRange{0, 0}));
    // Only text has lines to go to.
    pane()->toggleDocumentPDF();
    EXPECT_FALSE(PLResponderChain::validateMenuItem(window, PLAction::DisplayGoToLineWindow, nullptr));
}

// Steps on the panes, one letter and a pane index each: s splits, c closes, k clicks in the
// text, t switches between text and PDF; n and p move to the next and previous pane.
using PaneFocus = PLTest::WithParam<EditorPane, const char *>;

TEST_P(PaneFocus, TheKeysGoToTheSelectedPaneAfterEveryStep)
{
    const QString steps = QString::fromLatin1(GetParam());
    for (qsizetype i = 0; i < steps.size(); ++i) {
        const QChar step = steps.at(i);
        PLSplitViewContentViewController *target = nullptr;
        if (step != u'n' && step != u'p')
            target = editor->splitViewContentControllerAtIndex(steps.at(++i).digitValue());
        if (step == u's') {
            target->splitView(Qt::NoModifier);
        } else if (step == u'c') {
            target->closeView();
        } else if (step == u't') {
            target->toggleDocumentPDF();
        } else if (step == u'k') {
            QTest::mouseClick(target->textContentView()->viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(20, 10));
        } else {
            editor->changeSelectionSplitViewToSplitViewInDirection(step == u'n' ? 1 : 0);
        }
        QCoreApplication::processEvents();
        PLSplitViewContentViewController *selected = editor->selectedSplitViewController();
        ASSERT_NE(selected, nullptr) << i;
        QWidget *focus = QApplication::focusWidget();
        ASSERT_NE(focus, nullptr) << i;
        EXPECT_TRUE(selected->view()->isAncestorOf(focus)) << i;
        if (!selected->isPdfToggled()) {
            EXPECT_EQ(focus, selected->textContentView()) << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Sequences, PaneFocus,
                         ::testing::Values("s0", "s0k0s0", "s0s1k0c1k1c0", "s0s1c2", "s0s0nnpk1c1n", "s0t1k0n"));

TEST_F(EditorPane, TheBottomBorderShowsTheCaretOfTheSelectedPaneAndShortNotes)
{
    QLabel *caret = windowController->caretPositionField();
    select(PLRange{16, 2});
    EXPECT_EQ(caret->text(), QStringLiteral("Line 3, Column 3"));
    QTest::keyClick(textView(), Qt::Key_Down);
    EXPECT_EQ(caret->text(), QStringLiteral("Line 4, Column 5"));
    // A find from the bar moves the caret while the focus stays in the bar's field.
    textView()->clearFocus();
    pane()->findAndHighlightString(QStringLiteral("line 12"), 1);
    EXPECT_EQ(caret->text(), QStringLiteral("Line 12, Column 1"));
    textView()->setFocus();
    pane()->splitView(Qt::NoModifier);
    editor->splitViewContentControllerAtIndex(1)->textContentView()->setSelectedRange(PLRange{0, 0});
    QTest::keyClick(editor->splitViewContentControllerAtIndex(1)->textContentView(), Qt::Key_End);
    EXPECT_EQ(caret->text(), QStringLiteral("Line 1, Column 7"));
    editor->splitViewContentControllerAtIndex(1)->toggleDocumentPDF();
    EXPECT_EQ(caret->text(), QString());
    // Removing the by-products keeps the sources and the PDF.
    for (const char *name : {"main.aux", "chapter.log", "main.synctex.gz", "main.pdf"})
        project.write(QString::fromLatin1(name), QStringLiteral("x"));
    ASSERT_TRUE(PLResponderChain::sendAction(window, PLAction::RemoveTypesettingRelatedFiles, nullptr));
    EXPECT_EQ(window->statusBar()->currentMessage(), QStringLiteral("Removed 3 typesetting by-products"));
    for (const char *name : {"main.tex", "chapter.tex", "main.pdf"})
        EXPECT_TRUE(QFile::exists(project.path(QString::fromLatin1(name)))) << name;
}

TEST(GoToLineNumbers, AreReadTheLenientWay)
{
    const std::pair<const char *, int> cases[] = {{"12", 12}, {"  7x", 7}, {"abc", 0}, {"", 0}, {"-3", -3}, {"+5", 5}, {"4 2", 4},
                                                  {"99999999999", 2147483647}, {"-99999999999", -2147483647 - 1}};
    for (const auto &[typed, lineNumber] : cases)
        EXPECT_EQ(PLGoToLineWindowController::lineNumberFromString(QString::fromUtf8(typed)), lineNumber) << typed;
}

}
