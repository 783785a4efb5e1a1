#pragma once

#include <QColor>
#include <QWidget>

#include <optional>

// The translucent band over the line that holds the caret. The text view places it; the band
// draws itself at 20% opacity in the line-highlight colours of the settings, follows their
// changes, and lets every click through to the text beneath.
class PLTextViewLineOverlayView : public QWidget
{
    Q_OBJECT

public:
    explicit PLTextViewLineOverlayView(const QRect &frame, QWidget *parent);
    ~PLTextViewLineOverlayView() override;

    static constexpr qreal overlayOpacity = 0.2;

    std::optional<QColor> backgroundColor() const { return m_backgroundColor; }
    std::optional<QColor> borderColor() const { return m_borderColor; }
    void updateColors();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    std::optional<QColor> m_backgroundColor;
    std::optional<QColor> m_borderColor;
};
