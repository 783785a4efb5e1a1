#include "ui/editor/PLLineNumbersRulerView.h"

#include "core/foundation/PLStringLineCalculations.h"

#include "core/editor/PLTextContentBuffer.h"
#include "ui/editor/PLTextView.h"

#include <QApplication>
#include <QEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QTextBlock>
#include <QTimer>

#include <algorithm>
#include <cmath>

namespace {
constexpr qreal PLRulerMinimumThickness = 22.0;
constexpr qreal PLRulerLabelMargin = 5.0;
// The size the label font has beside the small controls of the window.
constexpr qreal PLRulerLabelPointSize = 9.0;
}

PLLineNumbersRulerView::PLLineNumbersRulerView(PLTextView *scrollView)
    : QWidget(scrollView), m_textColor(QColor::fromRgbF(1.0 / 3, 1.0 / 3, 1.0 / 3))
{
    QFont labelFont = QApplication::font();
    labelFont.setPointSizeF(PLRulerLabelPointSize);
    setFont(labelFont);
    setClientView(scrollView);
    setRuleThickness(thicknessForLineCount(qsizetype(m_lines.indicesForText(scrollView->contentBuffer()->characters()).size())));
}

PLLineNumbersRulerView::~PLLineNumbersRulerView() = default;

void PLLineNumbersRulerView::setClientView(PLTextView *view)
{
    if (m_clientView) {
        disconnect(m_editConnection);
        disconnect(m_clientView, nullptr, this, nullptr);
        disconnect(m_clientView->verticalScrollBar(), nullptr, this, nullptr);
        m_clientView->removeEventFilter(this);
    }
    m_clientView = view;
    invalidateLineIndices();
    if (!view)
        return;
    m_editConnection = connect(view->contentBuffer(), &PLTextContentBuffer::didProcessEditing, this,
                               &PLLineNumbersRulerView::textDidChange);
    // Scrolling and every repaint of the text repaint the same stretch of the ruler.
    connect(view, &QPlainTextEdit::updateRequest, this, [this](const QRect &rect, int dy) {
        if (dy != 0)
            update();
        else
            update(0, rect.y(), width(), rect.height());
    });
    connect(view->verticalScrollBar(), &QScrollBar::valueChanged, this, qOverload<>(&QWidget::update));
    view->installEventFilter(this);
    placeInClientView();
}

void PLLineNumbersRulerView::textDidChange(PLRange editedRange, qsizetype changeInLength)
{
    m_lines.noteReplacement(editedRange, changeInLength);
    // Typing within a line moves no line number; the text view's own repaint covers that line.
    const bool removed = editedRange.length != changeInLength;
    const PLGapBuffer &text = m_clientView->contentBuffer()->characters();
    bool newLines = false;
    for (qsizetype i = editedRange.location; i < editedRange.end() && !newLines; ++i)
        newLines = PLStringLineCalculations::isLineTerminator(text.at(i));
    if (removed || newLines)
        update();
}

const std::vector<qsizetype> &PLLineNumbersRulerView::lineIndices()
{
    if (!m_clientView)
        return m_noLines;
    const bool computing = m_lines.needsUpdate();
    const std::vector<qsizetype> &indices = m_lines.indicesForText(m_clientView->contentBuffer()->characters());
    if (computing)
        refreshThicknessIfNeeded(qsizetype(indices.size()));
    return indices;
}

void PLLineNumbersRulerView::invalidateLineIndices()
{
    m_lines.invalidate();
}

qsizetype PLLineNumbersRulerView::lineNumberForCharacterIndex(qsizetype location)
{
    return PLLineIndices::lineNumberForCharacterIndex(lineIndices(), location);
}

qreal PLLineNumbersRulerView::requiredThickness()
{
    return thicknessForLineCount(qsizetype(lineIndices().size()));
}

qreal PLLineNumbersRulerView::thicknessForLineCount(qsizetype count) const
{
    count = std::max<qsizetype>(1, count);
    const int digits = int(std::floor(std::log10(double(count)))) + 1;
    const qreal measured = QFontMetricsF(font()).horizontalAdvance(QString(digits, u'8'));
    return std::ceil(std::max(PLRulerMinimumThickness, measured + 2 * PLRulerLabelMargin));
}

void PLLineNumbersRulerView::refreshThicknessIfNeeded(qsizetype lineCount)
{
    if (m_thicknessChangePending || std::abs(m_ruleThickness - thicknessForLineCount(lineCount)) <= 1.0)
        return;
    // Never resize while drawing: the text view's margin changes on the next turn of the loop.
    m_thicknessChangePending = true;
    QTimer::singleShot(0, this, [this] {
        const qreal thickness = requiredThickness();
        m_thicknessChangePending = false;
        setRuleThickness(thickness);
    });
}

void PLLineNumbersRulerView::setRuleThickness(qreal thickness)
{
    m_ruleThickness = thickness;
    placeInClientView();
}

void PLLineNumbersRulerView::placeInClientView()
{
    if (!m_clientView)
        return;
    const int thickness = int(std::ceil(m_ruleThickness));
    m_clientView->setViewportMargins(thickness, 0, 0, 0);
    const QRect area = m_clientView->contentsRect();
    setGeometry(area.left(), area.top(), thickness, area.height());
    update();
}

