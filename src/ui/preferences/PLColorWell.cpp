#include "ui/preferences/PLColorWell.h"

#include "ui/preferences/PLColorWellDelegate.h"
#include "core/foundation/PLUserDefaults.h"
#include "ui/editor/PLQColor.h"

#include <QColorDialog>
#include <QPainter>

PLColorWell::PLColorWell(QWidget *parent) : QPushButton(parent)
{
    setFocusPolicy(Qt::TabFocus);
    connect(this, &QPushButton::clicked, this, &PLColorWell::activate);
}

void PLColorWell::setUserDefaultsKey(const QString &key)
{
    m_userDefaultsKey = key;
    setColor(PLUserDefaults::standardUserDefaults().colorForKey(key));
}

void PLColorWell::setColor(const std::optional<PLColor> &color)
{
    m_color = color;
    update();
    if (!m_userDefaultsKey.isEmpty() && color) {
        PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
        defaults.setColor(*color, m_userDefaultsKey);
        defaults.synchronize();
    }
    if (m_delegate)
        m_delegate->colorWellDidChangeColor(this, color);
}

void PLColorWell::activate()
{
    if (m_colorDialog) {
        m_colorDialog->raise();
        return;
    }
    m_colorDialog = new QColorDialog(m_color ? PLQColor(*m_color) : QColor(Qt::white), this);
    m_colorDialog->setAttribute(Qt::WA_DeleteOnClose);
    // Qt's own dialog, so the transparency control is always there.
    m_colorDialog->setOptions(QColorDialog::ShowAlphaChannel | QColorDialog::DontUseNativeDialog);
    m_colorDialog->setWindowTitle(toolTip().isEmpty() ? tr("Choose a Color") : toolTip());
    connect(m_colorDialog, &QColorDialog::colorSelected, this, [this](const QColor &chosen) {
        setColor(PLColor::rgb(chosen.redF(), chosen.greenF(), chosen.blueF(), chosen.alphaF()));
    });
    m_colorDialog->open();
}

QSize PLColorWell::sizeHint() const
{
    return QSize(46, 26);
}

void PLColorWell::paintEvent(QPaintEvent *event)
{
    QPushButton::paintEvent(event);
    QPainter painter(this);
    const QRect swatch = rect().adjusted(7, 6, -7, -6);
    if (m_color) {
        // A checkerboard under the colour shows how transparent it is.
        const int square = 4;
        painter.save();
        painter.setClipRect(swatch);
        painter.fillRect(swatch, Qt::white);
        for (int y = swatch.top(); y <= swatch.bottom(); y += square) {
            for (int x = swatch.left() + ((y - swatch.top()) / square % 2) * square; x <= swatch.right(); x += 2 * square)
                painter.fillRect(QRect(x, y, square, square), QColor(0xcc, 0xcc, 0xcc));
        }
        painter.fillRect(swatch, PLQColor(*m_color));
        painter.restore();
    } else {
        painter.setPen(QPen(palette().color(QPalette::Mid), 1.5));
        painter.drawLine(swatch.bottomLeft(), swatch.topRight());
    }
    painter.setPen(palette().color(isEnabled() ? QPalette::Dark : QPalette::Mid));
    painter.drawRect(swatch.adjusted(0, 0, -1, -1));
}
