#include "PLDocument.h"
#include "PLDocumentController.h"
#include "PLDocumentSplitViewController.h"
#include "PLDocumentWindowController.h"
#include "PLFile.h"
#include "PLGoToLineWindowController.h"
#include "PLMainAreaViewController.h"
#include "PLResponderChain.h"
#include "PLSplitViewContentViewController.h"
#include "PLSplitViewController.h"
#include "PLTextContentBuffer.h"
#include "PLTextView.h"
#include "PLTextViewHistoryHandler.h"
#include "PLTitleBarButton.h"
#include "PLUiTestSupport.h"

#include <QLineEdit>
#include <QMainWindow>
#include <QTest>

#include <gtest/gtest.h>

namespace {

// A project window on a main file of forty numbered lines, shown and focused.
class EditorPane : public ::testing::Test
{
protected:
    void SetUp() override
    {
        PLTest::resetSettings();
        for (int i = 1; i <= 40; ++i)
            text += QStringLiteral("line %1\n").arg(i);
        mainPath = project.write(QStringLiteral("main.tex"), text + QStringLiteral("\\input{chapter}\n"));
        project.write(QStringLiteral("chapter.tex"), QStringLiteral("Chapter text.\nMore.\n"));
        PLError error;
        document = documents.openDocumentWithContentsOfURL(QUrl::fromLocalFile(mainPath), true, &error);
        ASSERT_NE(document, nullptr) << error.message.toStdString();
        PLDocumentWindowController *windowController = documents.windowControllerForDocument(document);
        window = windowController->documentWindow();
        window->resize(900, 400);
        window->show();
        window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window));
        editor = windowController->splitViewController()->mainAreaViewController()->editorSplitViewController();
        pane = editor->splitViewContentControllerAtIndex(0);
        pane->makeKey();
        QCoreApplication::processEvents();
    }

    void TearDown() override { PLTest::closeDiscardingChanges(documents); }

    PLTextView *textView() const { return pane->textContentView(); }
    bool canGoBack() const { return pane->historyNavigationBackwardsButton()->isEnabled(); }
    bool canGoForward() const { return pane->historyNavigationForwardsButton()->isEnabled(); }
    void select(PLRange range) const
    {
        textView()->setFocus();
        textView()->setSelectedRange(range);
    }

    PLTest::Project project;
    QString text;
    QString mainPath;
    PLDocumentController documents;
    PLDocument *document = nullptr;
    QMainWindow *window = nullptr;
    PLSplitViewController *editor = nullptr;
    PLSplitViewContentViewController *pane = nullptr;
};

TEST_F(EditorPane, BackAndForwardWalkTheSelectionsMadeInTheFile)
{
    EXPECT_FALSE(canGoBack());
    EXPECT_FALSE(canGoForward());
    const PLRange a{10, 0}, b{20, 4}, c{30, 0};
    select(a);
    select(b);
    select(c);
    // The history holds the selections left behind: the newest, b, is its current place.
    EXPECT_TRUE(canGoBack());
    EXPECT_FALSE(canGoForward());

    pane->navigateBackward();
    EXPECT_EQ(textView()->selectedRange(), a);
    EXPECT_TRUE(canGoForward());
    ASSERT_TRUE(PLResponderChain::sendAction(window, PLAction::NavigateBackward, nullptr));
    EXPECT_EQ(textView()->selectedRange(), (PLRange{0, 0}));
    EXPECT_FALSE(canGoBack());
    EXPECT_FALSE(PLResponderChain::sendAction(window, PLAction::NavigateBackward, nullptr));

    // Walking the history records nothing of its own.
    pane->navigateForward();
    EXPECT_EQ(textView()->selectedRange(), a);
    pane->navigateForward();
    EXPECT_EQ(textView()->selectedRange(), b);
    EXPECT_FALSE(canGoForward());
}

TEST_F(EditorPane, AFreshSelectionAfterGoingBackDropsTheWayForward)
{
    select(PLRange{10, 0});
    select(PLRange{20, 0});
    select(PLRange{30, 0});
    pane->navigateBackward();
    pane->navigateBackward();
    select(PLRange{40, 0});
    select(PLRange{50, 0});
    EXPECT_FALSE(canGoForward());
    pane->navigateBackward();
    EXPECT_EQ(textView()->selectedRange(), (PLRange{0, 0}));
}

TEST_F(EditorPane, ARangeReachingTheEndOfTheTextIsNotRestored)
{
    const qsizetype end = textView()->contentBuffer()->length();
    select(PLRange{10, 0});
    select(PLRange{end - 3, 3});
    select(PLRange{20, 0});
    select(PLRange{25, 0});
    pane->navigateBackward();
    EXPECT_EQ(textView()->selectedRange(), (PLRange{25, 0}));
    pane->navigateBackward();
    EXPECT_EQ(textView()->selectedRange(), (PLRange{10, 0}));
}

