#include "core/latex/PLOutlineNode.h"
#include "core/project/PLTextViewHistoryHandler.h"
#include "ui/typesetting/PLNoPDFFoundView.h"
#include "ui/window/PLDocumentOutlineItemModel.h"
#include "ui/window/PLDocumentOutlineView.h"
#include "ui/window/PLErrorReadingFileContentViewController.h"
#include "ui/window/PLGoToLineWindowController.h"
#include "ui/window/PLResponderChain.h"
#include "ui/window/PLSideBarViewController.h"
#include "ui/window/PLSplitView.h"
#include "ui/window/PLTitleBarButton.h"
#include "ui/window/XSViewController.h"
#include "ui/window/XSWindowController.h"
#include "PLUiTestSupport.h"

#include <QAction>
#include <QLabel>
#include <QSplitter>
#include <QLineEdit>
#include <QVBoxLayout>
#include <QWidget>
#include <QStatusBar>
#include <QComboBox>
#include <QPushButton>
#include <QToolButton>
#include <QAbstractItemModelTester>
#include <QSignalSpy>

#include <sys/stat.h>

#include <gtest/gtest.h>

namespace {

class SplitPanes : public PLTest::ProjectWindowTest
{
protected:
    void open()
    {
        openWindow(project.write(QStringLiteral("main.tex"), QStringLiteral("\\section{One}\nText.\n")), QSize(1200, 700), false);
    }
    static QList<QVariantMap> storedLayout() { return PLUserDefaults::standardUserDefaults().arrayForKey(PLUserDefaultsSplitViewSetup); }
    bool send(PLAction action, QAction *item = nullptr) { return PLResponderChain::sendAction(window, action, item); }
};

TEST_F(SplitPanes, SplittingHalvesAPaneAndClosingFocusesTheOneThatTakesItsPlace)
{
    open();
    ASSERT_EQ(editor->splitViewCount(), 1);
    EXPECT_FALSE(pane(0)->titleBarButtonCloseSplit()->isVisibleTo(window));
    pane(0)->splitView(Qt::NoModifier);
    ASSERT_EQ(editor->splitViewCount(), 2);
    const QList<int> widths = editor->splitView()->sizes();
    EXPECT_NEAR(widths.at(0), widths.at(1), 2);
    EXPECT_TRUE(pane(1)->titleBarButtonCloseSplit()->isVisibleTo(window));
    EXPECT_EQ(pane(1)->file(), pane(0)->file());
    const QList<QVariantMap> layout = storedLayout();
    ASSERT_EQ(layout.size(), 2);
    for (const QVariantMap &entry : layout) {
        EXPECT_EQ(entry.value(PLSplitViewSetupContentType).toInt(), 0);
        EXPECT_NEAR(entry.value(PLSplitViewSetupContentPercentageWidth).toDouble(), 50.0, 1.0);
    }
    pane(1)->splitView(Qt::NoModifier);
    ASSERT_EQ(editor->splitViewCount(), 3);
    PLSplitViewContentViewController *first = pane(0);
    PLSplitViewContentViewController *middle = pane(1);
    editor->focusOnSplitViewContentViewController(pane(2));
    pane(2)->closeView();
    ASSERT_EQ(editor->splitViewCount(), 2);
    EXPECT_EQ(editor->selectedSplitViewController(), middle);
    pane(0)->splitView(Qt::NoModifier);
    PLSplitViewContentViewController *inserted = pane(1);
    editor->focusOnSplitViewContentViewController(inserted);
    inserted->closeView();
    EXPECT_EQ(editor->selectedSplitViewController(), middle);
    EXPECT_EQ(editor->contentViewControllers(), (QList<PLSplitViewContentViewController *>{first, middle}));
    middle->closeView();
    EXPECT_EQ(editor->selectedSplitViewController(), first);
    EXPECT_FALSE(first->titleBarButtonCloseSplit()->isVisibleTo(window));
    EXPECT_EQ(storedLayout().size(), 1);
    // With Alt and Shift the new pane shows the PDF, its placeholder while there is none.
    first->splitView(Qt::AltModifier | Qt::ShiftModifier);
    EXPECT_EQ(std::pair(pane(0)->isPdfToggled(), pane(1)->isPdfToggled()), std::pair(false, true));
    ASSERT_NE(pane(1)->noPDFFoundView(), nullptr);
    EXPECT_TRUE(pane(1)->noPDFFoundView()->isVisibleTo(window));
    EXPECT_EQ(storedLayout().at(1).value(PLSplitViewSetupContentType).toInt(), 1);
    pane(1)->toggleDocumentPDF();
    EXPECT_EQ(storedLayout().at(1).value(PLSplitViewSetupContentType).toInt(), 0);
}

// Closing a pane used to leave the controller before it pointing at the deleted pane, so the
// next menu shortcut walked into freed memory.
using ClosingAPane = PLTest::WithParam<SplitPanes, std::pair<int, int>>;

TEST_P(ClosingAPane, LeavesNoLinkToItInTheChainAndActionsStillWork)
{
    const auto [count, position] = GetParam();
    open();
    while (editor->splitViewCount() < count)
        pane(editor->splitViewCount() - 1)->splitView(Qt::NoModifier);
    PLSplitViewContentViewController *closed = pane(position);
    const bool closes = count > 1;
    // The pane's own close command, as its × button and the menu's shortcut send it.
    EXPECT_EQ(closed->tryToPerform(PLAction::CloseView, nullptr), closes);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    ASSERT_EQ(editor->splitViewCount(), closes ? count - 1 : count);
    QList<PLResponder *> reached;
    for (PLResponder *responder = windowController; responder && !reached.contains(responder);
         responder = responder->nextResponder())
        reached << responder;
    EXPECT_FALSE(closes && reached.contains(static_cast<PLResponder *>(closed)));
    // Actions nobody before the application answers walk the whole chain.
    EXPECT_TRUE(send(PLAction::SaveDocument));
    send(PLAction::Typeset);
    EXPECT_TRUE(send(PLAction::SplitView));
    EXPECT_EQ(editor->splitViewCount(), closes ? count : count + 1);
}

INSTANTIATE_TEST_SUITE_P(FirstMiddleAndLastPanes, ClosingAPane,
                         ::testing::Values(std::pair{1, 0}, std::pair{2, 0}, std::pair{2, 1}, std::pair{3, 1}, std::pair{4, 3}));

TEST_F(SplitPanes, FocusMovesAcrossPanesWithWrapAroundAndOnlyTheFocusedTitleIsBold)
{
    open();
    // The menu items that move the focus to the left (tag 0) and to the right (tag 1).
    QAction *left = menuItem(PLAction::NavigateToSplitViewMenuItemPressed, 0);
    QAction *right = menuItem(PLAction::NavigateToSplitViewMenuItemPressed, 1);
    ASSERT_TRUE(left && right);
    EXPECT_FALSE(isEnabled(PLAction::NavigateToSplitViewMenuItemPressed, 1));
    pane(0)->splitView(Qt::NoModifier);
    pane(1)->splitView(Qt::NoModifier);
    EXPECT_TRUE(isEnabled(PLAction::NavigateToSplitViewMenuItemPressed, 1));
    editor->focusOnSplitViewContentViewController(pane(2));
    for (const auto &[item, focused] : {std::pair{right, 0}, std::pair{left, 2}, std::pair{left, 1}}) {
        EXPECT_TRUE(send(PLAction::NavigateToSplitViewMenuItemPressed, item));
        EXPECT_EQ(editor->selectedSplitViewController(), pane(focused));
    }
    for (int index = 0; index < 3; ++index)
        EXPECT_EQ(pane(index)->titleTextField()->font().bold(), index == 1) << "pane " << index;
    // Pane commands reach the focused pane first.
    EXPECT_TRUE(send(PLAction::ToggleDocumentPDF));
    EXPECT_EQ(std::pair(pane(0)->isPdfToggled(), pane(1)->isPdfToggled()), std::pair(false, true));
}

TEST_F(SplitPanes, AStoredLayoutReopensWithItsPanesAndWidths)
{
    QVariantMap text{{PLSplitViewSetupContentType, 0}, {PLSplitViewSetupContentPercentageWidth, 70.0}};
    QVariantMap pdf{{PLSplitViewSetupContentType, 1}, {PLSplitViewSetupContentPercentageWidth, 30.0}};
    PLUserDefaults::standardUserDefaults().setArray({text, pdf}, PLUserDefaultsSplitViewSetup);
    open();
    ASSERT_EQ(editor->splitViewCount(), 2);
    EXPECT_EQ(std::pair(pane(0)->isPdfToggled(), pane(1)->isPdfToggled()), std::pair(false, true));
    const QList<int> widths = editor->splitView()->sizes();
    EXPECT_NEAR(100.0 * widths.at(0) / (widths.at(0) + widths.at(1)), 70.0, 1.0);
    EXPECT_EQ(editor->selectedSplitViewController(), pane(0));
}

TEST_F(SplitPanes, TheSidebarGivesWayToTheTextAndItsDividerStaysBetween150PointsAndHalfTheWindow)
{
    open();
    PLDocumentSplitViewController *split = windowController->splitViewController();
    const auto sidebarWidth = [&](int windowWidth) {
        window->resize(windowWidth, 700);
        QCoreApplication::processEvents();
        return split->splitView()->sizes().at(0);
    };
    const int chosen = PLDocumentSplitViewController::defaultSidebarWidth;
    EXPECT_EQ(sidebarWidth(1200), chosen);
    EXPECT_LT(sidebarWidth(chosen + PLDocumentSplitViewController::comfortableEditorWidth - 40), chosen);
    EXPECT_GE(split->splitView()->sizes().at(1), PLDocumentSplitViewController::comfortableEditorWidth);
    EXPECT_EQ(sidebarWidth(500), PLDocumentSplitViewController::minimumSidebarWidth);
    EXPECT_EQ(sidebarWidth(1200), chosen);
    PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    const int width = split->splitView()->width();
    EXPECT_EQ(split->constrainSplitPosition(100), 150);
    EXPECT_EQ(defaults.doubleForKey(PLDocumentSidebarWidth), 150.0);
    EXPECT_EQ(split->constrainSplitPosition(260), 260);
    EXPECT_EQ(defaults.doubleForKey(PLDocumentSidebarWidth), 260.0);
    EXPECT_EQ(split->constrainSplitPosition(width), width * 0.5 - split->splitView()->handleWidth());
    // The width the user chose is where the next window's sidebar starts.
    split->constrainSplitPosition(300);
    PLDocumentController others;
    const QString otherPath = project.write(QStringLiteral("other.tex"), QStringLiteral("x"));
    PLDocument *other = others.openDocumentWithContentsOfURL(QUrl::fromLocalFile(otherPath), true);
    ASSERT_NE(other, nullptr);
    QWidget *otherWindow = others.windowControllerForDocument(other)->window();
    otherWindow->resize(1200, 700);
    QCoreApplication::processEvents();
    EXPECT_EQ(others.windowControllerForDocument(other)->splitViewController()->splitView()->sizes().at(0), 300);
    others.closeAllDocuments();
}

class Controller : public XSViewController
{
public:
    Controller(const QString &name, XSWindowController *windowController) : XSViewController(name, windowController) {}
    void handle(PLAction action, QStringList *log, bool enabled = true)
    {
        setActionHandler(
            action, [this, log](QAction *) { *log << nibName(); }, [enabled](QAction *) { return enabled; });
    }

protected:
    QWidget *loadView() override { return new QWidget; }
};

class WindowController : public XSWindowController
{
public:
    WindowController() : XSWindowController(QStringLiteral("Window")) {}

protected:
    QWidget *loadWindow() override { return new QWidget; }
};

// The chain from the window controller on, up to its end or to the first responder met twice
// (the last controller keeps the next responder it had, which can lead back into the chain).
QString chainNames(XSWindowController &windowController)
{
    QStringList names{QStringLiteral("window")};
    QList<PLResponder *> seen;
    for (PLResponder *responder = windowController.nextResponder(); responder && !seen.contains(responder);
         responder = responder->nextResponder()) {
        seen << responder;
        names << static_cast<XSViewController *>(responder)->nibName();
    }
    return names.join(u' ');
}

struct Tree
{
    WindowController windowController;
    Controller *a = new Controller(QStringLiteral("A"), &windowController);
    Controller *a1 = new Controller(QStringLiteral("A1"), &windowController);
    Controller *a1a = new Controller(QStringLiteral("A1a"), &windowController);
    Controller *a2 = new Controller(QStringLiteral("A2"), &windowController);
    Controller *b = new Controller(QStringLiteral("B"), &windowController);
    Tree()
    {
        windowController.addViewController(a);
        windowController.addViewController(b);
        a->addChild(a1);
        a->addChild(a2);
        a1->addChild(a1a);
    }
};

// The chain is patched depth first through the top-level controllers; a removed child stays in it
// until the next patch, inserted ones and top-level ones come and go in order.
TEST(XSViewController, TheChainRunsDepthFirstAndFollowsInsertionsAndRemovals)
{
    Tree tree;
    EXPECT_EQ(chainNames(tree.windowController), QStringLiteral("window A A1 A1a A2 B"));
    EXPECT_EQ(tree.a->descendants(), (QList<XSViewController *>{tree.a1, tree.a1a, tree.a2}));
    EXPECT_EQ(tree.a1a->rootController(), tree.a);
    tree.a->removeChild(tree.a2);
    EXPECT_EQ(tree.a2->parentController(), tree.a);
    EXPECT_EQ(chainNames(tree.windowController), QStringLiteral("window A A1 A1a A2 B"));
    auto *early = new Controller(QStringLiteral("early"), &tree.windowController);
    auto *late = new Controller(QStringLiteral("late"), &tree.windowController);
    tree.a->insertObjectsInChildrenAtIndex({early, late}, 1);
    EXPECT_EQ(chainNames(tree.windowController), QStringLiteral("window A A1 A1a early late B"));
    tree.a->removeObjectFromChildrenAtIndex(0);
    EXPECT_EQ(chainNames(tree.windowController), QStringLiteral("window A early late B"));
    tree.windowController.removeViewController(tree.a);
    EXPECT_EQ(chainNames(tree.windowController), QStringLiteral("window B"));
    tree.windowController.insertObjectInViewControllersAtIndex(tree.a, 1);
    EXPECT_EQ(chainNames(tree.windowController), QStringLiteral("window B A early late"));
    tree.windowController.removeObjectFromViewControllersAtIndex(0);
    EXPECT_EQ(tree.windowController.objectInViewControllersAtIndex(0), tree.a);
}

// The last controller keeps the next responder it had; when that one was removed and then
// deleted, walking the chain used to reach freed memory. One deleted in the middle is passed over.
TEST(XSViewController, ADeletedControllerLeavesNoLinkBehind)
{
    Tree tree;
    tree.windowController.removeViewController(tree.b);
    EXPECT_EQ(tree.a2->nextResponder(), tree.b);
    delete tree.b;
    EXPECT_EQ(chainNames(tree.windowController), QStringLiteral("window A A1 A1a A2"));
    delete tree.a1;
    EXPECT_EQ(tree.a->children(), QList<XSViewController *>{tree.a2});
    EXPECT_EQ(chainNames(tree.windowController), QStringLiteral("window A A1a A2"));
}

TEST(ResponderChain, ActionsGoFromTheFocusedWidgetToTheFirstControllerThatImplementsThem)
{
    Tree tree;
    QStringList log;
    tree.a2->handle(PLAction::SplitView, &log);
    tree.b->handle(PLAction::SplitView, &log);
    tree.b->handle(PLAction::CloseView, &log, false);
    QWidget *window = tree.windowController.window();
    auto *field = new QLineEdit(window);
    (new QVBoxLayout(window))->addWidget(field);
    window->show();
    field->setFocus();
    QAction item;
    EXPECT_TRUE(PLResponderChain::sendAction(window, PLAction::SplitView, &item));
    EXPECT_EQ(log, QStringList{QStringLiteral("A2")});
    EXPECT_FALSE(PLResponderChain::validateMenuItem(window, PLAction::CloseView, &item));
    EXPECT_FALSE(PLResponderChain::sendAction(window, PLAction::CloseView, &item));
    EXPECT_FALSE(PLResponderChain::validateMenuItem(window, PLAction::Typeset, &item));
    EXPECT_EQ(log, QStringList{QStringLiteral("A2")});
}

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
    for (const PLRange range : {a, b, c})
        select(range);
    // The history holds the selections left behind: the newest, b, is its current place. Each step:
    // forwards or not, where the selection lands and whether the buttons and the menu go on; walking
    // the history records nothing of its own.
    EXPECT_EQ(std::pair(canGoBack(), canGoForward()), std::pair(true, false));
    const std::tuple<bool, PLRange, bool, bool> steps[] = {
        {false, a, true, true}, {false, PLRange{0, 0}, false, true}, {true, a, true, true}, {true, b, true, false}};
    for (const auto &[forwards, landing, back, forward] : steps) {
        ASSERT_TRUE(PLResponderChain::sendAction(window, forwards ? PLAction::NavigateForward : PLAction::NavigateBackward, nullptr));
        EXPECT_EQ(std::tuple(textView()->selectedRange(), canGoBack(), canGoForward(),
                             PLResponderChain::validateMenuItem(window, PLAction::NavigateBackward, nullptr)),
                  std::tuple(landing, back, forward, back));
    }
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
    for (const qsizetype location : {10, 20, 30})
        select(PLRange{location, 0});
    ASSERT_TRUE(canGoBack());
    const std::shared_ptr<PLFile> chapter = main->filesInDocument().value(0);
    ASSERT_NE(chapter, nullptr);
    pane()->setFile(chapter);
    EXPECT_FALSE(canGoBack());
    for (const qsizetype location : {5, 8})
        select(PLRange{location, 0});
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
    EXPECT_EQ(std::pair(textView()->selectedRange(), pane()->file()->selectedRange()), std::pair(lineStart, lineStart));
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
    // Removing the by-products says how many went (which go is the project's own test).
    for (const char *name : {"main.aux", "chapter.log", "main.synctex.gz", "main.pdf"})
        project.write(QString::fromLatin1(name), QStringLiteral("x"));
    ASSERT_TRUE(PLResponderChain::sendAction(window, PLAction::RemoveTypesettingRelatedFiles, nullptr));
    EXPECT_EQ(window->statusBar()->currentMessage(), QStringLiteral("Removed 3 typesetting by-products"));
}

