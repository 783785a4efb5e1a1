#include "PLEditorTestSupport.h"

#include <QToolTip>

namespace {

using PLTest::EditorTest;

// Typed text, the text it makes of "ab" typed at 1, and where the caret lands.
using TextViewPairs = PLTest::EditorTestWithParam<std::tuple<const char *, const char *, qsizetype>>;

TEST_P(TextViewPairs, TheCaretLandsInsideThePairAndTheNextArrowMovesNormally)
{
    const auto [typed, text, caret] = GetParam();
    PLTextView *view = showText(QStringLiteral("ab"));
    view->setSelectedRange(PLRange{1, 0});
    QTest::keyClicks(view, QString::fromLatin1(typed));
    EXPECT_EQ(view->contentBuffer()->string(), QString::fromLatin1(text));
    EXPECT_EQ(view->selectedRange(), (PLRange{caret, 0}));
    EXPECT_EQ(view->file()->selectedRange(), view->selectedRange());
    QTest::keyClick(view, Qt::Key_Right);
    EXPECT_EQ(view->selectedRange(), (PLRange{caret + 1, 0}));
}

INSTANTIATE_TEST_SUITE_P(Typed, TextViewPairs,
                         ::testing::Values(std::tuple{"(", "a()b", 2}, std::tuple{"\"", "a``\"b", 3}, std::tuple{")", "a)b", 2}));

using TextViewFormatting = PLTest::EditorTestWithParam<std::pair<PLAction, const char *>>;

TEST_P(TextViewFormatting, WrapsTheSelectionOrPutsTheCaretBetweenEmptyBraces)
{
    PLTextView *view = showText(QStringLiteral("say word now"));
    const auto [action, name] = GetParam();
    const QString command = QString::fromLatin1(name);
    view->setSelectedRange(PLRange{4, 4});
    ASSERT_TRUE(PLResponderChain::sendAction(&window, action, nullptr));
    EXPECT_EQ(view->contentBuffer()->string(), QStringLiteral("say %1{word} now").arg(command));
    EXPECT_EQ(view->selectedRange(), (PLRange{4 + command.size() + 6, 0}));
    view->setSelectedRange(PLRange{0, 0});
    ASSERT_TRUE(PLResponderChain::sendAction(&window, action, nullptr));
    EXPECT_EQ(view->contentBuffer()->string(), QStringLiteral("%1{}say %1{word} now").arg(command));
    EXPECT_EQ(view->selectedRange(), (PLRange{command.size() + 1, 0}));
    // Typing goes between the braces; applying the command again nests it.
    QTest::keyClicks(view, QStringLiteral("x"));
    view->setSelectedRange(PLRange{command.size() + 1, 1});
    ASSERT_TRUE(PLResponderChain::sendAction(&window, action, nullptr));
    EXPECT_TRUE(view->contentBuffer()->string().startsWith(QStringLiteral("%1{%1{x}}").arg(command)));
}

INSTANTIATE_TEST_SUITE_P(Commands, TextViewFormatting,
                         ::testing::Values(std::pair{PLAction::ToggleBold, "\\textbf"}, std::pair{PLAction::ToggleItalic, "\\textit"},
                                           std::pair{PLAction::ToggleUnderline, "\\underline"}));

// A text, the selection and the text after the toggle.
using TextViewComments = PLTest::EditorTestWithParam<std::tuple<const char *, PLRange, const char *>>;

TEST_P(TextViewComments, EachLineTogglesByItselfAndOneUndoRevertsThemAll)
{
    const auto [text, selection, toggled] = GetParam();
    PLTextView *view = showText(QString::fromLatin1(text));
    view->setSelectedRange(selection);
    ASSERT_TRUE(PLResponderChain::sendAction(&window, PLAction::ToggleCommentOfCurrentLine, nullptr));
    EXPECT_EQ(view->contentBuffer()->string(), QString::fromLatin1(toggled));
    view->contentBuffer()->undoManager()->undo();
    EXPECT_EQ(view->contentBuffer()->string(), QString::fromLatin1(text));
}

INSTANTIATE_TEST_SUITE_P(Lines, TextViewComments,
                         ::testing::Values(std::tuple{"first\n  %second\nthird\n", PLRange{2, 15}, "%first\n  second\n%third\n"},
                                           std::tuple{"%%x", PLRange{1, 0}, "%x"}, std::tuple{"a\n\nb", PLRange{2, 0}, "a\n%\nb"},
                                           std::tuple{"a\n", PLRange{2, 0}, "a\n%"}, std::tuple{"\t\\item x", PLRange{3, 0}, "%\t\\item x"},
                                           std::tuple{"a\nb\nc", PLRange{0, 2}, "%a\nb\nc"},
                                           std::tuple{"a\r\n%b\r\nc", PLRange{0, 8}, "%a\r\nb\r\n%c"}));

// A text, the selection, the key, the text after it and the selection after it.
using TextViewIndent = PLTest::EditorTestWithParam<std::tuple<const char *, PLRange, Qt::Key, const char *, PLRange>>;

TEST_P(TextViewIndent, TabAndShiftTabShiftTheSelectedLinesInOneUndoStep)
{
    const auto [before, selection, key, after, selectionAfter] = GetParam();
    const QString text = QString::fromLatin1(before);
    PLTextView *view = showText(text);
    view->setSelectedRange(selection);
    QTest::keyClick(view, key, key == Qt::Key_Backtab ? Qt::ShiftModifier : Qt::NoModifier);
    EXPECT_EQ(view->contentBuffer()->string(), QString::fromLatin1(after));
    EXPECT_EQ(view->selectedRange(), selectionAfter);
    // A key that changed nothing leaves no empty step to undo.
    PLUndoManager *history = view->contentBuffer()->undoManager();
    EXPECT_EQ(history->count(), text == QString::fromLatin1(after) ? 0 : 1);
    history->undo();
    EXPECT_EQ(view->contentBuffer()->string(), text);
}

INSTANTIATE_TEST_SUITE_P(
    Selections, TextViewIndent,
    ::testing::Values(std::tuple{"a\nb\nc", PLRange{0, 3}, Qt::Key_Tab, "\ta\n\tb\nc", PLRange{0, 5}},
                      std::tuple{"ab\ncd", PLRange{1, 3}, Qt::Key_Tab, "\tab\n\tcd", PLRange{2, 4}},
                      std::tuple{"a\nb\nc", PLRange{0, 4}, Qt::Key_Tab, "\ta\n\tb\nc", PLRange{0, 6}},
                      std::tuple{"a\n\nb", PLRange{0, 4}, Qt::Key_Tab, "\ta\n\n\tb", PLRange{0, 6}},
                      std::tuple{"a\r\nb\r\nc", PLRange{0, 4}, Qt::Key_Tab, "\ta\r\n\tb\r\nc", PLRange{0, 6}},
                      std::tuple{"ab\nc", PLRange{0, 1}, Qt::Key_Tab, "\tb\nc", PLRange{1, 0}},
                      std::tuple{"\t\ta\n      b\nc", PLRange{2, 9}, Qt::Key_Backtab, "\ta\n  b\nc", PLRange{1, 5}},
                      std::tuple{"x\n\ty", PLRange{3, 0}, Qt::Key_Backtab, "x\ny", PLRange{2, 0}},
                      std::tuple{"a\nb", PLRange{0, 3}, Qt::Key_Backtab, "a\nb", PLRange{0, 3}}));

TEST_F(EditorTest, TogglingKeepsTheSelectionOnTheSameLinesSoItCanBeUndoneByTogglingAgain)
{
    PLTextView *view = showText(QStringLiteral("one\ntwo\nthree"));
    view->setSelectedRange(PLRange{0, 7});
    view->toggleCommentOfCurrentLine();
    EXPECT_EQ(view->contentBuffer()->string(), QStringLiteral("%one\n%two\nthree"));
    EXPECT_EQ(view->selectedRange(), (PLRange{0, 9}));
    view->toggleCommentOfCurrentLine();
    EXPECT_EQ(view->contentBuffer()->string(), QStringLiteral("one\ntwo\nthree"));
    // A caret at the start of a line stays with its text.
    view->setSelectedRange(PLRange{4, 0});
    view->toggleCommentOfCurrentLine();
    EXPECT_EQ(view->selectedRange(), (PLRange{5, 0}));
}

TEST_F(EditorTest, HistoryAndPaneKeysAreTakenWithoutMovingTheCaret)
{
    PLTextView *view = showText(QStringLiteral("abcdef"));
    view->setSelectedRange(PLRange{3, 0});
    for (const Qt::KeyboardModifiers modifiers :
         {Qt::ControlModifier | Qt::AltModifier, Qt::ControlModifier | Qt::AltModifier | Qt::ShiftModifier, Qt::MetaModifier | Qt::AltModifier}) {
        QTest::keyClick(view, Qt::Key_Left, modifiers);
        QTest::keyClick(view, Qt::Key_Right, modifiers);
        EXPECT_EQ(view->selectedRange(), (PLRange{3, 0})) << int(modifiers);
    }
    QTest::keyClick(view, Qt::Key_Left);
    EXPECT_EQ(view->selectedRange(), (PLRange{2, 0}));
    QTest::keyClick(view, Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_EQ(view->selectedRange(), (PLRange{2, 1}));
    EXPECT_EQ(view->contentBuffer()->string(), QStringLiteral("abcdef"));
}

TEST_F(EditorTest, TheIncludeArgumentTooltipNamesTheFileAtTheSelection)
{
    write(QStringLiteral("intro.tex"), QStringLiteral("Hello."));
    const QString text = QStringLiteral("Before.\n\\input{intro}\nAfter.\n");
    PLTextView *view = showText(text);
    const qsizetype argument = text.indexOf(QStringLiteral("intro"));
    PLTextViewDelegate *delegate = view->delegate();
    view->setSelectedRange(PLRange{0, 0});
    EXPECT_EQ(delegate->textViewWillDisplayToolTip(view, argument + 3), QString());
    view->setSelectedRange(PLRange{argument + 1, 0});
    EXPECT_EQ(delegate->textViewWillDisplayToolTip(view, argument + 3), QStringLiteral("Jump to intro.tex"));
    const auto hover = [&](qsizetype location) {
        QTextCursor cursor(view->document());
        cursor.setPosition(int(location));
        const QPoint point = view->cursorRect(cursor).center() + QPoint(2, 0);
        QHelpEvent help(QEvent::ToolTip, point, view->viewport()->mapToGlobal(point));
        QApplication::sendEvent(view->viewport(), &help);
    };
    // Plain text carries no link, so it has no tooltip; the include argument does.
    hover(2);
    EXPECT_FALSE(QToolTip::isVisible());
    hover(argument + 2);
    EXPECT_TRUE(QToolTip::isVisible());
    EXPECT_EQ(QToolTip::text(), QStringLiteral("Jump to intro.tex"));
    // A click on the link places the caret like anywhere else.
    QTextCursor cursor(view->document());
    cursor.setPosition(int(argument + 2));
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, view->cursorRect(cursor).center());
    EXPECT_EQ(view->selectedRange(), (PLRange{argument + 2, 0}));
}

}
