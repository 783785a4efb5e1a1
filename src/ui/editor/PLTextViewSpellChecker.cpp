#include "ui/editor/PLTextViewSpellChecker.h"

#include "ui/editor/PLSpellChecker.h"
#include "ui/editor/PLTextView.h"
#include "ui/editor/PLTextViewDelegate.h"

#include <QEvent>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextBlockUserData>

#include <algorithm>

namespace {
// Whether a line starts outside mathematics and the arguments of commands opened above it in its
// paragraph, as the paragraph was last read.
enum class PLSpellingContext { Unknown, Prose, Open };

// The marks of one line of the mirror, relative to the line's start, and whether they still
// stand: a line is checked again after an edit in it, after an edit above it that changes how its
// paragraph reads at its start, and once the dictionary has changed.
class PLSpellingBlockData : public QTextBlockUserData
{
public:
    bool checked = false;
    int generation = -1;
    PLSpellingContext context = PLSpellingContext::Unknown;
    QList<PLRange> marks;
};

PLSpellingBlockData *spellingData(const QTextBlock &block)
{
    return dynamic_cast<PLSpellingBlockData *>(block.userData());
}

PLSpellingBlockData *ensureSpellingData(QTextBlock block)
{
    PLSpellingBlockData *data = spellingData(block);
    if (!data) {
        data = new PLSpellingBlockData;
        block.setUserData(data);
    }
    return data;
}

void forgetSpelling(const QTextBlock &block)
{
    if (PLSpellingBlockData *data = spellingData(block)) {
        data->checked = false;
        data->context = PLSpellingContext::Unknown;
    }
}

struct VisibleBlocks
{
    QTextBlock first;
    QTextBlock last;
};

// Mathematics and command arguments may run over several lines but never past a blank one, so
// a line is read in the light of its paragraph. A paragraph longer than this many lines is read
// from this far back.
constexpr int PLSpellingParagraphLineLimit = 1000;

// Read in place: most lines show a non-blank character first.
bool isBlank(const QTextBlock &block)
{
    const QTextDocument *document = block.document();
    const int end = block.position() + block.length() - 1;
    for (int position = block.position(); position < end; ++position) {
        if (!document->characterAt(position).isSpace())
            return false;
    }
    return true;
}

// The nearest line at or above the block from which its paragraph can be read: one read before
// as starting in prose, or the paragraph's first line.
QTextBlock readingStart(QTextBlock block)
{
    for (int steps = 0;; ++steps) {
        const PLSpellingBlockData *data = spellingData(block);
        if (data && data->context == PLSpellingContext::Prose)
            return block;
        const QTextBlock previous = block.previous();
        if (!previous.isValid() || steps >= PLSpellingParagraphLineLimit || isBlank(previous))
            return block;
        block = previous;
    }
}

// One paragraph, or its part from a line that starts in prose, as one text with a line feed after
// each line, and its stretches that are not prose, in order.
struct PLSpellingReading
{
    QString text;
    QList<QTextBlock> blocks;
    QList<qsizetype> offsets;
    QList<PLRange> nonProse;

    // Whether a stretch that is not prose runs on over the start of a line of the text.
    bool isOpenAt(qsizetype offset) const
    {
        const auto range = std::upper_bound(nonProse.begin(), nonProse.end(), offset,
                                            [](qsizetype location, const PLRange &stretch) { return location < stretch.end(); });
        return range != nonProse.end() && range->location < offset;
    }

    // Whether one runs on past the text's end: no stretch that closes ends with a line feed.
    bool isOpenAtEnd() const { return !nonProse.isEmpty() && nonProse.last().end() == text.size(); }