TEST(GoToLineNumbers, AreReadTheLenientWay)
{
    const std::pair<const char *, int> cases[] = {{"12", 12}, {"  7x", 7}, {"abc", 0}, {"", 0}, {"-3", -3}, {"+5", 5}, {"4 2", 4},
                                                  {"99999999999", 2147483647}, {"-99999999999", -2147483647 - 1}};
    for (const auto &[typed, lineNumber] : cases)
        EXPECT_EQ(PLGoToLineWindowController::lineNumberFromString(QString::fromUtf8(typed)), lineNumber) << typed;
}

const QString latin1Text = QStringLiteral("\\section{Café}\nÀ bientôt, Jürgen.\n");

QStringList outlineNames(const PLFile &file)
{
    QStringList names;
    for (const auto &child : file.outlineRootNode()->children())
        names << child->name();
    return names;
}

// A project whose main file is Latin 1, opened with the settings' UTF-8 and shown in a window.
class ErrorReadingFileNotice : public PLTest::ProjectWindowTest
{
protected:
    void SetUp() override
    {
        ProjectWindowTest::SetUp();
        mainPath = project.path(QStringLiteral("main.tex"));
        PLTest::writeFile(mainPath, latin1Text.toLatin1());
        openWindow(mainPath);
    }
    PLErrorReadingFileContentViewController *notice(int index = 0) const
    {
        return pane(index)->errorReadingFileContentViewController();
    }
    bool noticeShown(int index = 0) const { return notice(index)->view()->isVisible(); }
    void reOpenAs(const QString &encodingName, int index = 0)
    {
        PLErrorReadingFileContentViewController *shown = notice(index);
        QTest::mouseClick(shown->moreInfoButton(), Qt::LeftButton);
        ASSERT_TRUE(shown->attachedWindow() && shown->attachedWindow()->isVisible());
        shown->encodingComboBox()->setCurrentIndex(shown->encodingComboBox()->findText(encodingName));
        shown->reOpenButton()->click();
    }
    QString mainPath;
};

