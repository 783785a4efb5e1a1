#pragma once

#include "ui/editor/PLLineEndingMap.h"
#include "core/foundation/PLRange.h"
#include "ui/window/PLResponder.h"

#include <QHash>
#include <QPlainTextEdit>
#include <QTextCharFormat>

#include <memory>
#include <optional>

class PLFile;
class PLTextAttributes;
class PLTextContentBuffer;
class PLTextViewDelegate;
class PLTextViewLineOverlayView;
class PLTextViewSpellChecker;

// The editor of one pane. The file's text lives in its content buffer, shared by every pane that
// shows the file; this view lays it out in a QTextDocument of its own (one document has one
// layout, and panes differ in width), kept as a mirror of the buffer. Whatever the user does to
// the mirror (typing, input methods, paste, cut, drag and drop) becomes one replacement in the
// buffer, whose typing filters may rewrite it; every view then brings its mirror in line with the
// buffer's final text. Undo and redo belong to the buffer.
class PLTextView : public QPlainTextEdit, public PLResponder
{
    Q_OBJECT

public:
    explicit PLTextView(const std::shared_ptr<PLFile> &file, QWidget *parent = nullptr);
    ~PLTextView() override;

    const std::shared_ptr<PLFile> &file() const { return m_file; }
    PLTextContentBuffer *contentBuffer() const { return m_buffer; }

    // The selection in the file's text (CR LF counted as two characters).
    PLRange selectedRange() const;
    void setSelectedRange(PLRange range);
    void scrollRangeToVisible(PLRange range);
    // Selects the range and scrolls to it as a jump does (from the outline, a line number or quick
    // open): the place left and the place reached both join the pane's history.
    void jumpToRange(PLRange range);
    qsizetype mirrorPosition(qsizetype location) const { return m_lineEndings.toMirror(location); }

    // The editor font of the settings, or the system's fixed-pitch font when that family is missing.
    static QFont editorFont();
    static QFont fontNamed(const QString &family, double size);
    void applyEditorBackgroundColor();

    // The pane's editing policy; not owned.
    PLTextViewDelegate *delegate() const { return m_delegate; }
    void setDelegate(PLTextViewDelegate *delegate) { m_delegate = delegate; }
    qsizetype textLocation(qsizetype mirrorPosition) const { return m_lineEndings.toText(mirrorPosition); }
    // The line-number ruler lives in the viewport's left margin.
    using QAbstractScrollArea::setViewportMargins;
    PLTextViewLineOverlayView *lineHightlightView() const { return m_lineHightlightView; }
    void updateLineHighlightPosition();
    PLTextViewSpellChecker *spellChecker() const { return m_spellChecker; }

    // Replaces a range of the file's text as typing does: the delegate is asked, the buffer's
    // filters apply, and the caret ends after the new text.
    void insertText(const QString &string, PLRange replacementRange);
    // Wraps the range in the command's braces, or inserts the command with the caret between
    // empty braces. Applied twice, the command nests.
    void insertTextAroundRange(const QString &command, PLRange range);
    void toggleBold();
    void toggleItalic();
    void toggleUnderline();
    // Comments each line of the selection with "%" at its first column, or takes one "%" from a
    // line whose first non-blank character is one.
    void toggleCommentOfCurrentLine();
    // Puts one tab before each line of the selection, or takes one off (a tab, else up to four
    // spaces); one undo step. A line that only ends the selection at its first column is left out.
    void shiftSelectedLines(bool outdent);

signals:
    void didBecomeKey();
    // The user moved the caret or changed the selection.
    void selectionDidChange();

protected:
    void paintEvent(QPaintEvent *event) override;
    bool event(QEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void inputMethodEvent(QInputMethodEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    // Selects what a command's own edits leave selected. Moves made while the view brings its
    // mirror in line are not taken as the user's, and the caret may already stand there, so the
    // file and the status area are told of the place here.
    void selectAfterEditing(PLRange range);
    class MirrorLayout;
    struct LocalEdit
    {
        qsizetype charsRemoved;
        qsizetype charsAdded;
    };
    struct Correction
    {
        qsizetype start;
        qsizetype end;
        QString text;
    };

    void mirrorDidChange(int position, int charsRemoved, int charsAdded);
    void bufferDidProcessEditing(PLRange editedRange, qsizetype changeInLength);
    QString mirrorText(qsizetype start, qsizetype end) const;
    // Replaces only the part of [start, end) that differs, so cursors elsewhere stay put.
    void replaceMirrorText(qsizetype start, qsizetype end, const QString &replacement);
    void applyPendingCorrection();
    // Shows the buffer's colours and fonts over the range on the lines of the mirror.
    void bufferDidEditAttributes(PLRange range);
    void applyAttributes(PLRange range);
    // Colours the lines on screen that still wait for the background colouring.
    void colourVisibleLines();
    QTextCharFormat formatForAttributes(const PLTextAttributes &attributes);
    void undo();
    void redo();
    void cutSelection();
    void pasteClipboard();
    void deleteSelection();
    void selectionDidMove();
    void setUpEditorBehaviour();
    // A replacement the delegate allowed, made in the buffer; the selection is the caller's.
    bool replaceCharactersAsTyped(PLRange range, const QString &string);
    // Back and forward requests with the arrow keys; answers whether the key was one.
    bool handleHistoryKey(QKeyEvent *event);
    // Tab over several lines indents them and Shift+Tab outdents; answers whether the key did.
    bool handleIndentKey(QKeyEvent *event);
    // The tabs that open the line of the location, up to it: what a new line there starts with.
    QString leadingTabsBefore(qsizetype location) const;
    // Tooltips over include arguments and clicks on links; answers whether the event was handled.
    bool handleViewportEditorEvent(QEvent *event);

    std::shared_ptr<PLFile> m_file;
    PLTextContentBuffer *m_buffer;
    MirrorLayout *m_mirrorLayout;
    PLLineEndingMap m_lineEndings;
    // The line break the user's new lines get: the one the file already uses.
    QString m_lineBreak;
    std::optional<LocalEdit> m_localEdit;
    std::optional<Correction> m_pendingCorrection;
    bool m_updatingMirror = false;
    bool m_needsFullResync = false;
    bool m_replayingHistory = false;
    bool m_composing = false;
    bool m_movingSelection = false;
    PLTextViewDelegate *m_delegate = nullptr;
    PLTextViewLineOverlayView *m_lineHightlightView = nullptr;
    PLTextViewSpellChecker *m_spellChecker = nullptr;
    // Colours that arrived while the mirror could not take them yet.
    PLRange m_pendingAttributeRange = PLNotFoundRange;
    QHash<QString, QFont> m_fonts;
};
