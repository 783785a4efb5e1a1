#pragma once

#include "PLLineEndingMap.h"
#include "PLRange.h"
#include "PLResponder.h"

#include <QHash>
#include <QPlainTextEdit>
#include <QTextCharFormat>

#include <memory>
#include <optional>

class PLFile;
class PLTextAttributes;
class PLTextContentBuffer;

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
    qsizetype mirrorPosition(qsizetype location) const { return m_lineEndings.toMirror(location); }

    // The editor font of the settings, or the system's fixed-pitch font when that family is missing.
    static QFont editorFont();
    static QFont fontNamed(const QString &family, double size);
    void applyEditorBackgroundColor();

signals:
    void didBecomeKey();

protected:
    bool event(QEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void inputMethodEvent(QInputMethodEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
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
    QTextCharFormat formatForAttributes(const PLTextAttributes &attributes);
    void undo();
    void redo();
    void cutSelection();
    void pasteClipboard();
    void deleteSelection();
    void selectionDidMove();

    std::shared_ptr<PLFile> m_file;
    PLTextContentBuffer *m_buffer;
    PLLineEndingMap m_lineEndings;
    // The line break the user's new lines get: the one the file already uses.
    QString m_lineBreak;
    std::optional<LocalEdit> m_localEdit;
    std::optional<Correction> m_pendingCorrection;
    bool m_updatingMirror = false;
    bool m_needsFullResync = false;
    bool m_replayingHistory = false;
    bool m_composing = false;
    // Colours that arrived while the mirror could not take them yet.
    PLRange m_pendingAttributeRange = PLNotFoundRange;
    QHash<QString, QFont> m_fonts;
};