TEST_F(ErrorReadingFileNotice, ReOpeningAsLatin1FixesTheTextInEveryPaneAndRemovesTheNotice)
{
    ASSERT_TRUE(noticeShown());
    const QString message = notice()->messageLabel()->text();
    EXPECT_TRUE(message.contains(QStringLiteral("not valid UTF-8")) && message.contains(QStringLiteral("Mac OS Roman")))
        << message.toStdString();
    editor->splitViewContentControllerShouldSplit(pane(0));
    ASSERT_EQ(editor->splitViewCount(), 2);
    EXPECT_TRUE(noticeShown(1));
    EXPECT_FALSE(outlineNames(*document->mainFile()).contains(QStringLiteral("Café")));
    reOpenAs(QStringLiteral("Latin 1"));
    EXPECT_EQ(document->mainFile()->encoding(), PLStringEncodings::ISOLatin1);
    for (int index : {0, 1}) {
        EXPECT_FALSE(noticeShown(index)) << index;
        EXPECT_EQ(textView(index)->toPlainText(), latin1Text) << index;
    }
    EXPECT_EQ(notice()->attachedWindow(), nullptr);
    EXPECT_TRUE(outlineNames(*document->mainFile()).contains(QStringLiteral("Café")));
}

// A file that still fails keeps the notice and closes the popup. Re-opening an edited file asks
// first, and Cancel keeps the edits.
TEST_F(ErrorReadingFileNotice, AFailedOrCancelledReOpenKeepsTheNoticeAndTheText)
{
    reOpenAs(QStringLiteral("UTF8"));
    EXPECT_TRUE(noticeShown());
    EXPECT_EQ(notice()->attachedWindow(), nullptr);
    EXPECT_FALSE(notice()->moreInfoButton()->isChecked());
    EXPECT_FALSE(document->mainFile()->wasContentReadProperly());
    textView(0)->insertText(QStringLiteral("typed "), PLRange{0, 0});
    const QString edited = textView(0)->contentBuffer()->string();
    PLTest::answerNextMessageBox(QMessageBox::Cancel);
    reOpenAs(QStringLiteral("Latin 1"));
    EXPECT_EQ(textView(0)->contentBuffer()->string(), edited);
    EXPECT_TRUE(noticeShown());
}