void PLLineNumbersRulerView::setTextColor(const QColor &color)
{
    m_textColor = color;
    update();
}

void PLLineNumbersRulerView::setBackgroundColor(const std::optional<QColor> &color)
{
    m_backgroundColor = color;
    update();
}

bool PLLineNumbersRulerView::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_clientView && event->type() == QEvent::Resize)
        placeInClientView();
    return QWidget::eventFilter(watched, event);
}

void PLLineNumbersRulerView::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::FontChange) {
        m_labelTexts.clear();
        if (m_clientView)
            refreshThicknessIfNeeded(qsizetype(lineIndices().size()));
    }
    QWidget::changeEvent(event);
}

void PLLineNumbersRulerView::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    drawHashMarksAndLabelsInRect(painter, event->rect());
}

void PLLineNumbersRulerView::drawHashMarksAndLabelsInRect(QPainter &painter, const QRect &rect)
{
    const QRectF bounds = QRectF(this->rect());
    if (m_backgroundColor) {
        painter.fillRect(bounds, *m_backgroundColor);
        painter.setPen(QColor::fromRgbF(0.58, 0.58, 0.58, 1.0));
        painter.drawLine(QPointF(bounds.right(), bounds.bottom()), QPointF(bounds.right() - 0.5, bounds.top()));
    }
    painter.setFont(font());
    painter.setPen(m_textColor);
    const qreal ascent = QFontMetricsF(font()).ascent();
    for (const Label &label : labelsInRect(rect))
        painter.drawStaticText(label.baseline - QPointF(0, ascent), labelText(label.lineNumber));
}

QList<PLLineNumbersRulerView::Label> PLLineNumbersRulerView::labelsInRect(const QRect &rect)
{
    QList<Label> labels;
    if (!m_clientView)
        return labels;
    const std::vector<qsizetype> &indices = lineIndices();
    const qsizetype count = qsizetype(indices.size());

    // The characters shown across the rectangle, from its top-left to its bottom-right in the
    // viewport: a repaint of one row looks at the lines of that row only.
    const QWidget *viewport = m_clientView->viewport();
    const int top = std::max(0, rect.top());
    const int bottom = std::min(viewport->height(), rect.bottom());
    const qsizetype first = m_clientView->textLocation(m_clientView->cursorForPosition(QPoint(0, top)).position());
    const qsizetype last = m_clientView->textLocation(m_clientView->cursorForPosition(QPoint(viewport->width(), bottom)).position());
    const PLRange visible{first, last - first};

    // Rows are found the way the view stacks its blocks: the first block in view is placed by
    // the view, each further one below the one before it. Asking the view for every row would
    // walk down from the top of the view each time.
    const QTextDocument *document = m_clientView->document();
    QAbstractTextDocumentLayout *layout = document->documentLayout();
    QTextBlock block;
    qreal blockTop = 0;
    const QFontMetricsF metrics(font());
    const qreal labelHeight = metrics.height();
    const qreal rulerWidth = width();
    for (qsizetype i = PLLineIndices::lineNumberForCharacterIndex(indices, visible.location); i < count; ++i) {
        const qsizetype start = indices[i];
        if (start > visible.location + visible.length + 1)
            break;
        // A line whose first row lies above (scrolled away) gets no label here.
        if (start < visible.location || start - visible.location >= visible.length + 1)
            continue;
        const int position = int(m_clientView->mirrorPosition(start));
        const QTextBlock target = document->findBlock(position);
        if (!target.isValid() || !target.layout() || target.layout()->lineCount() == 0)
            continue;
        if (!block.isValid()) {
            QTextCursor blockStart(target);
            block = target;
            blockTop = m_clientView->cursorRect(blockStart).top() - target.layout()->lineAt(0).y();
        }
        for (; block.isValid() && block != target; block = block.next())
            blockTop += layout->blockBoundingRect(block).height();
        const QTextLine row = target.layout()->lineForTextPosition(position - target.position());
        const qreal rowTop = blockTop + row.y();
        if (rowTop + row.height() >= rect.top() && rowTop <= rect.bottom()) {
            const qreal labelTop = rowTop + (row.height() - labelHeight) / 2;
            labels.append(
                Label{i + 1, QPointF(rulerWidth - labelText(i + 1).size().width() - PLRulerLabelMargin, labelTop + metrics.ascent())});
        }
    }
    return labels;
}

const QStaticText &PLLineNumbersRulerView::labelText(qsizetype lineNumber)
{
    // Laid out once and kept: shaping the digits anew on every repaint costs more than the rest
    // of the ruler together. A screenful of numbers is kept many times over.
    constexpr qsizetype keptLabels = 4096;
    auto known = m_labelTexts.find(lineNumber);
    if (known == m_labelTexts.end()) {
        if (m_labelTexts.size() >= keptLabels)
            m_labelTexts.clear();
        QStaticText text(QString::number(lineNumber));
        text.setTextFormat(Qt::PlainText);
        text.prepare(QTransform(), font());
        known = m_labelTexts.insert(lineNumber, text);
    }
    return *known;
}
