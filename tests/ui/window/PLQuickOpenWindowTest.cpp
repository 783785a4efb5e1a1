#include "ui/window/PLQuickOpenWindowController.h"
#include "PLUiTestSupport.h"

#include <QTableWidget>

namespace {

// A project whose chapter is included twice; quick open driven with the keyboard.
class QuickOpen : public PLTest::ProjectWindowTest
{
protected:
    void SetUp() override
    {
        ProjectWindowTest::SetUp();
        const QString path = project.write(QStringLiteral("main.tex"), QStringLiteral("\\section{second try}\nText.\n"
                                                                                      "\\input{chapter}\n\\input{chapter}\n"
                                                                                      "\\subsection{Sections}\n"));
        project.write(QStringLiteral("chapter.tex"), QStringLiteral("Intro.\n\\section{Shared SEC}\nBody.\n"));
        openWindow(path);
    }
    PLQuickOpenWindowController *quickOpen() { return windowController->quickOpenWindowController(); }
    QStringList rows()
    {
        QStringList names;
        for (int row = 0; row < quickOpen()->searchResults()->rowCount(); ++row)
            names << quickOpen()->searchResults()->item(row, 0)->text();
        return names;
    }
    void openAndType(const QString &text)
    {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_O, Qt::ControlModifier | Qt::ShiftModifier);
        ASSERT_TRUE(quickOpen()->isShown());
        ASSERT_TRUE(QTest::qWaitForWindowActive(quickOpen()->window()));
        ASSERT_EQ(QApplication::focusWidget(), quickOpen()->quickOpenTextField());
        QTest::keyClicks(quickOpen()->quickOpenTextField(), text);
    }
    static void press(int key) { QTest::keyClick(QApplication::focusWidget(), Qt::Key(key)); }
};

TEST_F(QuickOpen, ArrowsMoveTheChoiceAndReturnWithoutOneKeepsTheWindow)
{
    openAndType(QStringLiteral("sec"));
    press(Qt::Key_Return);
    EXPECT_TRUE(quickOpen()->isShown());
    EXPECT_TRUE(quickOpen()->window()->isVisible());
    const std::pair<int, int> steps[] = {{Qt::Key_Down, 0}, {Qt::Key_Down, 1}, {Qt::Key_Down, 2}, {Qt::Key_Down, 2},
                                         {Qt::Key_Up, 1},   {Qt::Key_Up, 0},   {Qt::Key_Up, 0}};
    for (const auto &[key, row] : steps) {
        press(key);
        EXPECT_EQ(quickOpen()->searchResults()->currentRow(), row);
        EXPECT_EQ(QApplication::focusWidget(), quickOpen()->quickOpenTextField());
    }
    EXPECT_EQ(quickOpen()->quickOpenTextField()->cursorPosition(), 3);
    // Going back to the project window closes it.
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !quickOpen()->isShown(); }));
    EXPECT_FALSE(quickOpen()->window()->isVisible());
}

TEST_F(QuickOpen, ReturnShowsTheChosenHeadingInTheFocusedPane)
{
    openAndType(QStringLiteral("shared"));
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_FALSE(quickOpen()->isShown());
    EXPECT_FALSE(quickOpen()->window()->isVisible());
    EXPECT_TRUE(QTest::qWaitForWindowActive(window));
    ASSERT_TRUE(pane()->file());
    EXPECT_EQ(pane()->file()->name(), QStringLiteral("chapter.tex"));
    EXPECT_EQ(textView()->selectedRange(), (PLRange{7, 0}));
}

TEST_F(QuickOpen, TypingListsMatchesOnceEachCapitalsFirstAndReopeningSearchesAgain)
{
    openAndType(QStringLiteral("shared"));
    EXPECT_EQ(rows(), QStringList{QStringLiteral("Shared SEC")});
    quickOpen()->quickOpenTextField()->selectAll();
    QTest::keyClicks(quickOpen()->quickOpenTextField(), QStringLiteral("sec"));
    // The twice-included chapter's heading is listed once.
    EXPECT_EQ(rows(), (QStringList{QStringLiteral("Sections"), QStringLiteral("Shared SEC"), QStringLiteral("second try")}));
    press(Qt::Key_Escape);
    EXPECT_FALSE(quickOpen()->window()->isVisible());
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    // A heading added while the window was closed is in the fresh results.
    textView()->insertText(QStringLiteral("\\section{Another sec}\n"), PLRange{0, 0});
    pane()->makeKey();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_O, Qt::ControlModifier | Qt::ShiftModifier);
    ASSERT_TRUE(quickOpen()->isShown());
    EXPECT_EQ(quickOpen()->quickOpenTextField()->text(), QStringLiteral("sec"));
    EXPECT_EQ(rows(), (QStringList{QStringLiteral("Another sec"), QStringLiteral("Sections"), QStringLiteral("Shared SEC"),
                                   QStringLiteral("second try")}));
}

}
