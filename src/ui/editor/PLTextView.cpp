#include "ui/editor/PLTextView.h"

#include "core/project/PLFile.h"
#include "core/foundation/PLLogging.h"
#include "core/foundation/PLStringLineCalculations.h"
#include "core/editor/PLTextAttributes.h"
#include "core/editor/PLSyntaxHighlighter.h"
#include "core/editor/PLTextContentBuffer.h"
#include "ui/editor/PLQColor.h"
#include "ui/editor/PLTextViewDelegate.h"
#include "core/project/PLTextViewHistoryHandler.h"
#include "ui/editor/PLTextViewLineOverlayView.h"
#include "ui/editor/PLTextViewSpellChecker.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QContextMenuEvent>
#include <QFontDatabase>
#include <QMenu>
#include <QPlainTextDocumentLayout>
#include <QScrollBar>
#include <QToolTip>
#include <QTextBlock>

#include <algorithm>

// Qt takes the characters a change removed and added together for its extent, so new formats for
// a whole line reach into the next line, and a change of two lines lays out and paints the whole
// view again. New formats are the change of their one line: laid out and painted at once where
// the line is in view, laid out when it comes into view elsewhere.
class PLTextView::MirrorLayout : public QPlainTextDocumentLayout
{
public:
    using QPlainTextDocumentLayout::QPlainTextDocumentLayout;

    void markFormatsDirty(const QTextBlock &block, bool inView)
    {
        m_formatsOnly = true;
        m_formatsInView = inView;
        document()->markContentsDirty(block.position(), block.length());
        m_formatsOnly = false;
    }

protected:
    void documentChanged(int from, int charsRemoved, int charsAdded) override
    {
        if (!m_formatsOnly)
            QPlainTextDocumentLayout::documentChanged(from, charsRemoved, charsAdded);
        else if (m_formatsInView)
            QPlainTextDocumentLayout::documentChanged(from, 0, 1);
        else
            document()->findBlock(from).clearLayout();
    }

private:
    bool m_formatsOnly = false;
    bool m_formatsInView = false;
};

PLTextView::PLTextView(const std::shared_ptr<PLFile> &file, QWidget *parent)
    : QPlainTextEdit(parent), m_file(file), m_buffer(file->contentBuffer())
{
    auto *mirror = new QTextDocument(this);
    m_mirrorLayout = new MirrorLayout(mirror);
    mirror->setDocumentLayout(m_mirrorLayout);
    setDocument(mirror);
    setFrameShape(QFrame::NoFrame);
    setFont(editorFont());
    document()->setDefaultFont(editorFont());
    document()->setDocumentMargin(8);
    setTabStopDistance(QFontMetricsF(editorFont()).horizontalAdvance(QLatin1Char(' ')) * 4);
    applyEditorBackgroundColor();

    const QString &text = m_buffer->string();
    m_lineEndings.reset(text);
    m_lineBreak = m_lineEndings.hasPairs() ? QStringLiteral("\r\n") : QStringLiteral("\n");
    m_updatingMirror = true;
    setPlainText(text);
    m_updatingMirror = false;
    // The buffer keeps the one history of the file.
    document()->setUndoRedoEnabled(false);

    connect(document(), &QTextDocument::contentsChange, this, &PLTextView::mirrorDidChange);
    connect(m_buffer, &PLTextContentBuffer::didProcessEditing, this, &PLTextView::bufferDidProcessEditing);
    connect(m_buffer, &PLTextContentBuffer::didEditAttributes, this, &PLTextView::bufferDidEditAttributes);
    // A large text is coloured where the user looks first and elsewhere while the user is idle.
    PLSyntaxHighlighter *highlighter = m_buffer->syntaxHighlighter();
    connect(highlighter, &PLSyntaxHighlighter::colouringDeferred, this, &PLTextView::colourVisibleLines);
    highlighter->colourInBackground();
    applyAttributes(PLRange{0, text.size()});
    connect(this, &QPlainTextEdit::cursorPositionChanged, this, &PLTextView::selectionDidMove);
    connect(this, &QPlainTextEdit::selectionChanged, this, &PLTextView::selectionDidMove);

    PLUndoManager *history = m_buffer->undoManager();
    setActionHandler(PLAction::Undo, [this](QAction *) { undo(); }, [history](QAction *) { return history->canUndo(); });
    setActionHandler(PLAction::Redo, [this](QAction *) { redo(); }, [history](QAction *) { return history->canRedo(); });
    setActionHandler(PLAction::Cut, [this](QAction *) { cutSelection(); },
                     [this](QAction *) { return textCursor().hasSelection(); });
    setActionHandler(PLAction::Copy, [this](QAction *) { copy(); }, [this](QAction *) { return textCursor().hasSelection(); });
    setActionHandler(PLAction::Paste, [this](QAction *) { pasteClipboard(); }, [this](QAction *) { return canPaste(); });
    setActionHandler(PLAction::SelectAll, [this](QAction *) { selectAll(); });
    setUpEditorBehaviour();
}

