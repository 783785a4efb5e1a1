#include "PLEditorTestSupport.h"

#include <QToolTip>

namespace {

using PLTest::EditorTest;

struct PairCase
{
    const char *name;
    QString typed;
    QString text;
    qsizetype caret;
};

using TextViewPairs = PLTest::EditorTestWithParam<PairCase>;

TEST_P(TextViewPairs, TheCaretLandsInsideThePairAndTheNextArrowMovesNormally)
{
    PLTextView *view = showText(QStringLiteral("ab"));
    view->setSelectedRange(PLRange{1, 0});

    QTest::keyClicks(view, GetParam().typed);
    EXPECT_EQ(view->contentBuffer()->string(), GetParam().text);
    EXPECT_EQ(view->selectedRange(), (PLRange{GetParam().caret, 0}));
    EXPECT_EQ(view->file()->selectedRange(), view->selectedRange());
    QTest::keyClick(view, Qt::Key_Right);
    EXPECT_EQ(view->selectedRange(), (PLRange{GetParam().caret + 1, 0}));
}

INSTANTIATE_TEST_SUITE_P(Typed, TextViewPairs,
                         ::testing::Values(PairCase{"parenthesis", QStringLiteral("("), QStringLiteral("a()b"), 2},
                                           PairCase{"quote", QStringLiteral("\""), QStringLiteral("a``\"b"), 3},
                                           PairCase{"closingIsNotPaired", QStringLiteral(")"), QStringLiteral("a)b"), 2}),
                         [](const auto &info) { return std::string(info.param.name); });

struct FormatCase
{
    const char *name;
    PLAction action;
    QString command;
};

using TextViewFormatting = PLTest::EditorTestWithParam<FormatCase>;

TEST_P(TextViewFormatting, WrapsTheSelectionOrPutsTheCaretBetweenEmptyBraces)
{
    PLTextView *view = showText(QStringLiteral("say word now"));
    const QString command = GetParam().command;

    view->setSelectedRange(PLRange{4, 4});
    ASSERT_TRUE(PLResponderChain::sendAction(&window, GetParam().action, nullptr));
    EXPECT_EQ(view->contentBuffer()->string(), QStringLiteral("say %1{word} now").arg(command));
    EXPECT_EQ(view->selectedRange(), (PLRange{4 + command.size() + 6, 0}));

    view->setSelectedRange(PLRange{0, 0});
    ASSERT_TRUE(PLResponderChain::sendAction(&window, GetParam().action, nullptr));
    EXPECT_EQ(view->contentBuffer()->string(), QStringLiteral("%1{}say %1{word} now").arg(command));
    EXPECT_EQ(view->selectedRange(), (PLRange{command.size() + 1, 0}));
    // Typing goes between the braces; applying the command again nests it.
    QTest::keyClicks(view, QStringLiteral("x"));
    view->setSelectedRange(PLRange{command.size() + 1, 1});
    ASSERT_TRUE(PLResponderChain::sendAction(&window, GetParam().action, nullptr));
    EXPECT_TRUE(view->contentBuffer()->string().startsWith(QStringLiteral("%1{%1{x}}").arg(command)));
}

INSTANTIATE_TEST_SUITE_P(Commands, TextViewFormatting,
                         ::testing::Values(FormatCase{"bold", PLAction::ToggleBold, QStringLiteral("\\textbf")},
                                           FormatCase{"italic", PLAction::ToggleItalic, QStringLiteral("\\textit")},
                                           FormatCase{"underline", PLAction::ToggleUnderline, QStringLiteral("\\underline")}),
                         [](const auto &info) { return std::string(info.param.name); });

struct CommentCase
{
    const char *name;
    QString text;
    PLRange selection;
    QString toggled;
};

using TextViewComments = PLTest::EditorTestWithParam<CommentCase>;

TEST_P(TextViewComments, EachLineTogglesByItselfAndOneUndoRevertsThemAll)
{
    PLTextView *view = showText(GetParam().text);
    view->setSelectedRange(GetParam().selection);

    ASSERT_TRUE(PLResponderChain::sendAction(&window, PLAction::ToggleCommentOfCurrentLine, nullptr));
    EXPECT_EQ(view->contentBuffer()->string(), GetParam().toggled);
    view->contentBuffer()->undoManager()->undo();
    EXPECT_EQ(view->contentBuffer()->string(), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, TextViewComments,
    ::testing::Values(
        CommentCase{"mixedSelection", QStringLiteral("first\n  %second\nthird\n"), PLRange{2, 15}, QStringLiteral("%first\n  second\n%third\n")},
        CommentCase{"onlyOnePercentGoes", QStringLiteral("%%x"), PLRange{1, 0}, QStringLiteral("%x")},
        CommentCase{"emptyLine", QStringLiteral("a\n\nb"), PLRange{2, 0}, QStringLiteral("a\n%\nb")},
        CommentCase{"emptyLastLine", QStringLiteral("a\n"), PLRange{2, 0}, QStringLiteral("a\n%")},
        CommentCase{"blankLineAtColumnZero", QStringLiteral("\t \n"), PLRange{1, 0}, QStringLiteral("%\t \n")},
        CommentCase{"indentedLineAtColumnZero", QStringLiteral("\t\\item x"), PLRange{3, 0}, QStringLiteral("%\t\\item x")},
        CommentCase{"selectionEndingAtALineStart", QStringLiteral("a\nb\nc"), PLRange{0, 2}, QStringLiteral("%a\nb\nc")},
        CommentCase{"windowsLineEnds", QStringLiteral("a\r\n%b\r\nc"), PLRange{0, 8}, QStringLiteral("%a\r\nb\r\n%c")}),
    [](const auto &info) { return std::string(info.param.name); });

struct IndentCase
{
    const char *name;
    QString text;
    PLRange selection;
    Qt::Key key;
    QString shifted;
    PLRange shiftedSelection;
};

using TextViewIndent = PLTest::EditorTestWithParam<IndentCase>;

TEST_P(TextViewIndent, TabAndShiftTabShiftTheSelectedLinesInOneUndoStep)
{
    const IndentCase &shift = GetParam();
    PLTextView *view = showText(shift.text);
    view->setSelectedRange(shift.selection);

    QTest::keyClick(view, shift.key, shift.key == Qt::Key_Backtab ? Qt::ShiftModifier : Qt::NoModifier);
    EXPECT_EQ(view->contentBuffer()->string(), shift.shifted);
    EXPECT_EQ(view->selectedRange(), shift.shiftedSelection);
    // A key that changed nothing leaves no empty step to undo.
    PLUndoManager *history = view->contentBuffer()->undoManager();
    EXPECT_EQ(history->count(), shift.shifted == shift.text ? 0 : 1);
    history->undo();
    EXPECT_EQ(view->contentBuffer()->string(), shift.text);
}

INSTANTIATE_TEST_SUITE_P(
    Selections, TextViewIndent,
    ::testing::Values(
        IndentCase{"twoLines", QStringLiteral("a\nb\nc"), PLRange{0, 3}, Qt::Key_Tab, QStringLiteral("\ta\n\tb\nc"), PLRange{0, 5}},
        IndentCase{"partOfTwoLines", QStringLiteral("ab\ncd"), PLRange{1, 3}, Qt::Key_Tab, QStringLiteral("\tab\n\tcd"), PLRange{2, 4}},
        IndentCase{"endAtALineStartLeavesThatLine", QStringLiteral("a\nb\nc"), PLRange{0, 4}, Qt::Key_Tab,
                   QStringLiteral("\ta\n\tb\nc"), PLRange{0, 6}},
        IndentCase{"emptyLinesStayEmpty", QStringLiteral("a\n\nb"), PLRange{0, 4}, Qt::Key_Tab, QStringLiteral("\ta\n\n\tb"), PLRange{0, 6}},
        IndentCase{"windowsLineEnds", QStringLiteral("a\r\nb\r\nc"), PLRange{0, 4}, Qt::Key_Tab, QStringLiteral("\ta\r\n\tb\r\nc"),
                   PLRange{0, 6}},
        IndentCase{"withinOneLineTypesATab", QStringLiteral("ab\nc"), PLRange{0, 1}, Qt::Key_Tab, QStringLiteral("\tb\nc"), PLRange{1, 0}},
        IndentCase{"outdentATabOrFourSpaces", QStringLiteral("\t\ta\n      b\nc"), PLRange{2, 9}, Qt::Key_Backtab,
                   QStringLiteral("\ta\n  b\nc"), PLRange{1, 5}},
        IndentCase{"outdentTheCaretLine", QStringLiteral("x\n\ty"), PLRange{3, 0}, Qt::Key_Backtab, QStringLiteral("x\ny"), PLRange{2, 0}},
        IndentCase{"outdentWithNothingToTake", QStringLiteral("a\nb"), PLRange{0, 3}, Qt::Key_Backtab, QStringLiteral("a\nb"),
                   PLRange{0, 3}}),
    [](const auto &info) { return std::string(info.param.name); });

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