class Sidebar : public PLTest::ProjectWindowTest
{
protected:
    // Writes the files, name then text, and opens the project of the first.
    void open(std::initializer_list<std::pair<const char *, const char *>> files)
    {
        for (const auto &[name, text] : files)
            project.write(QString::fromLatin1(name), QString::fromLatin1(text));
        openWindow(project.path(QString::fromLatin1(files.begin()->first)), QSize(1100, 700), false);
        sidebar = windowController->splitViewController()->sideBarViewController();
    }
    PLDocumentOutlineItemModel *model() const { return sidebar->dataSource(); }
    // The rows joined by "|", each indented by depth, with "+" for an expanded row that has children.
    QString rows(const QModelIndex &parent = QModelIndex(), int depth = 0) const
    {
        QStringList lines;
        for (int row = 0; row < model()->rowCount(parent); ++row) {
            const QModelIndex index = model()->index(row, 0, parent);
            const bool open = model()->rowCount(index) > 0 && sidebar->sidebar()->isExpanded(index);
            lines << QString(depth * 2, u' ') + (open ? QStringLiteral("+") : QString()) + index.data().toString();
            if (model()->rowCount(index) > 0)
                lines << rows(index, depth + 1);
        }
        return lines.join(u'|');
    }
    QModelIndex find(const QString &title) const
    {
        return model()->match(model()->index(0, 0), Qt::DisplayRole, title, 1, Qt::MatchExactly | Qt::MatchRecursive).value(0);
    }
    void click(const QString &title)
    {
        PLDocumentOutlineView *view = sidebar->sidebar();
        const QModelIndex index = find(title);
        ASSERT_TRUE(index.isValid()) << title.toStdString();
        view->scrollTo(index);
        QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, view->visualRect(index).center());
    }
    PLSideBarViewController *sidebar = nullptr;
};

