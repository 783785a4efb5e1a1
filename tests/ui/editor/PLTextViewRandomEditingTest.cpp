#include "PLEditorTestSupport.h"
#include "ui/editor/PLLineEndingMap.h"

#include <QClipboard>
#include <QInputMethodEvent>
#include <QTextBlock>

#include <random>
#include <utility>

namespace {

// A pane whose policy can refuse the next edit, as a read-only pane would.
class RefusingDelegate : public PLTextViewDelegate
{
public:
    using PLTextViewDelegate::PLTextViewDelegate;
    bool textViewShouldChangeTextInRange(PLTextView *textView, PLRange range, const QString &replacementString) override
    {
        if (std::exchange(refuseNext, false))
            return false;
        return PLTextViewDelegate::textViewShouldChangeTextInRange(textView, range, replacementString);
    }
    bool refuseNext = false;
};

// A seed and the file's line break.
class TextViewRandomEditing : public PLTest::EditorTest, public ::testing::WithParamInterface<std::pair<unsigned, const char *>>
{
protected:
    // Both panes show the buffer, the line ends stay the file's own, and the file saves as the
    // buffer holds it.
    ::testing::AssertionResult inStep()
    {
        QCoreApplication::processEvents();
        const QString &text = file->contentBuffer()->string();
        for (PLTextView *view : views) {
            if (mirrorOf(*view) != PLLineEndingMap::mirrorString(text))
                return ::testing::AssertionFailure() << "a mirror differs from the buffer";
            if (view->selectedRange().end() > text.size())
                return ::testing::AssertionFailure() << "selection past the end";
        }
        const QString lineBreak = QString::fromLatin1(GetParam().second);
        QString stripped = text;
        stripped.replace(lineBreak, QString());
        if (stripped.contains(u'\r') || stripped.contains(u'\n'))
            return ::testing::AssertionFailure() << "a foreign line end";
        if (!file->save())
            return ::testing::AssertionFailure() << "save failed";
        if (PLTest::readFile(file->stringPath()) != text.toUtf8())
            return ::testing::AssertionFailure() << "saved bytes differ from the buffer";
        return ::testing::AssertionSuccess();
    }
    qsizetype randomLocation() { return std::uniform_int_distribution<qsizetype>(0, file->contentBuffer()->length())(random); }
    template<typename T, size_t N>
    const T &pick(const T (&choices)[N])
    {
        return choices[std::uniform_int_distribution<size_t>(0, N - 1)(random)];
    }
    std::mt19937 random;
    std::shared_ptr<PLFile> file;
    std::vector<PLTextView *> views;
};

TEST_P(TextViewRandomEditing, PanesMirrorTheBufferThroughAnyEditSequence)
{
    random.seed(GetParam().first);
    const QString lineBreak = QString::fromLatin1(GetParam().second);
    const QString initial = QStringLiteral("\\section{One}%1Some \"text\" (here).%1%1\\begin{itemize}%1\t\\item x%1\\end{itemize}%1").arg(lineBreak);
    file = open(initial);
    std::vector<RefusingDelegate *> delegates;
    for (int pane = 0; pane < 2; ++pane) {
        auto *view = new PLTextView(file);
        delegates.push_back(new RefusingDelegate(file, nullptr, &history, view));
        view->setDelegate(delegates.back());
        views.push_back(view);
    }
    show({views[0], views[1]});
    ASSERT_TRUE(inStep());
    const QString typed[] = {QStringLiteral("a"), QStringLiteral("bc "), QStringLiteral("("),   QStringLiteral("["),
                             QStringLiteral("{"), QStringLiteral("\""), QStringLiteral("}x"), QStringLiteral("\\it"),
                             QStringLiteral("%"), QStringLiteral("\t")};
    const QString pasted[] = {QStringLiteral("x\ny"), QStringLiteral("p\r\nq\r\n"), QStringLiteral("\"q\""), QStringLiteral("("),
                              QStringLiteral("\n")};
    std::size_t acting = 0;
    QString log;
    for (int step = 0; step < 150; ++step) {
        PLTextView *view = views[acting];
        const int operation = std::uniform_int_distribution<int>(0, 13)(random);
        log += QString::number(operation) + QLatin1Char(' ');
        SCOPED_TRACE(log.toStdString());
        switch (operation) {
        case 0: {
            const qsizetype start = randomLocation();
            const qsizetype end = std::max(start, randomLocation());
            view->setSelectedRange(PLRange{start, std::uniform_int_distribution<int>(0, 2)(random) == 0 ? end - start : 0});
            break;
        }
        case 1:
            QTest::keyClicks(view, pick(typed));
            break;
        case 2:
            QTest::keyClick(view, pick({Qt::Key_Return, Qt::Key_Backspace, Qt::Key_Delete}));
            break;
        case 3:
            QApplication::clipboard()->setText(pick(pasted));
            QTest::keyClick(view, Qt::Key_V, Qt::ControlModifier);
            break;
        case 4:
            QTest::keyClick(view, Qt::Key_X, Qt::ControlModifier);
            break;
        case 5:
            QTest::keyClick(view, Qt::Key_Z, Qt::ControlModifier);
            break;
        case 6:
            QTest::keyClick(view, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
            break;
        case 7: {
            const QString before = file->contentBuffer()->string();
            delegates[acting]->refuseNext = true;
            QTest::keyClicks(view, QStringLiteral("r"));
            EXPECT_EQ(file->contentBuffer()->string(), before);
            delegates[acting]->refuseNext = false;
            break;
        }
        case 8: {
            // Two edits of the mirror in one go, the first of which the buffer's filters rewrite,
            // before the view gets back to the event loop to correct it.
            QTextCursor cursor(view->document());
            cursor.setPosition(int(view->mirrorPosition(randomLocation())));
            cursor.insertText(pick({QStringLiteral("("), QStringLiteral("\"")}));
            cursor.insertText(QStringLiteral("y"));
            break;
        }
        case 9: {
            QInputMethodEvent commit;
            commit.setCommitString(QStringLiteral("é"));
            QApplication::sendEvent(view, &commit);
            break;
        }
        case 10: {
            // A new line made elsewhere (another pane's command, a replace-all), never inside a pair.
            qsizetype location = randomLocation();
            if (PLLineEndingMap::isPairAt(file->contentBuffer()->string(), location - 1))
                --location;
            file->contentBuffer()->replaceCharactersInRange(PLRange{location, 0}, lineBreak);
            break;
        }
        case 11:
            acting = 1 - acting;
            views[acting]->setFocus();
            break;
        case 12:
            QTest::keyClick(view, pick({Qt::Key_Left, Qt::Key_Right, Qt::Key_Up, Qt::Key_Down}), Qt::ShiftModifier);
            break;
        default:
            // A command of several edits in one undo step, some of which the pane may refuse.
            delegates[acting]->refuseNext = std::uniform_int_distribution<int>(0, 1)(random);
            view->toggleCommentOfCurrentLine();
            delegates[acting]->refuseNext = false;
            break;
        }
        ASSERT_TRUE(inStep());
    }
    // The whole history replays to the file as opened, and forwards to where the run ended.
    const QString edited = file->contentBuffer()->string();
    PLUndoManager *undo = file->contentBuffer()->undoManager();
    const int end = undo->index();
    while (undo->canUndo()) {
        QTest::keyClick(views[0], Qt::Key_Z, Qt::ControlModifier);
        ASSERT_TRUE(inStep());
    }
    EXPECT_EQ(file->contentBuffer()->string(), initial);
    while (undo->index() < end) {
        QTest::keyClick(views[1], Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
        ASSERT_TRUE(inStep());
    }
    EXPECT_EQ(file->contentBuffer()->string(), edited);
}

// Seed 17 typed into a refusing pane at the end of the text, where the line band asked the buffer
// for the character before a caret that only the mirror had.
INSTANTIATE_TEST_SUITE_P(Seeds, TextViewRandomEditing,
                         ::testing::Values(std::pair{17u, "\n"}, std::pair{2u, "\n"}, std::pair{1u, "\r\n"}, std::pair{3u, "\r\n"}));

}
