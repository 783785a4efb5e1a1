#include "ui/editor/PLFindAndReplaceViewController.h"
#include "ui/editor/PLFindAndReplaceViews.h"
#include "ui/editor/PLFindIndicator.h"
#include "PLUiTestSupport.h"
#include "ui/window/PLQuickOpenWindowController.h"

#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>
#include <QTableWidget>

namespace {

// "alpha" stands at 0, 11 and 23 in three letter cases.
const QString mainText = QStringLiteral("Alpha beta ALPHA gamma alpha\n");

// A project window with the main file's text focused; the find bar driven with the keyboard.
class FindBar : public PLTest::ProjectWindowTest
{
protected:
    void SetUp() override
    {
        ProjectWindowTest::SetUp();
        openWindow(project.write(QStringLiteral("main.tex"), mainText), QSize(900, 400));
        bar = mainArea()->findAndReplaceViewController();
    }
    QString text() const { return textView()->contentBuffer()->string(); }
    // Keys go where the focus is, as they would from the keyboard.
    static void press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key(key), modifiers);
    }
    void openBarWithString(const QString &string)
    {
        press(Qt::Key_F, Qt::ControlModifier);
        ASSERT_TRUE(bar->isShown());
        QTest::keyClicks(bar->findTextField(), string);
    }
    PLFindAndReplaceViewController *bar = nullptr;
};

TEST_F(FindBar, CtrlFShowsTheBarWithTheFocusInTheFindFieldAndEscapeHidesIt)
{
    EXPECT_FALSE(bar->isShown());
    press(Qt::Key_F, Qt::ControlModifier);
    EXPECT_TRUE(bar->isShown());
    EXPECT_EQ(QApplication::focusWidget(), bar->findTextField());
    for (QLineEdit *field : {bar->findTextField(), bar->replaceTextField()}) {
        press(Qt::Key_F, Qt::ControlModifier);
        field->setFocus();
        press(Qt::Key_Escape);
        EXPECT_FALSE(bar->isShown()) << field->objectName().toStdString();
        EXPECT_EQ(QApplication::focusWidget(), textView());
    }
    // The find buttons keep to the bar's right edge as the window resizes; the close button hides
    // the bar.
    press(Qt::Key_F, Qt::ControlModifier);
    window->resize(1200, 400);
    WAIT_UNTIL(bar->view()->width() == bar->view()->parentWidget()->width());
    QCoreApplication::processEvents();
    EXPECT_EQ(bar->findNextButton()->geometry().right(), bar->view()->width() - 1 - 5);
    EXPECT_EQ(bar->findPreviousButton()->geometry().right(), bar->findNextButton()->geometry().left());
    bar->closeButton()->click();
    EXPECT_FALSE(bar->isShown());
}

// Both option menus only name what every search does: choosing any item leaves the search
// ignoring case over the whole file. A right click on the options button opens the settings menu.
TEST_F(FindBar, OptionMenusChangeNothingAndOpenOnARightClick)
{
    QMenu *settings = bar->searchOptionsMenu();
    textView()->setSelectedRange(PLRange{12, 0});
    openBarWithString(QStringLiteral("ALPHA"));
    for (const QMenu *menu : {bar->searchOptionsButton()->menu(), settings, settings->actions().last()->menu()}) {
        for (QAction *item : menu->actions()) {
            if (!item->isSeparator() && !item->menu())
                item->trigger();
        }
    }
    press(Qt::Key_Return);
    EXPECT_EQ(textView()->selectedRange(), (PLRange{23, 5}));
    const QPoint inside(2, 2);
    QContextMenuEvent rightClick(QContextMenuEvent::Mouse, inside, bar->searchOptionsButton()->mapToGlobal(inside));
    QApplication::sendEvent(bar->searchOptionsButton(), &rightClick);
    WAIT_UNTIL(settings->isVisible());
    settings->hide();
}

// One press after another from the caret at 3: each row's hit is where the next search starts.
TEST_F(FindBar, FindKeysWalkTheHitsBothWaysAndWrapAround)
{
    textView()->setSelectedRange(PLRange{3, 0});
    openBarWithString(QStringLiteral("ALPHA"));
    const std::tuple<int, Qt::KeyboardModifiers, qsizetype> steps[] = {
        {Qt::Key_Return, Qt::NoModifier, 11}, {Qt::Key_G, Qt::ControlModifier, 23},
        {Qt::Key_F3, Qt::NoModifier, 0},      {Qt::Key_G, Qt::ControlModifier | Qt::ShiftModifier, 23},
        {Qt::Key_F3, Qt::ShiftModifier, 11},  {Qt::Key_F3, Qt::ShiftModifier, 0}};
    for (const auto &[key, modifiers, hit] : steps) {
        press(key, modifiers);
        EXPECT_EQ(textView()->selectedRange(), (PLRange{hit, 5})) << "key " << key;
        // The hit flashes where it stands on screen, one flash at a time.
        const auto flashes = textView()->viewport()->findChildren<PLFindIndicator *>();
        ASSERT_EQ(flashes.size(), 1);
        EXPECT_TRUE(flashes.first()->geometry().contains(textView()->cursorRect())) << "key " << key;
    }
    // The buttons search the same way.
    bar->findNextButton()->click();
    EXPECT_EQ(textView()->selectedRange(), (PLRange{11, 5}));
    bar->findPreviousButton()->click();
    EXPECT_EQ(textView()->selectedRange(), (PLRange{0, 5}));
}