PLTextView::~PLTextView() = default;

QFont PLTextView::editorFont()
{
    const PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    return fontNamed(defaults.stringForKey(PLUserDefaultsEditorFontName), double(defaults.integerForKey(PLUserDefaultsEditorFontSize)));
}

QFont PLTextView::fontNamed(const QString &family, double size)
{
    QFont font = QFontDatabase::families().contains(family) ? QFont(family) : QFontDatabase::systemFont(QFontDatabase::FixedFont);
    // Stored sizes count pixels of a screen laid out at 72 to the inch; Qt's points assume 96,
    // so they are scaled to keep the size the user chose.
    if (size > 0)
        font.setPointSizeF(size * 72.0 / 96.0);
    return font;
}

void PLTextView::applyEditorBackgroundColor()
{
    const PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    QPalette colours = palette();
    if (const auto background = defaults.colorForKey(PLUserDefaultsEditorBackgroundColor))
        colours.setColor(QPalette::Base, PLQColor(*background));
    if (const auto text = defaults.colorForKey(PLUserDefaultsEditorColorText))
        colours.setColor(QPalette::Text, PLQColor(*text));
    setPalette(colours);
}

PLRange PLTextView::selectedRange() const
{
    const QTextCursor cursor = textCursor();
    const qsizetype start = m_lineEndings.toText(cursor.selectionStart());
    return PLRange{start, m_lineEndings.toText(cursor.selectionEnd()) - start};
}

void PLTextView::setSelectedRange(PLRange range)
{
    const qsizetype length = m_buffer->length();
    const qsizetype start = qBound<qsizetype>(0, range.location, length);
    const qsizetype end = qBound<qsizetype>(start, range.location + range.length, length);
    QTextCursor cursor(document());
    cursor.setPosition(int(m_lineEndings.toMirror(start)));
    cursor.setPosition(int(m_lineEndings.toMirror(end)), QTextCursor::KeepAnchor);
    setTextCursor(cursor);
}

void PLTextView::scrollRangeToVisible(PLRange range)
{
    const QTextCursor selection = textCursor();
    QTextCursor target(document());
    target.setPosition(int(m_lineEndings.toMirror(qBound<qsizetype>(0, range.location, m_buffer->length()))));
    // Only the view moves: the passing caret is no selection of the user's.
    m_movingSelection = true;
    setTextCursor(target);
    centerCursor();
    // Putting the selection back would scroll to it again.
    const int top = verticalScrollBar()->value();
    const int left = horizontalScrollBar()->value();
    setTextCursor(selection);
    verticalScrollBar()->setValue(top);
    horizontalScrollBar()->setValue(left);
    m_movingSelection = false;
}

void PLTextView::jumpToRange(PLRange range)
{
    setSelectedRange(range);
    if (m_delegate)
        m_delegate->textViewDidJumpToSelection(this);
    else
        m_file->setSelectedRange(selectedRange());
    scrollRangeToVisible(range);
    emit selectionDidChange();
}

bool PLTextView::event(QEvent *event)
{
    // A view replaced by another one is deleted later, from inside this call: nothing may follow.
    if (event->type() == QEvent::DeferredDelete)
        return QPlainTextEdit::event(event);
    const bool handled = QPlainTextEdit::event(event);
    applyPendingCorrection();
    return handled;
}

bool PLTextView::viewportEvent(QEvent *event)
{
    if (handleViewportEditorEvent(event))
        return true;
    const bool handled = QPlainTextEdit::viewportEvent(event);
    applyPendingCorrection();
    return handled;
}

void PLTextView::keyPressEvent(QKeyEvent *event)
{
    if (handleHistoryKey(event) || handleIndentKey(event))
        return;
    if (event->matches(QKeySequence::Undo)) {
        undo();
        return;
    }
    if (event->matches(QKeySequence::Redo)) {
        redo();
        return;
    }
    QPlainTextEdit::keyPressEvent(event);
}