// A section whose bibliography has more files than it has children: asking for the last rows used
// to throw out of the model and abort the application.
TEST_F(Sidebar, ShowsHeadingsIncludedFilesAndOneRowPerBibliographyFile)
{
    for (const char *name : {"b.bib", "c.bib", "d.bib", "e.bib"})
        project.write(QString::fromLatin1(name), QString());
    open({{"main.tex",
           "\\part{One}\n\\chapter[Short]{$Intro$\\label{i}}\n\\input{intro}\n\\section{Local}\ntext\n"
           "\\bibliography{a,b,c,d}\n"},
          {"intro.tex", "\\section{Motivation}\nWhy.\n"},
          {"a.bib", "@book{a,}\n"}});
    const QString shown = QStringLiteral("+main.tex|  +One|    +Intro|      +intro.tex|        Motivation|      +Local|        a.bib|"
                                         "        b.bib|        c.bib|        d.bib");
    EXPECT_EQ(rows(), shown);
    PLTextContentBuffer *buffer = document->mainFile()->contentBuffer();
    buffer->replaceCharactersInRange(PLRange{buffer->string().lastIndexOf(u'}'), 0}, QStringLiteral(",e"));
    EXPECT_EQ(rows(), shown + QStringLiteral("|        e.bib"));
}

