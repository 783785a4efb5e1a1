#include "PLEditorTestSupport.h"
#include "PLSpellChecker.h"
#include "PLTextViewSpellChecker.h"

#include <QScrollBar>

namespace {

class Spelling : public PLTest::EditorTest
{
protected:
    void SetUp() override { PLSpellChecker::sharedSpellChecker().waitUntilReady(); }

    static QStringList markedWords(PLTextView *view)
    {
        view->spellChecker()->checkVisibleText();
        QStringList words;
        for (const PLRange &range : view->spellChecker()->markedRanges())
            words << view->contentBuffer()->string().mid(range.location, range.length);
        return words;
    }
};

TEST(SpellChecker, SplitsWordsAndLeavesNamesAlone)
{
    const QString text = QStringLiteral("Don't \\sectoin{x2 l'été}, snake_case 3rd end");
    QStringList words;
    for (const PLRange &range : PLSpellChecker::wordRanges(text))
        words << text.mid(range.location, range.length);
    EXPECT_EQ(words, (QStringList{QStringLiteral("Don't"), QStringLiteral("sectoin"), QStringLiteral("l'été"), QStringLiteral("end")}));
}

TEST_F(Spelling, AMisspeltWordRightAfterABackslashIsNeverMarked)
{
    const QString text = QStringLiteral("\\sectoin{Helo} wrold\\wrold the \\\\tehre\n");
    PLTextView *view = makeView(open(text));
    PLTextView *plain = makeView(open(text, QStringLiteral("other.tex")), false);
    show({view, plain});
    EXPECT_EQ(markedWords(view), (QStringList{QStringLiteral("Helo"), QStringLiteral("wrold")}));
    // Without the delegate's rule every misspelt word is marked.
    EXPECT_EQ(markedWords(plain), (QStringList{QStringLiteral("sectoin"), QStringLiteral("Helo"), QStringLiteral("wrold"),
                                               QStringLiteral("wrold"), QStringLiteral("tehre")}));
}

TEST_F(Spelling, EveryPaneMarksTheWordsAndTheWordBeingTypedWaitsForTheCaretToLeave)
{
    const auto file = open(QStringLiteral("Some text.\n"));
    PLTextView *left = makeView(file);
    PLTextView *right = makeView(file);
    show({left, right});
    left->setSelectedRange(PLRange{10, 0});
    QTest::keyClicks(left, QStringLiteral(" wrold"));
    EXPECT_EQ(markedWords(left), QStringList());
    EXPECT_EQ(markedWords(right), QStringList{QStringLiteral("wrold")});
    QTest::keyClicks(left, QStringLiteral(" "));
    EXPECT_EQ(markedWords(left), QStringList{QStringLiteral("wrold")});

    // Mending the word in one pane clears its mark in both.
    left->setSelectedRange(PLRange{12, 3});
    QTest::keyClicks(left, QStringLiteral("orl"));
    QTest::keyClick(left, Qt::Key_End);
    EXPECT_EQ(file->contentBuffer()->string(), QStringLiteral("Some text. world \n"));
    EXPECT_EQ(markedWords(left), QStringList());
    EXPECT_EQ(markedWords(right), QStringList());
}

TEST_F(Spelling, OnlyTheLinesInViewAreChecked)
{
    QString text;
    for (int i = 0; i < 3000; ++i)
        text += QStringLiteral("Line %1 has a mispelt word.\n").arg(i);
    PLTextView *view = makeView(open(text));
    show({view}, QSize(500, 200));
    const int marksAtTheTop = int(markedWords(view).size());
    EXPECT_GT(marksAtTheTop, 0);
    EXPECT_LT(marksAtTheTop, 20);

    view->verticalScrollBar()->setValue(view->verticalScrollBar()->maximum());
    const QList<PLRange> marks = view->spellChecker()->markedRanges();
    ASSERT_FALSE(marks.isEmpty());
    EXPECT_LT(marks.size(), 20);
    EXPECT_GT(marks.first().location, text.size() - 2000);
}

}