void PLTextView::inputMethodEvent(QInputMethodEvent *event)
{
    m_composing = true;
    QPlainTextEdit::inputMethodEvent(event);
    m_composing = false;
}

void PLTextView::focusInEvent(QFocusEvent *event)
{
    QPlainTextEdit::focusInEvent(event);
    if (m_delegate)
        m_delegate->textViewDidBecomeKey(this);
    emit didBecomeKey();
}

void PLTextView::contextMenuEvent(QContextMenuEvent *event)
{
    QMenu menu(this);
    const PLUndoManager *history = m_buffer->undoManager();
    const bool hasSelection = textCursor().hasSelection();
    menu.addAction(tr("&Undo"), QKeySequence::Undo, this, &PLTextView::undo)->setEnabled(history->canUndo());
    menu.addAction(tr("&Redo"), QKeySequence::Redo, this, &PLTextView::redo)->setEnabled(history->canRedo());
    menu.addSeparator();
    menu.addAction(tr("Cu&t"), QKeySequence::Cut, this, &PLTextView::cutSelection)->setEnabled(hasSelection);
    menu.addAction(tr("&Copy"), QKeySequence::Copy, this, &QPlainTextEdit::copy)->setEnabled(hasSelection);
    menu.addAction(tr("&Paste"), QKeySequence::Paste, this, &PLTextView::pasteClipboard)->setEnabled(canPaste());
    menu.addAction(tr("Delete"), this, &PLTextView::deleteSelection)->setEnabled(hasSelection);
    menu.addSeparator();
    menu.addAction(tr("Select &All"), QKeySequence::SelectAll, this, &QPlainTextEdit::selectAll);
    menu.exec(event->globalPos());
}

void PLTextView::undo()
{
    m_replayingHistory = true;
    m_buffer->undoManager()->undo();
    m_replayingHistory = false;
}

void PLTextView::redo()
{
    m_replayingHistory = true;
    m_buffer->undoManager()->redo();
    m_replayingHistory = false;
}

void PLTextView::cutSelection()
{
    cut();
    applyPendingCorrection();
}

void PLTextView::pasteClipboard()
{
    paste();
    applyPendingCorrection();
}

void PLTextView::deleteSelection()
{
    textCursor().removeSelectedText();
    applyPendingCorrection();
}

QString PLTextView::mirrorText(qsizetype start, qsizetype end) const
{
    QTextCursor cursor(document());
    cursor.setPosition(int(start));
    cursor.setPosition(int(end), QTextCursor::KeepAnchor);
    return cursor.selectedText();
}

void PLTextView::mirrorDidChange(int position, int charsRemoved, int charsAdded)
{
    if (m_updatingMirror)
        return;
    if (m_pendingCorrection) {
        // A second edit arrived before the first could be corrected: place it as well as the
        // uncorrected stretch allows, and lay the whole mirror over the buffer afterwards.
        m_needsFullResync = true;
    }
    const auto textPosition = [this](qsizetype mirrorPosition) {
        if (const auto &pending = m_pendingCorrection) {
            if (mirrorPosition >= pending->end)
                mirrorPosition += pending->text.size() - (pending->end - pending->start);
            else if (mirrorPosition > pending->start)
                mirrorPosition = pending->start + qMin(mirrorPosition - pending->start, qsizetype(pending->text.size()));
        }
        return m_lineEndings.toText(mirrorPosition);
    };
    // Layout passes and input-method previews report whole blocks, sometimes past the end.
    const qsizetype mirrorLength = document()->characterCount() - 1;
    const qsizetype addedEnd = qMin<qsizetype>(position + charsAdded, mirrorLength);
    const qsizetype removedEnd = qMin<qsizetype>(position + charsRemoved, mirrorLength - charsAdded + charsRemoved);
    qsizetype start = textPosition(position);
    qsizetype end = textPosition(removedEnd);
    QString added = mirrorText(position, addedEnd);
    const QString removed = PLLineEndingMap::mirrorString(m_buffer->substring(PLRange{start, end - start}));
    if (added == removed)
        return;
    if (m_composing) {
        // An input method's report covers its whole block: keep only what changed in it.
        qsizetype prefix = 0;
        while (prefix < added.size() && prefix < removed.size() && added.at(prefix) == removed.at(prefix))
            ++prefix;
        qsizetype suffix = 0;
        while (suffix < added.size() - prefix && suffix < removed.size() - prefix
               && added.at(added.size() - 1 - suffix) == removed.at(removed.size() - 1 - suffix))
            ++suffix;
        start = textPosition(position + prefix);
        end = textPosition(removedEnd - suffix);
        added = added.mid(prefix, added.size() - prefix - suffix);
    }

    QString replacement = added;
    replacement.replace(QChar::ParagraphSeparator, m_lineBreak);
    // The buffer indents a typed line feed only; a new line in a CR LF file gets the same tabs here.
    if (replacement == u"\r\n")
        replacement += leadingTabsBefore(start);
    if (m_delegate && !m_delegate->textViewShouldChangeTextInRange(this, PLRange{start, end - start}, replacement)) {
        // Refused: the mirror goes back to the buffer's text.
        m_needsFullResync = true;
        QMetaObject::invokeMethod(this, &PLTextView::applyPendingCorrection, Qt::QueuedConnection);
        return;
    }
    m_localEdit = LocalEdit{removedEnd - position, addedEnd - position};
    m_buffer->replaceCharactersInRange(PLRange{start, end - start}, replacement);
    m_localEdit.reset();
    if (m_pendingCorrection || m_needsFullResync)
        QMetaObject::invokeMethod(this, &PLTextView::applyPendingCorrection, Qt::QueuedConnection);
}