TEST_F(Sidebar, AnIncludeThatIsNoRegularFileShowsGreyedWithTheReason)
{
    ASSERT_EQ(mkfifo(QFile::encodeName(project.path(QStringLiteral("pipe.tex"))).constData(), 0600), 0);
    open({{"main.tex", "\\input{pipe}\n\\input{fine}\n"}, {"fine.tex", "\\section{Fine}\n"}});
    const QModelIndex pipe = find(QStringLiteral("pipe.tex"));
    ASSERT_TRUE(pipe.isValid());
    EXPECT_TRUE(pipe.data(Qt::ToolTipRole).toString().contains(QStringLiteral("not a regular file")));
    EXPECT_TRUE(pipe.data(Qt::ForegroundRole).isValid());
    const QModelIndex fine = find(QStringLiteral("fine.tex"));
    EXPECT_EQ(fine.data(Qt::ToolTipRole).toString(), project.path(QStringLiteral("fine.tex")));
    EXPECT_FALSE(fine.data(Qt::ForegroundRole).isValid());
}

TEST_F(Sidebar, EditsUpdateTheirFileAndLeaveCollapsedRowsElsewhereAlone)
{
    open({{"main.tex", "\\section{Local}\n\\subsection{Deep}\n\\input{intro}\n"}, {"intro.tex", "\\section{Motivation}\nWhy.\n"}});
    const auto intro = document->mainFile()->filesInDocument().constFirst();
    sidebar->sidebar()->collapse(find(QStringLiteral("Deep")));
    PLTextContentBuffer *buffer = intro->contentBuffer();
    buffer->replaceCharactersInRange(PLRange{buffer->string().size(), 0}, QStringLiteral("\\section{Added}\nMore.\n"));
    EXPECT_EQ(rows(), QStringLiteral("+main.tex|  +Local|    Deep|      +intro.tex|        Motivation|        Added"));
    // Typing in the text under a heading leaves every row as it was, so no row is repainted.
    QSignalSpy changed(model(), &QAbstractItemModel::dataChanged);
    QSignalSpy inserted(model(), &QAbstractItemModel::rowsInserted);
    buffer->replaceCharactersInRange(PLRange{buffer->string().indexOf(QStringLiteral("Why")), 0}, QStringLiteral("So "));
    EXPECT_EQ(changed.count() + inserted.count(), 0);
    buffer->replaceCharactersInRange(PLRange{9, 10}, QStringLiteral("Aims"));
    EXPECT_TRUE(find(QStringLiteral("Aims")).isValid());
    EXPECT_FALSE(find(QStringLiteral("Motivation")).isValid());
    EXPECT_FALSE(sidebar->sidebar()->isExpanded(find(QStringLiteral("Deep"))));
}

