#include "PLEditorTestSupport.h"
#include "core/editor/PLLatexSyntaxHighlighterDelegate.h"
#include "core/editor/PLSyntaxHighlighter.h"
#include "core/editor/PLTextAttributes.h"
#include "ui/editor/PLQColor.h"
#include "ui/editor/PLTextViewSpellChecker.h"

#include <QInputMethodEvent>
#include <QMimeData>
#include <QPaintEvent>

namespace {

// The same text coloured the plain way, all at once, as the reference for background colouring.
class ReferenceText : public PLTextStorage
{
public:
    explicit ReferenceText(const QString &text)
        : PLTextStorage(text.size()), m_text(text), m_highlighter(this, std::make_unique<PLLatexSyntaxHighlighterDelegate>())
    {
    }
    const QString &string() const override { return m_text; }
    void colourWhole() { m_highlighter.highlightTextInRange(PLRange{0, m_text.size()}); }
    void replace(PLRange range, const QString &text)
    {
        m_text.replace(range.location, range.length, text);
        edited(range, text.size() - range.length);
    }

private:
    QString m_text;
    PLSyntaxHighlighter m_highlighter;
};

using Runs = std::vector<std::pair<PLRange, PLTextAttributes>>;

Runs storedRuns(const PLTextStorage &text, PLRange range)
{
    Runs runs;
    text.storedAttributeRuns().enumerateAttributes(range, [&](const PLTextAttributes &attributes, PLRange run) {
        runs.emplace_back(run, attributes);
    });
    return runs;
}

// The region each watched widget painted.
class PaintRecorder : public QObject
{
public:
    explicit PaintRecorder(std::initializer_list<QWidget *> widgets)
    {
        for (QWidget *widget : widgets)
            widget->installEventFilter(this);
    }
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            painted[watched] += static_cast<QPaintEvent *>(event)->region();
        return false;
    }
    QHash<QObject *, QRegion> painted;
};

class TextView : public PLTest::EditorTest
{
protected:
    void open(const QByteArray &bytes) { file = EditorTest::open(QString::fromUtf8(bytes)); }
    std::shared_ptr<PLFile> file;
};