void PLTextView::bufferDidProcessEditing(PLRange editedRange, qsizetype changeInLength)
{
    // Read piece by piece: putting the whole text together would cost every keystroke the length
    // of the file.
    const PLGapBuffer &text = m_buffer->characters();
    const qsizetype oldLength = editedRange.length - changeInLength;
    // Widen the edit so that it cuts no CR LF pair, before or after it: the mirror holds a pair
    // as one separator and cannot be edited between its two characters.
    qsizetype start = editedRange.location;
    qsizetype oldEnd = editedRange.location + oldLength;
    qsizetype newEnd = editedRange.location + editedRange.length;
    if (m_lineEndings.hasPairAt(start - 1) || PLLineEndingMap::isPairAt(text, start - 1))
        --start;
    if (m_lineEndings.hasPairAt(oldEnd - 1) || PLLineEndingMap::isPairAt(text, newEnd - 1)) {
        ++oldEnd;
        ++newEnd;
    }
    const qsizetype mirrorStart = m_lineEndings.toMirror(start);
    qsizetype mirrorEnd = m_lineEndings.toMirror(oldEnd);
    m_lineEndings.update(text, editedRange.location, oldLength, editedRange.length);
    const QString desired = PLLineEndingMap::mirrorString(text.mid(start, newEnd - start));

    if (m_needsFullResync)
        return;
    if (m_localEdit) {
        // The user's own edit is in the mirror already; what the buffer's typing filters added
        // is put right once the editing control is done with the event.
        mirrorEnd += m_localEdit->charsAdded - m_localEdit->charsRemoved;
        if (mirrorText(mirrorStart, mirrorEnd) != desired)
            m_pendingCorrection = Correction{mirrorStart, mirrorEnd, desired};
        return;
    }
    replaceMirrorText(mirrorStart, mirrorEnd, desired);
    if (m_replayingHistory) {
        QTextCursor cursor = textCursor();
        cursor.setPosition(int(m_lineEndings.toMirror(editedRange.location + editedRange.length)));
        setTextCursor(cursor);
        ensureCursorVisible();
    }
}

void PLTextView::replaceMirrorText(qsizetype start, qsizetype end, const QString &replacement)
{
    const QString current = mirrorText(start, end);
    qsizetype prefix = 0;
    const qsizetype shorter = qMin(current.size(), replacement.size());
    while (prefix < shorter && current.at(prefix) == replacement.at(prefix))
        ++prefix;
    qsizetype suffix = 0;
    while (suffix < shorter - prefix && current.at(current.size() - 1 - suffix) == replacement.at(replacement.size() - 1 - suffix))
        ++suffix;
    if (prefix == current.size() && prefix == replacement.size())
        return;
    QTextCursor cursor(document());
    cursor.setPosition(int(start + prefix));
    cursor.setPosition(int(end - suffix), QTextCursor::KeepAnchor);
    m_updatingMirror = true;
    cursor.insertText(replacement.mid(prefix, replacement.size() - prefix - suffix));
    m_updatingMirror = false;
}