TEST_F(FindBar, UseSelectionFillsTheFieldAndNothingChangesWithoutAHitOrWhileHidden)
{
    textView()->setSelectedRange(PLRange{6, 4});
    press(Qt::Key_E, Qt::ControlModifier);
    EXPECT_TRUE(bar->isShown());
    EXPECT_EQ(bar->findTextField()->text(), QStringLiteral("beta"));
    EXPECT_EQ(QApplication::focusWidget(), bar->findTextField());
    press(Qt::Key_Escape);
    textView()->setSelectedRange(PLRange{6, 0});
    press(Qt::Key_E, Qt::ControlModifier);
    EXPECT_EQ(bar->findTextField()->text(), QString());
    textView()->setSelectedRange(PLRange{6, 2});
    QTest::keyClicks(bar->findTextField(), QStringLiteral("delta"));
    press(Qt::Key_Return);
    EXPECT_EQ(textView()->selectedRange(), (PLRange{6, 2}));
    bar->findTextField()->setText(QStringLiteral("alpha"));
    press(Qt::Key_Escape);
    press(Qt::Key_G, Qt::ControlModifier);
    EXPECT_EQ(textView()->selectedRange(), (PLRange{6, 2}));
    EXPECT_FALSE(bar->isShown());
}

// Whatever the held modifiers call it, the button replaces the selection once.
TEST_F(FindBar, EveryReplaceLabelReplacesOnlyTheSelection)
{
    const std::pair<Qt::KeyboardModifiers, const char *> variants[] = {
        {Qt::NoModifier, "replace"}, {Qt::AltModifier, "replace all"}, {Qt::AltModifier | Qt::ControlModifier, "replace + find"}};
    openBarWithString(QStringLiteral("alpha"));
    bar->replaceTextField()->setText(QStringLiteral("omega"));
    QLineEdit *field = bar->replaceTextField();
    for (const auto &[modifiers, title] : variants) {
        bar->findNextButton()->click();
        const PLRange hit = textView()->selectedRange();
        ASSERT_EQ(hit.length, 5);
        if (modifiers.testFlag(Qt::ControlModifier))
            QTest::keyPress(field, Qt::Key_Control, Qt::NoModifier);
        if (modifiers.testFlag(Qt::AltModifier))
            QTest::keyPress(field, Qt::Key_Alt, modifiers & Qt::ControlModifier);
        EXPECT_EQ(bar->replaceButton()->text(), QString::fromUtf8(title));
        const QString before = text();
        bar->replaceButton()->click();
        EXPECT_EQ(text(), QString(before).replace(hit.location, 5, QStringLiteral("omega"))) << title;
        QTest::keyRelease(field, Qt::Key_Alt, modifiers);
        QTest::keyRelease(field, Qt::Key_Control, modifiers & Qt::ControlModifier);
        EXPECT_EQ(bar->replaceButton()->text(), QStringLiteral("replace"));
    }
    EXPECT_EQ(text(), QStringLiteral("omega beta omega gamma omega\n"));
    // A replacement is typed text, undone in one step: the buffer pairs the bracket as it does for
    // a typed one.
    textView()->setSelectedRange(PLRange{6, 4});
    bar->replaceTextField()->setText(QStringLiteral("("));
    bar->replaceButton()->click();
    EXPECT_EQ(text(), QStringLiteral("omega () omega gamma omega\n"));
    textView()->contentBuffer()->undoManager()->undo();
    EXPECT_EQ(text(), QStringLiteral("omega beta omega gamma omega\n"));
}

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

TEST_F(QuickOpen, TypingListsMatchesOnceEachCapitalsFirstAndReturnShowsTheChosenOne)
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
    // Return shows the chosen heading, here the chapter's, in the focused pane.
    ASSERT_TRUE(QTest::qWaitForWindowActive(quickOpen()->window()));
    for (int row = 0; row < 3; ++row)
        press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_FALSE(quickOpen()->window()->isVisible());
    EXPECT_TRUE(QTest::qWaitForWindowActive(window));
    EXPECT_EQ(pane()->file()->name(), QStringLiteral("chapter.tex"));
    EXPECT_EQ(textView()->selectedRange(), (PLRange{7, 0}));
}

}