// Cut, paste and committed input reach the buffer through the random edits; here what only a
// composing input method or a drop from another application does.
TEST_F(TextView, ComposingLeavesTheBufferAloneAndDroppedTextLandsWhereDropped)
{
    open("beta");
    auto *view = new PLTextView(file);
    auto *other = new PLTextView(file);
    show({view, other});
    view->setSelectedRange(PLRange{4, 0});
    QInputMethodEvent compose(QStringLiteral("´"), {});
    QApplication::sendEvent(view, &compose);
    EXPECT_EQ(file->contentBuffer()->string(), QStringLiteral("beta"));
    QInputMethodEvent commit;
    commit.setCommitString(QStringLiteral("é"));
    QApplication::sendEvent(view, &commit);
    QMimeData dragged;
    dragged.setText(QStringLiteral("delta "));
    const QPoint start = view->cursorRect(QTextCursor(view->document())).center();
    QDragEnterEvent enter(start, Qt::CopyAction, &dragged, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(view->viewport(), &enter);
    QDropEvent drop(start, Qt::CopyAction, &dragged, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(view->viewport(), &drop);
    EXPECT_EQ(file->contentBuffer()->string(), QStringLiteral("delta betaé"));
    for (const PLTextView *shown : {view, other})
        EXPECT_EQ(mirrorOf(*shown), QStringLiteral("delta betaé"));
    // One undo step per edit, kept by the buffer alone.
    EXPECT_EQ(file->contentBuffer()->undoManager()->count(), 2);
    EXPECT_FALSE(view->document()->isUndoAvailable());
}

QColor bufferColour(const PLFile &file, qsizetype location)
{
    const auto colour = file.contentBuffer()->attributesAtIndex(location).foregroundColor();
    return colour ? PLQColor(*colour) : QColor();
}

// A key press repaints the typed line where it is shown, in its new colours (past CR LF pairs),
// and nothing in a pane scrolled elsewhere, which still takes the colours; scrolling that pane
// there left its selection alone.
TEST_F(TextView, TypingRepaintsTheTypedLineOnly)
{
    QByteArray text;
    for (int i = 0; i < 300; ++i)
        text += "line " + QByteArray::number(i) + " \\emph{word}\r\n";
    open(text);
    auto *view = new PLTextView(file);
    auto *other = new PLTextView(file);
    show({view, other});
    other->scrollRangeToVisible(PLRange{text.indexOf("line 250 "), 0});
    EXPECT_EQ(other->selectedRange(), (PLRange{0, 0}));
    EXPECT_GT(other->cursorForPosition(QPoint(0, 0)).blockNumber(), 200);
    const qsizetype typed = text.indexOf("line 5 ");
    view->setSelectedRange(PLRange{typed, 0});
    for (PLTextView *pane : {view, other})
        pane->spellChecker()->checkVisibleText();
    QCoreApplication::processEvents();
    PaintRecorder recorder({view->viewport(), other->viewport()});
    QTest::keyClicks(view, QStringLiteral("\\"));
    QCoreApplication::processEvents();
    const QRect row = view->cursorRect();
    const QRect painted = recorder.painted.value(view->viewport()).boundingRect();
    EXPECT_TRUE(painted.intersects(row));
    EXPECT_LE(painted.height(), 3 * row.height());
    EXPECT_TRUE(recorder.painted.value(other->viewport()).isEmpty());
    for (const PLTextView *shown : {view, other})
        EXPECT_EQ(PLTest::shownColour(*shown, typed), bufferColour(*file, typed));
    EXPECT_NE(bufferColour(*file, typed), bufferColour(*file, 0));
}

TEST_F(TextView, ALongTextIsColouredOnScreenFirstAndTheRestWhileIdle)
{
    QString text;
    for (int i = 0; i < 2000; ++i)
        text += QStringLiteral("\\emph{w%1} $x_%1$ [a] %% note\n").arg(i);
    file = EditorTest::open(text);
    PLTextContentBuffer *buffer = file->contentBuffer();
    PLSyntaxHighlighter *highlighter = buffer->syntaxHighlighter();
    auto *view = new PLTextView(file);
    EXPECT_TRUE(highlighter->hasPendingColouring());
    show({view});
    ASSERT_TRUE(QTest::qWaitFor([&] { return !highlighter->hasPendingColouring(); }, 60000));
    ReferenceText reference(text);
    reference.colourWhole();
    EXPECT_EQ(storedRuns(*buffer, PLRange{0, text.size()}), storedRuns(reference, PLRange{0, text.size()}));
    // A colour change: the screen's lines take it at once, the rest waits for the event loop.
    PLUserDefaults::standardUserDefaults().setColor(PLColor::rgb(0.9, 0.1, 0.1, 1.0), PLUserDefaultsEditorColorFunctions);
    highlighter->userDefaultsDidChangeEditorTextColor();
    reference.colourWhole();
    const PLRange top{0, text.indexOf(u'\n') + 1};
    const PLRange bottom{text.lastIndexOf(u'\n', text.size() - 2) + 1, top.length};
    EXPECT_TRUE(highlighter->hasPendingColouring());
    EXPECT_EQ(storedRuns(*buffer, top), storedRuns(reference, top));
    EXPECT_NE(storedRuns(*buffer, bottom), storedRuns(reference, bottom));
    // An edit before the slices are done moves what is left to colour along with the text.
    const PLRange edit{text.size() / 2, 0};
    buffer->replaceCharactersInRange(edit, QStringLiteral("zz"));
    reference.replace(edit, QStringLiteral("zz"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !highlighter->hasPendingColouring(); }, 60000));
    const PLRange whole{0, reference.string().size()};
    EXPECT_EQ(storedRuns(*buffer, whole), storedRuns(reference, whole));
}

}