void PLTextView::applyPendingCorrection()
{
    if (m_needsFullResync) {
        m_needsFullResync = false;
        m_pendingCorrection.reset();
        m_lineEndings.reset(m_buffer->string());
        replaceMirrorText(0, document()->characterCount() - 1, PLLineEndingMap::mirrorString(m_buffer->string()));
        m_pendingAttributeRange = PLRange{0, m_buffer->length()};
    } else if (m_pendingCorrection) {
        const Correction correction = *m_pendingCorrection;
        m_pendingCorrection.reset();
        replaceMirrorText(correction.start, correction.end, correction.text);
        selectionDidMove();
    }
    if (m_pendingAttributeRange.isFound()) {
        const PLRange range = m_pendingAttributeRange;
        m_pendingAttributeRange = PLNotFoundRange;
        applyAttributes(range);
    }
}

void PLTextView::bufferDidEditAttributes(PLRange range)
{
    // In the middle of the user's own edit the mirror cannot be touched: colour it afterwards.
    if (m_localEdit || m_pendingCorrection || m_needsFullResync) {
        if (m_pendingAttributeRange.isFound()) {
            const qsizetype start = qMin(range.location, m_pendingAttributeRange.location);
            const qsizetype end = qMax(range.end(), m_pendingAttributeRange.end());
            m_pendingAttributeRange = PLRange{start, end - start};
        } else {
            m_pendingAttributeRange = range;
        }
        QMetaObject::invokeMethod(this, &PLTextView::applyPendingCorrection, Qt::QueuedConnection);
        return;
    }
    applyAttributes(range);
}

void PLTextView::paintEvent(QPaintEvent *event)
{
    colourVisibleLines();
    QPlainTextEdit::paintEvent(event);
}

void PLTextView::colourVisibleLines()
{
    PLSyntaxHighlighter *highlighter = m_buffer->syntaxHighlighter();
    if (!highlighter->hasPendingColouring() || m_localEdit || m_pendingCorrection || m_needsFullResync)
        return;
    const QTextBlock first = firstVisibleBlock();
    if (!first.isValid())
        return;
    const QTextBlock last = cursorForPosition(viewport()->rect().bottomRight()).block();
    const qsizetype start = m_lineEndings.toText(first.position());
    const qsizetype end = m_lineEndings.toText(last.isValid() ? last.position() + last.length() - 1
                                                              : first.position() + first.length() - 1);
    highlighter->colourNow(PLRange{start, std::max<qsizetype>(end - start, 0)});
}

void PLTextView::applyAttributes(PLRange range)
{
    const qsizetype textLength = m_buffer->length();
    const qsizetype start = qBound<qsizetype>(0, range.location, textLength);
    const qsizetype end = qBound<qsizetype>(start, range.end(), textLength);
    const qsizetype mirrorEnd = m_lineEndings.toMirror(end);
    m_updatingMirror = true;
    // The blocks the range overlaps: a range that ends with a line's break does not reach into the
    // next line, which would then be laid out and painted again for nothing.
    const int firstInView = firstVisibleBlock().blockNumber();
    const int lastInView = cursorForPosition(viewport()->rect().bottomRight()).blockNumber();
    const QTextBlock first = document()->findBlock(int(m_lineEndings.toMirror(start)));
    for (QTextBlock block = first; block.isValid() && (block == first || block.position() < mirrorEnd); block = block.next()) {
        // A block holds no line break of its own, so its characters run one for one in the text.
        const qsizetype blockStart = m_lineEndings.toText(block.position());
        QList<QTextLayout::FormatRange> formats;
        m_buffer->storedAttributeRuns().enumerateAttributes(
            PLRange{blockStart, block.length() - 1}, [&](const PLTextAttributes &attributes, PLRange run) {
                const QTextCharFormat format = formatForAttributes(attributes);
                if (!format.isEmpty())
                    formats.append(QTextLayout::FormatRange{int(run.location - blockStart), int(run.length), format});
            });
        if (formats == block.layout()->formats())
            continue;
        block.layout()->setFormats(formats);
        m_mirrorLayout->markFormatsDirty(block, block.blockNumber() >= firstInView && block.blockNumber() <= lastInView);
    }
    m_updatingMirror = false;
}