// Deleting from inside an include across the line end leaves the include in the outline until
// typing pauses; then the outline is the text's and the file leaves the project.
TEST_F(Sidebar, ShowsTheSettledOutlineOnceTypingPauses)
{
    open({{"main.tex", "\\section{S}\nx\n\\input{intro}\ny\n"}, {"intro.tex", "\\section{Motivation}\n"}});
    document->mainFile()->contentBuffer()->replaceCharactersInRange(PLRange{15, 14}, QString());
    EXPECT_TRUE(find(QStringLiteral("intro.tex")).isValid());
    ASSERT_TRUE(QTest::qWaitFor([&] { return rows() == QStringLiteral("+main.tex|  S"); })) << rows().toStdString();
    EXPECT_TRUE(document->mainFile()->filesInDocument().isEmpty());
}

// Qt's model checks report through warnings of their own category; each one fails the test.
void failOnModelCheckWarning(QtMsgType, const QMessageLogContext &context, const QString &message)
{
    if (context.category && qstrcmp(context.category, "qt.modeltest") == 0)
        ADD_FAILURE() << message.toStdString();
}

TEST_F(Sidebar, TheModelKeepsQtsContractThroughEditsReloadAndSaveAs)
{
    open({{"main.tex", "\\chapter{A}\n\\section{Local}\n\\input{intro}\n\\bibliography{a}\n"},
          {"intro.tex", "\\section{Motivation}\n\\subsection{Why}\n"}, {"other.tex", "\\section{Other}\n"}, {"a.bib", "@book{a,}\n"}});
    const QtMessageHandler previous = qInstallMessageHandler(failOnModelCheckWarning);
    // The tester lives as long as the model it watches: save-as replaces the model.
    const auto watch = [this] { new QAbstractItemModelTester(model(), QAbstractItemModelTester::FailureReportingMode::Warning, model()); };
    watch();
    PLTextContentBuffer *main = document->mainFile()->contentBuffer();
    const auto intro = document->mainFile()->filesInDocument().constFirst();
    const auto append = [](PLTextContentBuffer *buffer, const QString &text) {
        buffer->replaceCharactersInRange(PLRange{buffer->length(), 0}, text);
    };
    append(main, QStringLiteral("\\section{Late}\n\\input{other}\n"));
    main->replaceCharactersInRange(PLRange{0, 13}, QString());
    append(intro->contentBuffer(), QStringLiteral("\\section{More}\n"));
    intro->contentBuffer()->replaceCharactersInRange(PLRange{0, 20}, QString());
    main->replaceCharactersInRange(PLRange{main->string().indexOf(QStringLiteral("\\input{other}")), 14}, QString());
    main->undoManager()->undo();
    main->undoManager()->undo();
    // The outline may settle after a pause in typing; the tester watches whatever comes.
    const auto shows = [this](const QString &title) { return QTest::qWaitFor([&] { return find(title).isValid(); }); };
    EXPECT_TRUE(shows(QStringLiteral("More")));
    ASSERT_TRUE(intro->save());
    project.write(QStringLiteral("intro.tex"), QStringLiteral("\\section{Reloaded}\n\\input{other}\n"));
    ASSERT_TRUE(intro->reloadContent());
    EXPECT_TRUE(shows(QStringLiteral("Reloaded")));
    ASSERT_TRUE(document->saveDocumentAs(project.path(QStringLiteral("renamed.tex"))));
    EXPECT_TRUE(find(QStringLiteral("renamed.tex")).isValid());
    watch();
    append(document->mainFile()->contentBuffer(), QStringLiteral("\\chapter{After}\n"));
    EXPECT_TRUE(shows(QStringLiteral("After")));
    qInstallMessageHandler(previous);
}

TEST_F(Sidebar, AClickShowsTheNodeInTheFocusedPane)
{
    open({{"main.tex", "Preamble.\n\\section{Local}\nText.\n\\input{intro}\n"},
          {"intro.tex", "Opening words.\n\\section{Motivation}\nWhy.\n"}});
    click(QStringLiteral("Motivation"));
    ASSERT_EQ(pane()->file()->name(), QStringLiteral("intro.tex"));
    EXPECT_EQ(textView()->selectedRange(), (PLRange{15, 0}));
    click(QStringLiteral("Local"));
    EXPECT_EQ(pane()->file(), document->mainFile());
    EXPECT_EQ(textView()->selectedRange(), (PLRange{10, 0}));
    // Clicking the selected row again goes back to the heading after the caret moved.
    textView()->setSelectedRange(PLRange{0, 0});
    click(QStringLiteral("Local"));
    EXPECT_EQ(textView()->selectedRange(), (PLRange{10, 0}));
}

}
