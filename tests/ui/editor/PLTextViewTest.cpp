#include "PLEditorTestSupport.h"
#include "PLUiTestSupport.h"
#include "core/editor/PLTextAttributes.h"
#include "ui/editor/PLLineEndingMap.h"

#include <QInputMethodEvent>
#include <QMimeData>
#include <QUndoStack>

namespace {

class TextView : public PLTest::EditorTest
{
protected:
    void open(const QByteArray &bytes) { file = EditorTest::open(QString::fromUtf8(bytes)); }

    void expectInStep(std::initializer_list<const PLTextView *> views)
    {
        const QString expected = PLLineEndingMap::mirrorString(file->contentBuffer()->string());
        for (const PLTextView *view : views)
            EXPECT_EQ(mirrorOf(*view), expected);
    }

    std::shared_ptr<PLFile> file;
};

class TextViewLineEnds : public TextView, public ::testing::WithParamInterface<const char *>
{
};

TEST_P(TextViewLineEnds, ReturnIndentsAndTheOtherTypingFiltersReachTheTypingPaneToo)
{
    const QString lineEnd = QString::fromLatin1(GetParam());
    open(QStringLiteral("\t\tx%1y").arg(lineEnd).toUtf8());
    auto *typing = new PLTextView(file);
    auto *other = new PLTextView(file);
    show({typing, other});
    typing->setSelectedRange(PLRange{3, 0});
    other->setSelectedRange(PLRange{1, 0});

    QTest::keyClick(typing, Qt::Key_Return);
    QTest::keyClicks(typing, QStringLiteral("("));
    const QString typed = QStringLiteral("\t\tx%1\t\t()%1y").arg(lineEnd);
    EXPECT_EQ(file->contentBuffer()->string(), typed);
    EXPECT_EQ(typing->selectedRange(), (PLRange{3 + lineEnd.size() + 4, 0}));
    // Each pane keeps its own selection.
    EXPECT_EQ(other->selectedRange(), (PLRange{1, 0}));
    expectInStep({typing, other});

    QTest::keyClick(typing, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(file->contentBuffer()->string(), QStringLiteral("\t\tx%1\t\t%1y").arg(lineEnd));
    expectInStep({typing, other});
    QTest::keyClick(typing, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(file->contentBuffer()->string(), typed);
    expectInStep({typing, other});
}

INSTANTIATE_TEST_SUITE_P(Files, TextViewLineEnds, ::testing::Values("\n", "\r\n"),
                         [](const auto &info) { return std::string(info.index == 0 ? "unix" : "windows"); });

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
    expectInStep({view, other});
    // One undo step per edit, kept by the buffer alone.
    EXPECT_EQ(file->contentBuffer()->undoManager()->count(), 2);
    EXPECT_FALSE(view->document()->isUndoAvailable());
}

QColor bufferColour(const PLFile &file, qsizetype location)
{
    const auto colour = file.contentBuffer()->attributesAtIndex(location).foregroundColor();
    return colour ? colour->toQColor() : QColor();
}

TEST_F(TextView, PanesShowTheBuffersColoursAndFollowThemWhileTyping)
{
    open("Text $x$\r\n\\section{A}\r\n");
    auto *view = new PLTextView(file);
    auto *other = new PLTextView(file);
    show({view, other});
    for (qsizetype location : {0, 5, 6, 10, 12}) {
        EXPECT_TRUE(bufferColour(*file, location).isValid());
        EXPECT_EQ(PLTest::shownColour(*view, location), bufferColour(*file, location)) << "at " << location;
    }
    EXPECT_NE(bufferColour(*file, 0), bufferColour(*file, 5));

    view->setSelectedRange(PLRange{0, 0});
    QTest::keyClicks(view, QStringLiteral("$y$ "));
    for (const PLTextView *shown : {view, other}) {
        for (qsizetype location : {0, 1, 4, 10, 16})
            EXPECT_EQ(PLTest::shownColour(*shown, location), bufferColour(*file, location)) << "at " << location;
    }
}

}