QTextCharFormat PLTextView::formatForAttributes(const PLTextAttributes &attributes)
{
    QTextCharFormat format;
    if (const auto foreground = attributes.foregroundColor())
        format.setForeground(PLQColor(*foreground));
    if (const auto background = attributes.backgroundColor(); background && PLQColor(*background).alpha() > 0)
        format.setBackground(PLQColor(*background));
    if (const auto font = attributes.font()) {
        const QString key = font->family + QLatin1Char('/') + QString::number(font->pointSize);
        auto known = m_fonts.find(key);
        if (known == m_fonts.end())
            known = m_fonts.insert(key, fontNamed(font->family, font->pointSize));
        // The document's own font needs no format of its own.
        if (*known != document()->defaultFont())
            format.setFont(*known);
    }
    return format;
}

void PLTextView::selectionDidMove()
{
    if (m_updatingMirror || m_pendingCorrection || m_movingSelection)
        return;
    if (!hasFocus()) {
        // Moved from elsewhere, by the find bar for one: no delegate to ask, but the caret's
        // place in the status area and the history buttons follow it.
        emit selectionDidChange();
        return;
    }
    if (m_delegate) {
        // The delegate may move the caret, after a typed bracket for instance.
        const PLRange proposed = selectedRange();
        const PLRange accepted = m_delegate->textViewWillChangeSelection(this, m_file->selectedRange(), proposed);
        if (accepted != proposed) {
            m_movingSelection = true;
            setSelectedRange(accepted);
            m_movingSelection = false;
        }
        m_delegate->textViewDidChangeSelection(this);
    }
    // The file remembers the place, so a pane that shows it later starts there.
    m_file->setSelectedRange(selectedRange());
    emit selectionDidChange();
}

void PLTextView::setUpEditorBehaviour()
{
    setActionHandler(PLAction::ToggleBold, [this](QAction *) { toggleBold(); });
    setActionHandler(PLAction::ToggleItalic, [this](QAction *) { toggleItalic(); });
    setActionHandler(PLAction::ToggleUnderline, [this](QAction *) { toggleUnderline(); });
    setActionHandler(PLAction::ToggleCommentOfCurrentLine, [this](QAction *) { toggleCommentOfCurrentLine(); });
    m_spellChecker = new PLTextViewSpellChecker(this);
    updateLineHighlightPosition();
}

bool PLTextView::handleHistoryKey(QKeyEvent *event)
{
    if (event->key() != Qt::Key_Left && event->key() != Qt::Key_Right)
        return false;
    const qint32 direction = event->key() == Qt::Key_Right ? PLHistoryDirectionForwards : PLHistoryDirectionBackwards;
    const Qt::KeyboardModifiers modifiers = event->modifiers();
    const bool command = modifiers & Qt::ControlModifier;
    const bool option = modifiers & Qt::AltModifier;
    const bool control = modifiers & Qt::MetaModifier;
    if (command && option) {
        if (m_delegate) {
            if (modifiers & Qt::ShiftModifier)
                m_delegate->textViewDidRequestHistoryFileSwitch(this, direction);
            else
                m_delegate->textViewDidRequestHistoryRangeSwitch(this, direction);
        }
        return true;
    }
    if (control && option) {
        if (m_delegate)
            m_delegate->textViewDidRequestTextViewSwitchInDirection(this, direction);
        return true;
    }
    return false;
}

bool PLTextView::handleIndentKey(QKeyEvent *event)
{
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
    const bool outdent = event->key() == Qt::Key_Backtab || (event->key() == Qt::Key_Tab && modifiers == Qt::ShiftModifier);
    const bool indent = event->key() == Qt::Key_Tab && modifiers == Qt::NoModifier;
    if (!outdent && !indent)
        return false;
    const PLRange selection = selectedRange();
    const QStringView selected = QStringView(m_buffer->string()).mid(selection.location, selection.length);
    // A tab typed within one line replaces the selection, as in any text field.
    if (indent && std::none_of(selected.begin(), selected.end(), PLStringLineCalculations::isLineTerminator))
        return false;
    shiftSelectedLines(outdent);
    return true;
}

QString PLTextView::leadingTabsBefore(qsizetype location) const
{
    const PLGapBuffer &text = m_buffer->characters();
    qsizetype index = PLStringLineCalculations::lineStartIn(text, location);
    const qsizetype start = index;
    while (index < location && text.at(index) == u'\t')
        ++index;
    return text.mid(start, index - start);
}

