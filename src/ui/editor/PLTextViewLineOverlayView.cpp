#include "ui/editor/PLTextViewLineOverlayView.h"

#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"
#include "ui/editor/PLQColor.h"

#include <QPainter>

namespace {
std::optional<QColor> colorSetting(const QString &key)
{
    const auto color = PLUserDefaults::standardUserDefaults().colorForKey(key);
    return color ? std::optional<QColor>(PLQColor(*color)) : std::nullopt;
}

// A border drawn over the background inside the band, the way the band's own layer would hold it
// before the whole band is blended at its opacity.
QColor composited(const QColor &top, const std::optional<QColor> &bottom)
{
    if (!bottom)
        return top;
    const qreal topAlpha = top.alphaF();
    const qreal bottomAlpha = bottom->alphaF() * (1 - topAlpha);
    const qreal alpha = topAlpha + bottomAlpha;
    if (alpha <= 0)
        return Qt::transparent;
    const auto mix = [&](qreal t, qreal b) { return (t * topAlpha + b * bottomAlpha) / alpha; };
    return QColor::fromRgbF(float(mix(top.redF(), bottom->redF())), float(mix(top.greenF(), bottom->greenF())),
                            float(mix(top.blueF(), bottom->blueF())), float(alpha));
}
}

PLTextViewLineOverlayView::PLTextViewLineOverlayView(const QRect &frame, QWidget *parent) : QWidget(parent)
{
    setGeometry(frame);
    // Clicks, wheel turns and tooltips belong to the text beneath.
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    updateColors();
    PLNotificationCenter::defaultCenter().addObserver(this, PLNotificationEditorLineHighlightColorDidChange, nullptr,
                                                      [this](const PLNotification &) {
                                                          updateColors();
                                                          update();
                                                      });
}

PLTextViewLineOverlayView::~PLTextViewLineOverlayView()
{
    PLNotificationCenter::defaultCenter().removeObserver(this);
}

void PLTextViewLineOverlayView::updateColors()
{
    m_backgroundColor = colorSetting(PLUserDefaultsEditorColorLineHighlighter);
    m_borderColor = colorSetting(PLUserDefaultsEditorColorLineHighlighterBorders);
}

void PLTextViewLineOverlayView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setOpacity(overlayOpacity);
    const QRectF bounds = rect();
    const QRectF top(bounds.left(), bounds.top(), bounds.width(), 1.0);
    const QRectF bottom(bounds.left(), bounds.bottom() - 1.0, bounds.width(), 1.0);
    if (m_backgroundColor)
        painter.fillRect(bounds.adjusted(0, m_borderColor ? 1.0 : 0, 0, m_borderColor ? -1.0 : 0), *m_backgroundColor);
    if (m_borderColor) {
        const QColor strip = composited(*m_borderColor, m_backgroundColor);
        painter.fillRect(top, strip);
        painter.fillRect(bottom, strip);
    }
}
