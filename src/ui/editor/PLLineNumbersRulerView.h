#pragma once

#include "core/editor/PLLineIndices.h"
#include "core/foundation/PLRange.h"

#include <QColor>
#include <QHash>
#include <QList>
#include <QPointF>
#include <QPointer>
#include <QStaticText>
#include <QWidget>

#include <optional>
#include <vector>

class PLTextView;

// The line numbers beside an editor text view: logical lines, not wrapped rows, each numbered on
// its first row. The ruler sits in the text view's left viewport margin and widens as the line
// count gains digits. Its line list follows the edits of the shown buffer lazily: edits are
// noted as they arrive and folded in when the ruler next draws; a change of width waits for the
// next turn of the event loop, never for the drawing in progress.
class PLLineNumbersRulerView : public QWidget
{
    Q_OBJECT

public:
    // A vertical ruler for the text view, installed in its left margin.
    explicit PLLineNumbersRulerView(PLTextView *scrollView);
    ~PLLineNumbersRulerView() override;

    PLTextView *clientView() const { return m_clientView; }
    void setClientView(PLTextView *view);

    // The first character of every line of the client's text; the empty list without a client.
    const std::vector<qsizetype> &lineIndices();
    void invalidateLineIndices();
    // The index in the line list of the line that holds the location.
    qsizetype lineNumberForCharacterIndex(qsizetype location);

    // Wide enough for the digits of the line count in the label font, and at least 22 pixels.
    qreal requiredThickness();
    qreal ruleThickness() const { return m_ruleThickness; }
    void setRuleThickness(qreal thickness);

    // A line number as drawn: where its text starts (left end of the baseline) in the ruler.
    struct Label
    {
        qsizetype lineNumber;
        QPointF baseline;
    };
    // The labels of the lines whose first row is in view and crosses the rectangle.
    QList<Label> labelsInRect(const QRect &rect);

    QColor textColor() const { return m_textColor; }
    void setTextColor(const QColor &color);
    std::optional<QColor> backgroundColor() const { return m_backgroundColor; }
    void setBackgroundColor(const std::optional<QColor> &color);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void textDidChange(PLRange editedRange, qsizetype changeInLength);
    qreal thicknessForLineCount(qsizetype count) const;
    void refreshThicknessIfNeeded(qsizetype lineCount);
    void placeInClientView();
    void drawHashMarksAndLabelsInRect(QPainter &painter, const QRect &rect);
    const QStaticText &labelText(qsizetype lineNumber);

    QPointer<PLTextView> m_clientView;
    QMetaObject::Connection m_editConnection;
    PLLineIndices m_lines;
    std::vector<qsizetype> m_noLines;
    qreal m_ruleThickness = 0;
    bool m_thicknessChangePending = false;
    QColor m_textColor;
    std::optional<QColor> m_backgroundColor;
    QHash<qsizetype, QStaticText> m_labelTexts;
};