    bool isProse(PLRange word) const
    {
        const auto after = std::lower_bound(nonProse.begin(), nonProse.end(), word.location,
                                            [](const PLRange &range, qsizetype location) { return range.end() <= location; });
        return after == nonProse.end() || after->location >= word.end();
    }
};

// Reads the lines from `first`, which starts in prose, through `last`, a paragraph at a time, and
// hands the visitor each reading once it is complete.
template<class Visitor>
void readLines(const QTextBlock &first, const QTextBlock &last, Visitor visit)
{
    PLSpellingReading reading;
    const auto finish = [&] {
        reading.nonProse = PLSpellChecker::nonProseRanges(reading.text);
        visit(std::as_const(reading));
        reading = PLSpellingReading();
    };
    for (QTextBlock block = first; block.isValid(); block = block.next()) {
        const QString line = block.text();
        reading.blocks.append(block);
        reading.offsets.append(reading.text.size());
        reading.text += line + QLatin1Char('\n');
        if (block == last)
            break;
        // The line's text is at hand: no need to read it again from the document.
        if (std::all_of(line.begin(), line.end(), [](QChar c) { return c.isSpace(); }))
            finish();
    }
    finish();
}

// Gives a line its context from the reading; a line whose context changes is checked again.
PLSpellingBlockData *noteContext(const PLSpellingReading &reading, qsizetype index)
{
    PLSpellingBlockData *data = ensureSpellingData(reading.blocks.at(index));
    const bool open = index > 0 && reading.isOpenAt(reading.offsets.at(index));
    const PLSpellingContext context = open ? PLSpellingContext::Open : PLSpellingContext::Prose;
    if (data->context != context) {
        data->context = context;
        data->checked = false;
    }
    return data;
}

// Marks the misspelt words of a line that the delegate lets be marked.
void markMisspelledWords(PLTextView *view, const PLSpellingReading &reading, qsizetype index, PLSpellingBlockData *data)
{
    PLSpellChecker &checker = PLSpellChecker::sharedSpellChecker();
    PLTextViewDelegate *delegate = view->delegate();
    const QTextBlock &block = reading.blocks.at(index);
    const qsizetype offset = reading.offsets.at(index);
    data->marks.clear();
    for (const PLRange &word : checker.misspelledWordRanges(QStringView(reading.text).mid(offset, block.length() - 1))) {
        if (!reading.isProse(PLRange{offset + word.location, word.length}))
            continue;
        const qsizetype start = view->textLocation(block.position() + word.location);
        const PLRange range{start, view->textLocation(block.position() + word.end()) - start};
        const int state = delegate ? delegate->textViewShouldSetSpellingState(view, PLSpellingStateSpelling, range)
                                   : PLSpellingStateSpelling;
        if (state == PLSpellingStateSpelling)
            data->marks.append(word);
    }
    data->checked = true;
    data->generation = checker.generation();
}

VisibleBlocks visibleBlocks(const PLTextView *view)
{
    const QWidget *viewport = view->viewport();
    return VisibleBlocks{view->cursorForPosition(QPoint(0, 0)).block(),
                         view->cursorForPosition(QPoint(viewport->width(), viewport->height())).block()};
}
}

PLTextViewSpellChecker::PLTextViewSpellChecker(PLTextView *view) : QObject(view), m_view(view)
{
    m_checkTimer.setSingleShot(true);
    m_checkTimer.setInterval(0);
    connect(&m_checkTimer, &QTimer::timeout, this, &PLTextViewSpellChecker::checkVisibleText);
    connect(view->document(), &QTextDocument::contentsChange, this, &PLTextViewSpellChecker::textDidChange);
    // New lines in view are checked before they are drawn.
    connect(view->verticalScrollBar(), &QScrollBar::valueChanged, this, &PLTextViewSpellChecker::checkVisibleText);
    connect(view, &QPlainTextEdit::cursorPositionChanged, this, &PLTextViewSpellChecker::scheduleCheck);
    connect(view, &QPlainTextEdit::blockCountChanged, this, &PLTextViewSpellChecker::scheduleCheck);
    PLSpellChecker &checker = PLSpellChecker::sharedSpellChecker();
    connect(&checker, &PLSpellChecker::dictionaryDidLoad, this, &PLTextViewSpellChecker::scheduleCheck);
    view->viewport()->installEventFilter(this);
    scheduleCheck();
}

PLTextViewSpellChecker::~PLTextViewSpellChecker() = default;

void PLTextViewSpellChecker::textDidChange(int position, int, int charsAdded)
{
    const QTextDocument *document = m_view->document();
    const int end = qMin(position + charsAdded, document->characterCount() - 1);
    const QTextBlock first = document->findBlock(position);
    const QTextBlock last = document->findBlock(end);
    m_lastEditEnd = position + charsAdded;
    scheduleCheck();
    if (!first.isValid() || !last.isValid())
        return;
    for (QTextBlock block = first; block.isValid(); block = block.next()) {
        forgetSpelling(block);
        if (block == last)
            break;
    }
    // What the edit opened or closed (a "$", a brace) reaches the rest of its paragraph, unless
    // the line after it starts as it did before. Lines never read, or not since an edit above
    // them, are read in full when they come into view.
    QTextBlock next = last.next();
    const PLSpellingBlockData *nextData = spellingData(next);
    if (!nextData || nextData->context == PLSpellingContext::Unknown)
        return;
    bool openAfter = false;
    if (!isBlank(last)) {
        readLines(readingStart(first), last, [&](const PLSpellingReading &reading) {
            for (qsizetype i = 0; i < reading.blocks.size(); ++i)
                noteContext(reading, i);
            openAfter = reading.blocks.last() == last && reading.isOpenAtEnd();
        });
    }
    if (!openAfter && nextData->context == PLSpellingContext::Prose)
        return;
    for (int steps = 0; next.isValid() && steps <= PLSpellingParagraphLineLimit; next = next.next(), ++steps) {
        const PLSpellingBlockData *data = spellingData(next);
        if (!data || data->context == PLSpellingContext::Unknown)
            break;
        forgetSpelling(next);
        if (isBlank(next))
            break;
    }
}