void PLTextView::shiftSelectedLines(bool outdent)
{
    const QString &text = m_buffer->string();
    const PLRange selection = selectedRange();
    // The edits, from the last line up so that each leaves the lines above it in place.
    struct Edit
    {
        PLRange range;
        QString string;
    };
    QList<Edit> edits;
    const qsizetype last = selection.length > 0 ? selection.end() - 1 : selection.location;
    qsizetype lineStart = PLStringLineCalculations::lineBoundsForRange(text, PLRange{selection.location, 0}).start;
    for (;;) {
        const PLStringLineCalculations::PLLineBounds line = PLStringLineCalculations::lineBoundsForRange(text, PLRange{lineStart, 0});
        if (outdent) {
            qsizetype blanks = 0;
            if (line.start < line.contentsEnd && text.at(line.start) == u'\t')
                blanks = 1;
            else
                while (blanks < 4 && line.start + blanks < line.contentsEnd && text.at(line.start + blanks) == u' ')
                    ++blanks;
            if (blanks > 0)
                edits.prepend(Edit{PLRange{line.start, blanks}, QString()});
        } else if (line.contentsEnd > line.start) {
            edits.prepend(Edit{PLRange{line.start, 0}, QStringLiteral("\t")});
        }
        if (line.end > last || line.end >= text.size() || line.end == line.start)
            break;
        lineStart = line.end;
    }
    if (edits.isEmpty())
        return;

    qsizetype start = selection.location;
    qsizetype end = selection.end();
    PLUndoManager *history = m_buffer->undoManager();
    history->beginMacro();
    for (const Edit &edit : std::as_const(edits)) {
        if (!replaceCharactersAsTyped(edit.range, edit.string))
            continue;
        // A selection that starts at a line's first column takes in the new tab.
        const auto moved = [&edit](qsizetype position) {
            if (edit.string.isEmpty())
                return position - qBound<qsizetype>(0, position - edit.range.location, edit.range.length);
            return position > edit.range.location ? position + 1 : position;
        };
        start = moved(start);
        end = moved(end);
    }
    history->endMacro();
    selectAfterEditing(PLRange{start, end - start});
}

bool PLTextView::handleViewportEditorEvent(QEvent *event)
{
    if (!m_delegate || (event->type() != QEvent::ToolTip && event->type() != QEvent::MouseButtonPress))
        return false;
    // Only characters that carry a link (the arguments of include commands) have a tooltip or
    // answer a click.
    const QPoint position = event->type() == QEvent::ToolTip ? static_cast<QHelpEvent *>(event)->pos()
                                                              : static_cast<QMouseEvent *>(event)->position().toPoint();
    const qsizetype index = textLocation(cursorForPosition(position).position());
    const std::optional<QString> link = index < m_buffer->length() ? m_buffer->storedAttributeRuns().attributesAtIndex(index).link()
                                                                   : std::nullopt;
    if (event->type() == QEvent::MouseButtonPress)
        return link && m_delegate->textViewClickedOnLink(this, *link, index);
    const QString tooltip = link ? m_delegate->textViewWillDisplayToolTip(this, index) : QString();
    if (tooltip.isEmpty())
        QToolTip::hideText();
    else
        QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(), tooltip, viewport());
    return true;
}

bool PLTextView::replaceCharactersAsTyped(PLRange range, const QString &string)
{
    if (m_delegate && !m_delegate->textViewShouldChangeTextInRange(this, range, string))
        return false;
    m_buffer->replaceCharactersInRange(range, string);
    return true;
}

void PLTextView::insertText(const QString &string, PLRange replacementRange)
{
    const qsizetype before = m_buffer->length();
    if (replaceCharactersAsTyped(replacementRange, string))
        selectAfterEditing(PLRange{replacementRange.end() + m_buffer->length() - before, 0});
}

void PLTextView::selectAfterEditing(PLRange range)
{
    setSelectedRange(range);
    m_file->setSelectedRange(selectedRange());
    emit selectionDidChange();
}

void PLTextView::insertTextAroundRange(const QString &command, PLRange range)
{
    if (range.length > 0) {
        insertText(QStringLiteral("%1{%2}").arg(command, m_buffer->string().mid(range.location, range.length)), range);
        return;
    }
    insertText(command + QStringLiteral("{}"), range);
    selectAfterEditing(PLRange{selectedRange().location - 1, 0});
}