TEST_F(EditorPane, EachFileKeepsItsTrailAcrossFileSwitches)
{
    const std::shared_ptr<PLFile> main = pane->file();
    select(PLRange{10, 0});
    select(PLRange{20, 0});
    select(PLRange{30, 0});
    ASSERT_TRUE(canGoBack());

    const std::shared_ptr<PLFile> chapter = main->filesInDocument().value(0);
    ASSERT_NE(chapter, nullptr);
    pane->setFile(chapter);
    EXPECT_FALSE(canGoBack());
    select(PLRange{5, 0});
    select(PLRange{8, 0});
    EXPECT_TRUE(canGoBack());

    pane->setFile(main);
    EXPECT_EQ(textView()->selectedRange(), (PLRange{30, 0}));
    EXPECT_TRUE(canGoBack());
    pane->navigateBackward();
    EXPECT_EQ(textView()->selectedRange(), (PLRange{20, 0}));
    EXPECT_EQ(pane->historyHandler()->getFileInDirection(PLHistoryDirectionBackwards), chapter);
}

TEST_F(EditorPane, GoToLinePutsTheCaretAtTheLineStartInViewAndCloses)
{
    textView()->setSelectedRange(PLRange{0, 0});
    ASSERT_TRUE(PLResponderChain::validateMenuItem(window, PLAction::DisplayGoToLineWindow, nullptr));
    ASSERT_TRUE(PLResponderChain::sendAction(window, PLAction::DisplayGoToLineWindow, nullptr));
    PLGoToLineWindowController *goToLine = editor->goToLineWindowController();
    ASSERT_NE(goToLine, nullptr);
    EXPECT_EQ(goToLine->textView(), textView());
    ASSERT_TRUE(goToLine->window()->isVisible());

    QTest::keyClicks(goToLine->lineNumberTextField(), QStringLiteral("35"));
    QTest::keyClick(goToLine->lineNumberTextField(), Qt::Key_Return);
    EXPECT_FALSE(goToLine->window()->isVisible());
    const qsizetype lineStart = text.indexOf(QStringLiteral("line 35"));
    EXPECT_EQ(textView()->selectedRange(), (PLRange{lineStart, 0}));
    EXPECT_EQ(pane->file()->selectedRange(), (PLRange{lineStart, 0}));
    EXPECT_TRUE(textView()->viewport()->rect().contains(textView()->cursorRect()));

    editor->displayGoToLineWindow();
    goToLine->lineNumberTextField()->setText(QStringLiteral("abc"));
    goToLine->goToLine();
    EXPECT_EQ(textView()->selectedRange(), (PLRange{0, 0}));
}

TEST_F(EditorPane, TheTextViewTakingTheFocusMakesItsPaneTheSelectedOne)
{
    pane->splitView(Qt::NoModifier);
    PLSplitViewContentViewController *right = editor->splitViewContentControllerAtIndex(1);
    editor->focusOnSplitViewContentViewController(pane);
    ASSERT_EQ(editor->selectedSplitViewController(), pane);
    right->textContentView()->setFocus();
    EXPECT_EQ(editor->selectedSplitViewController(), right);
    // Each pane walks a history of its own.
    select(PLRange{10, 0});
    select(PLRange{20, 0});
    EXPECT_TRUE(canGoBack());
    EXPECT_FALSE(right->historyNavigationBackwardsButton()->isEnabled());
}

TEST_F(EditorPane, GoToLineIsOnlyOfferedForText)
{
    pane->toggleDocumentPDF();
    EXPECT_FALSE(PLResponderChain::validateMenuItem(window, PLAction::DisplayGoToLineWindow, nullptr));
    EXPECT_FALSE(canGoBack());
}

struct NumberCase
{
    const char *typed;
    int lineNumber;
};

class GoToLineNumbers : public ::testing::TestWithParam<NumberCase>
{
};

TEST_P(GoToLineNumbers, AreReadTheLenientWay)
{
    EXPECT_EQ(PLGoToLineWindowController::lineNumberFromString(QString::fromUtf8(GetParam().typed)), GetParam().lineNumber);
}

INSTANTIATE_TEST_SUITE_P(Typed, GoToLineNumbers,
                         ::testing::Values(NumberCase{"12", 12}, NumberCase{"  7x", 7}, NumberCase{"abc", 0}, NumberCase{"", 0},
                                           NumberCase{"-3", -3}, NumberCase{"+5", 5}, NumberCase{"4 2", 4},
                                           NumberCase{"99999999999", 2147483647}, NumberCase{"-99999999999", -2147483647 - 1}));

}