bool PLTextViewSpellChecker::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize || event->type() == QEvent::Show)
        scheduleCheck();
    return QObject::eventFilter(watched, event);
}

void PLTextViewSpellChecker::scheduleCheck()
{
    m_checkTimer.start();
}

void PLTextViewSpellChecker::checkVisibleText()
{
    m_checkTimer.stop();
    PLSpellChecker &checker = PLSpellChecker::sharedSpellChecker();
    const auto hasMarks = [&checker](const PLSpellingBlockData *data) {
        return data && data->checked && data->generation == checker.generation() && data->context != PLSpellingContext::Unknown;
    };
    const VisibleBlocks visible = visibleBlocks(m_view);
    QTextBlock firstStale;
    QTextBlock lastStale;
    for (QTextBlock block = visible.first; block.isValid(); block = block.next()) {
        if (!hasMarks(spellingData(block))) {
            if (!firstStale.isValid())
                firstStale = block;
            lastStale = block;
        }
        if (block == visible.last)
            break;
    }
    if (firstStale.isValid()) {
        // Lines above the view are read for their context only.
        const int firstInView = visible.first.blockNumber();
        readLines(readingStart(firstStale), lastStale, [&](const PLSpellingReading &reading) {
            for (qsizetype i = 0; i < reading.blocks.size(); ++i) {
                PLSpellingBlockData *data = noteContext(reading, i);
                if (!hasMarks(data) && reading.blocks.at(i).blockNumber() >= firstInView)
                    markMisspelledWords(m_view, reading, i, data);
            }
        });
    }
    showMarks();
}

void PLTextViewSpellChecker::showMarks()
{
    QTextCharFormat format;
    format.setUnderlineStyle(QTextCharFormat::SpellCheckUnderline);
    format.setUnderlineColor(Qt::red);
    const QTextCursor caret = m_view->textCursor();
    const bool typing = !caret.hasSelection() && caret.position() == m_lastEditEnd;

    QList<QTextEdit::ExtraSelection> selections;
    QList<std::pair<int, int>> shown;
    const VisibleBlocks visible = visibleBlocks(m_view);
    for (QTextBlock block = visible.first; block.isValid(); block = block.next()) {
        if (const PLSpellingBlockData *data = spellingData(block)) {
            for (const PLRange &mark : data->marks) {
                const int start = block.position() + int(mark.location);
                const int end = start + int(mark.length);
                if (typing && caret.position() >= start && caret.position() <= end)
                    continue;
                shown.append({start, end});
            }
        }
        if (block == visible.last)
            break;
    }
    // The view's marks move with its text; handing over the same set again repaints every mark.
    QList<std::pair<int, int>> current;
    for (const QTextEdit::ExtraSelection &selection : m_view->extraSelections())
        current.append({selection.cursor.selectionStart(), selection.cursor.selectionEnd()});
    if (current == shown)
        return;
    for (const auto &[start, end] : std::as_const(shown)) {
        QTextCursor cursor(m_view->document());
        cursor.setPosition(start);
        cursor.setPosition(end, QTextCursor::KeepAnchor);
        selections.append(QTextEdit::ExtraSelection{cursor, format});
    }
    m_view->setExtraSelections(selections);
}

QList<PLRange> PLTextViewSpellChecker::markedRanges() const
{
    QList<PLRange> ranges;
    for (const QTextEdit::ExtraSelection &selection : m_view->extraSelections()) {
        if (selection.format.underlineStyle() != QTextCharFormat::SpellCheckUnderline)
            continue;
        const qsizetype start = m_view->textLocation(selection.cursor.selectionStart());
        ranges.append(PLRange{start, m_view->textLocation(selection.cursor.selectionEnd()) - start});
    }
    return ranges;
}