void PLTextView::toggleBold()
{
    insertTextAroundRange(QStringLiteral("\\textbf"), selectedRange());
}

void PLTextView::toggleItalic()
{
    insertTextAroundRange(QStringLiteral("\\textit"), selectedRange());
}

void PLTextView::toggleUnderline()
{
    insertTextAroundRange(QStringLiteral("\\underline"), selectedRange());
}

void PLTextView::toggleCommentOfCurrentLine()
{
    const QString &text = m_buffer->string();
    const PLRange selection = selectedRange();
    const PLStringLineCalculations::PLLineBounds bounds = PLStringLineCalculations::lineBoundsForRange(text, selection);
    const qsizetype firstLineStart = bounds.start;

    // The lines from the bottom up, so that each edit leaves the lines above it where they were.
    QList<PLRange> lines;
    qsizetype p = std::max(bounds.end - 1, firstLineStart);
    for (;;) {
        const PLRange line = PLStringLineCalculations::lineRangeForRange(text, PLRange{p, 0});
        lines.append(line);
        if (line.location <= firstLineStart)
            break;
        p = line.location - 1;
    }

    // The selection keeps covering the same text, so the command can be given again at once; a
    // caret at the start of a line moves with its text.
    qsizetype start = selection.location;
    qsizetype end = selection.end();
    PLUndoManager *history = m_buffer->undoManager();
    history->beginMacro();
    for (const PLRange &line : std::as_const(lines)) {
        // Read in place: putting the whole text together again after each line's edit would cost
        // the length of the file per line.
        const PLGapBuffer &current = m_buffer->characters();
        qsizetype index = line.location;
        while (index < line.end() && (current.at(index) == u' ' || current.at(index) == u'\t'))
            ++index;
        if (index < line.end() && current.at(index) == u'%') {
            qCDebug(lcUi).noquote() << QStringLiteral("remove % from: %1").arg(toString(PLRange{index, 1}));
            if (!replaceCharactersAsTyped(PLRange{index, 1}, QString()))
                continue;
            start -= index < start ? 1 : 0;
            end -= index < end ? 1 : 0;
        } else {
            qCDebug(lcUi).noquote() << QStringLiteral("insert % at: %1").arg(line.location);
            if (!replaceCharactersAsTyped(PLRange{line.location, 0}, QStringLiteral("%")))
                continue;
            start += line.location < start || (line.location == start && selection.length == 0) ? 1 : 0;
            end += line.location <= end ? 1 : 0;
        }
    }
    history->endMacro();
    selectAfterEditing(PLRange{start, end - start});
}

void PLTextView::updateLineHighlightPosition()
{
    constexpr qreal bandHeight = 16.0;
    const int width = viewport()->width();
    if (!m_lineHightlightView) {
        m_lineHightlightView = new PLTextViewLineOverlayView(QRect(0, 0, width, int(bandHeight)), viewport());
        m_lineHightlightView->show();
        // The band moves with the text: when the view scrolls, resizes or lays its text out anew.
        connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &PLTextView::updateLineHighlightPosition);
        connect(this, &QPlainTextEdit::updateRequest, this, &PLTextView::updateLineHighlightPosition);
    }
    // The rectangle of the row that holds a character, across the whole width of the view. The
    // LF of a CR LF pair lies on the row of its CR.
    const PLGapBuffer &text = m_buffer->characters();
    const auto rowOfCharacter = [&](qsizetype location) {
        if (PLLineEndingMap::isPairAt(text, location - 1))
            --location;
        QTextCursor cursor(document());
        cursor.setPosition(int(mirrorPosition(location)));
        const QRect caret = cursorRect(cursor);
        return QRectF(0, caret.top(), width, caret.height());
    };

    QRectF frame(0, 0, width, bandHeight);
    // Between a refused or filtered edit of the mirror and its correction, the caret can stand
    // past the end of the buffer's text.
    const qsizetype caret = qMin(selectedRange().location, text.size());
    if (caret < text.size()) {
        frame = rowOfCharacter(caret);
    } else if (caret > 0) {
        frame = rowOfCharacter(caret - 1);
        // On the empty line after a final line break the band sits one band height lower.
        if (PLStringLineCalculations::isLineTerminator(text.at(caret - 1)))
            frame.translate(0, bandHeight);
    } else {
        frame.translate(0, cursorRect(QTextCursor(document())).top());
    }
    m_lineHightlightView->setGeometry(frame.toRect());
}
