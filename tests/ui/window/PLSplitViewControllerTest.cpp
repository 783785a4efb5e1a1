#include "ui/typesetting/PLNoPDFFoundView.h"
#include "ui/window/PLSplitView.h"
#include "ui/window/PLTitleBarButton.h"
#include "PLUiTestSupport.h"

#include <QAction>
#include <QLabel>
#include <QSplitter>

namespace {

class SplitPanes : public PLTest::ProjectWindowTest
{
protected:
    void open() { openWindow(project.write(QStringLiteral("main.tex"), QStringLiteral("\\section{One}\nText.\n")), QSize(1200, 700), false); }
    static QList<QVariantMap> storedLayout() { return PLUserDefaults::standardUserDefaults().arrayForKey(PLUserDefaultsSplitViewSetup); }
    bool send(PLAction action, QAction *item = nullptr) { return PLResponderChain::sendAction(window, action, item); }
};

TEST_F(SplitPanes, SplittingHalvesAPaneAndClosingFocusesTheOneThatTakesItsPlace)
{
    open();
    ASSERT_EQ(editor->splitViewCount(), 1);
    EXPECT_FALSE(pane(0)->isPdfToggled());
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
    EXPECT_TRUE(send(PLAction::NavigateToSplitViewMenuItemPressed, right));
    EXPECT_EQ(editor->selectedSplitViewController(), pane(0));
    EXPECT_TRUE(send(PLAction::NavigateToSplitViewMenuItemPressed, left));
    EXPECT_EQ(editor->selectedSplitViewController(), pane(2));
    EXPECT_TRUE(send(PLAction::NavigateToSplitViewMenuItemPressed, left));
    EXPECT_EQ(editor->selectedSplitViewController(), pane(1));
    for (int index = 0; index < 3; ++index)
        EXPECT_EQ(pane(index)->titleTextField()->font().bold(), index == 1) << "pane " << index;
    // Pane commands reach the focused pane first.
    EXPECT_TRUE(send(PLAction::ToggleDocumentPDF));
    EXPECT_TRUE(pane(1)->isPdfToggled());
    EXPECT_FALSE(pane(0)->isPdfToggled());
}

TEST_F(SplitPanes, SplittingWithAltAndShiftShowsThePDFPlaceholderInTheNewPane)
{
    open();
    pane(0)->splitView(Qt::AltModifier | Qt::ShiftModifier);
    ASSERT_EQ(editor->splitViewCount(), 2);
    EXPECT_FALSE(pane(0)->isPdfToggled());
    EXPECT_TRUE(pane(1)->isPdfToggled());
    ASSERT_NE(pane(1)->noPDFFoundView(), nullptr);
    EXPECT_TRUE(pane(1)->noPDFFoundView()->isVisibleTo(window));
    EXPECT_EQ(storedLayout().at(1).value(PLSplitViewSetupContentType).toInt(), 1);
    pane(1)->toggleDocumentPDF();
    EXPECT_EQ(storedLayout().at(1).value(PLSplitViewSetupContentType).toInt(), 0);
}

TEST_F(SplitPanes, AStoredLayoutReopensWithItsPanesAndWidths)
{
    QVariantMap text{{PLSplitViewSetupContentType, 0}, {PLSplitViewSetupContentPercentageWidth, 70.0}};
    QVariantMap pdf{{PLSplitViewSetupContentType, 1}, {PLSplitViewSetupContentPercentageWidth, 30.0}};
    PLUserDefaults::standardUserDefaults().setArray({text, pdf}, PLUserDefaultsSplitViewSetup);
    open();
    ASSERT_EQ(editor->splitViewCount(), 2);
    EXPECT_FALSE(pane(0)->isPdfToggled());
    EXPECT_TRUE(pane(1)->isPdfToggled());
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

}
