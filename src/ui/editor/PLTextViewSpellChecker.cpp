#include "ui/editor/PLTextViewSpellChecker.h"

#include "ui/editor/PLSpellChecker.h"
#include "ui/editor/PLTextView.h"
#include "ui/editor/PLTextViewDelegate.h"

#include <QEvent>
#include <QHash>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextBlockUserData>

#include <algorithm>

namespace {
// The marks of one line of the mirror, relative to the line's start, and whether they still
// stand: a line is checked again after an edit in it or once the dictionary has changed.
class PLSpellingBlockData : public QTextBlockUserData
{
public:
    bool checked = false;
    int generation = -1;
    QList<PLRange> marks;
};

PLSpellingBlockData *spellingData(const QTextBlock &block)
{
    return dynamic_cast<PLSpellingBlockData *>(block.userData());
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

bool isBlank(const QTextBlock &block)
{
    return block.text().trimmed().isEmpty();
}

QTextBlock paragraphStart(QTextBlock block)
{
    for (int steps = 0; steps < PLSpellingParagraphLineLimit && block.previous().isValid() && !isBlank(block.previous()); ++steps)
        block = block.previous();
    return block;
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
    const QTextBlock last = document->findBlock(position + charsAdded);
    // What the edit opened or closed (a "$", a brace) reaches the rest of its paragraph.
    bool pastEdit = false;
    int steps = 0;
    for (QTextBlock block = document->findBlock(position); block.isValid(); block = block.next()) {
        if (pastEdit && (isBlank(block) || ++steps > PLSpellingParagraphLineLimit))
            break;
        if (PLSpellingBlockData *data = spellingData(block))
            data->checked = false;
        if (block == last)
            pastEdit = true;
    }
    m_lastEditEnd = position + charsAdded;
    scheduleCheck();
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
    PLTextViewDelegate *delegate = m_view->delegate();
    const VisibleBlocks visible = visibleBlocks(m_view);
    const auto needsCheck = [&checker](const QTextBlock &block) {
        const PLSpellingBlockData *data = spellingData(block);
        return !data || !data->checked || data->generation != checker.generation();
    };
    bool anyToCheck = false;
    for (QTextBlock block = visible.first; block.isValid() && !anyToCheck; block = block.next()) {
        anyToCheck = needsCheck(block);
        if (block == visible.last)
            break;
    }
    if (!anyToCheck) {
        showMarks();
        return;
    }

    // The paragraph up to the last line in view, one line feed between lines, read for its
    // mathematics and non-prose arguments.
    QString paragraph;
    QHash<int, qsizetype> blockOffsets;
    for (QTextBlock block = paragraphStart(visible.first); block.isValid(); block = block.next()) {
        blockOffsets.insert(block.blockNumber(), paragraph.size());
        paragraph += block.text() + QLatin1Char('\n');
        if (block == visible.last)
            break;
    }
    const QList<PLRange> nonProse = PLSpellChecker::nonProseRanges(paragraph);
    const auto isProse = [&nonProse](PLRange word) {
        const auto after = std::lower_bound(nonProse.begin(), nonProse.end(), word.location,
                                            [](const PLRange &range, qsizetype location) { return range.end() <= location; });
        return after == nonProse.end() || after->location >= word.end();
    };

    for (QTextBlock block = visible.first; block.isValid(); block = block.next()) {
        PLSpellingBlockData *data = spellingData(block);
        if (!data) {
            data = new PLSpellingBlockData;
            block.setUserData(data);
        }
        if (needsCheck(block)) {
            data->marks.clear();
            const QString text = block.text();
            const qsizetype offset = blockOffsets.value(block.blockNumber());
            for (const PLRange &word : checker.misspelledWordRanges(text)) {
                if (!isProse(PLRange{offset + word.location, word.length}))
                    continue;
                const qsizetype start = m_view->textLocation(block.position() + word.location);
                const PLRange range{start, m_view->textLocation(block.position() + word.end()) - start};
                const int state = delegate ? delegate->textViewShouldSetSpellingState(m_view, PLSpellingStateSpelling, range)
                                           : PLSpellingStateSpelling;
                if (state == PLSpellingStateSpelling)
                    data->marks.append(word);
            }
            data->checked = true;
            data->generation = checker.generation();
        }
        if (block == visible.last)
            break;
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
