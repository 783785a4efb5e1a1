#include "PLEditorTestSupport.h"
#include "ui/editor/PLSpellChecker.h"
#include "ui/editor/PLTextViewSpellChecker.h"

#include <QLayout>
#include <QScrollBar>

#include <random>

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

TEST(SpellCheckerWords, AreLetterRunsAndNamesAreLeftAlone)
{
    // Gothic letters lie outside the Basic Multilingual Plane, two UTF-16 units each.
    const std::pair<QString, QStringList> cases[] = {
        {QStringLiteral("Don't \\sectoin{x2 l'été}, snake_case 3rd end"),
         {QStringLiteral("Don't"), QStringLiteral("sectoin"), QStringLiteral("l'été"), QStringLiteral("end")}},
        {QStringLiteral("e.g. it's"), {QStringLiteral("e"), QStringLiteral("g"), QStringLiteral("it's")}},
        {QStringLiteral("a\U00010330\U00010331b c\U0001D7CE"), {QStringLiteral("a\U00010330\U00010331b")}}};
    for (const auto &[text, expected] : cases) {
        QStringList words;
        for (const PLRange &range : PLSpellChecker::wordRanges(text))
            words << text.mid(range.location, range.length);
        EXPECT_EQ(words, expected);
    }
}

TEST_F(Spelling, APreambleAndMathematicsAreNotProse)
{
    const QString text = QStringLiteral(
        "\\documentclass[a4paper]{scrartcl}\n"
        "\\usepackage[utf8]{inputenc}\n"
        "\\usepackage{amsmth, graphicx}\n"
        "\\bibliographystyle{alphadin}\n"
        "\\begin{document}\n"
        "\\label{sec:intrd} Teh text cites \\citep[chap.~3]{knuth84,lamprt} and \\eqref{eq:xyzzy}.\n"
        "Math $\\alpha + qwxz$ and \\[ zzqx \\] and \\(vxq\\) and $$qqvv$$ stay.\n"
        "\\begin{equation*}\n"
        "fooq + barq\n"
        "\\end{equation*}\n"
        "\\includegraphics[width=5cm]{figs/pltt} \\input{chaptr}\n"
        "\\href{http://exmple.org}{Wrld} \\url{http://exmple.org} 50\\$ is monney. % A commnt\n"
        "\\end{document}\n");
    PLTextView *view = showText(text, QSize(900, 500));
    EXPECT_EQ(markedWords(view), (QStringList{QStringLiteral("Teh"), QStringLiteral("Wrld"), QStringLiteral("monney"),
                                              QStringLiteral("commnt")}));
    // A dollar typed on one line opens mathematics through the lines after it in the paragraph.
    view->setSelectedRange(PLRange{text.indexOf(QStringLiteral("\\includegraphics")), 0});
    QTest::keyClicks(view, QStringLiteral("$"));
    view->setSelectedRange(PLRange{0, 0});
    EXPECT_EQ(markedWords(view), QStringList{QStringLiteral("Teh")});
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

// Edits that open and close mathematics and arguments over lines and paragraphs, typed or made
// at once: the pane keeps the marks a pane reading the text afresh shows.
TEST_F(Spelling, MarksAfterEditsAreThoseOfAFreshPane)
{
    const QStringList pieces{QStringLiteral("$"),       QStringLiteral("{"),     QStringLiteral("}"),      QStringLiteral("\\label{"),
                             QStringLiteral("\\end{equation}"), QStringLiteral("\n"), QStringLiteral("\n\n"), QStringLiteral(" wrold "),
                             QStringLiteral("\\["),     QStringLiteral("% "),    QStringLiteral("tehre")};
    const auto file = open(QStringLiteral("Teh wrold $x$ and\n\\label{qzx\nmore wrold}\n\nNew paragrph $a\nb$ tehre.\n"
                                          "\\begin{equation}\nfooq\n\\end{equation} sme\n"));
    PLTextView *view = makeView(file);
    show({view}, QSize(900, 900));
    const auto marks = [](PLTextView *pane) {
        pane->setSelectedRange(PLRange{0, 0});
        pane->spellChecker()->checkVisibleText();
        return pane->spellChecker()->markedRanges();
    };
    std::mt19937 random(11);
    for (int step = 0; step < 40; ++step) {
        const QString &text = file->contentBuffer()->string();
        const qsizetype at = qsizetype(random() % (text.size() + 1));
        const QString piece = pieces.at(qsizetype(random() % pieces.size()));
        if (step % 2 == 0) {
            const qsizetype removed = qMin<qsizetype>(random() % 4, text.size() - at);
            view->insertText(piece, PLRange{at, removed});
        } else {
            view->setSelectedRange(PLRange{at, 0});
            for (const QChar c : piece) {
                if (c == u'\n')
                    QTest::keyClick(view, Qt::Key_Return);
                else
                    QTest::keyClicks(view, QString(c));
            }
        }
        auto *fresh = makeView(open(file->contentBuffer()->string(), QStringLiteral("fresh%1.tex").arg(step)));
        window.layout()->addWidget(fresh);
        QCoreApplication::processEvents();
        ASSERT_EQ(marks(view), marks(fresh)) << "after step " << step << ": " << file->contentBuffer()->string().toStdString();
        delete fresh;
    }
}

TEST_F(Spelling, OnlyTheLinesInViewAreChecked)
{
    QString text;
    for (int i = 0; i < 3000; ++i)
        text += QStringLiteral("Line %1 has a mispelt word.\n").arg(i);
    PLTextView *view = showText(text, QSize(500, 200));
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
