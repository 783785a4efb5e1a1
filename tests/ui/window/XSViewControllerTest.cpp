#include "ui/window/PLResponderChain.h"
#include "ui/window/XSViewController.h"
#include "ui/window/XSWindowController.h"

#include <QAction>
#include <QLineEdit>
#include <QVBoxLayout>
#include <QWidget>

#include <gtest/gtest.h>

namespace {

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

}
