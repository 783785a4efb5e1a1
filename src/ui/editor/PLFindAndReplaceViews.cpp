#include "ui/editor/PLFindAndReplaceViews.h"

#include "ui/window/PLResourceImage.h"

#include <QPainter>

namespace {
QList<QPixmap> imagesNamed(const QStringList &names)
{
    QList<QPixmap> images;
    for (const QString &name : names)
        images << PLResourceImage(name);
    return images;
}
}

PLFindAndReplaceBackgroundView::PLFindAndReplaceBackgroundView(QWidget *parent)
    : QWidget(parent), m_background(PLResourceImage(QStringLiteral("findAndReplaceBarBackground.png")))
{
}

void PLFindAndReplaceBackgroundView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.drawPixmap(rect(), m_background);
}

PLFindAndReplaceButton::PLFindAndReplaceButton(const QStringList &images, const QStringList &pressedImages, QWidget *parent)
    : QAbstractButton(parent), m_images(imagesNamed(images)), m_pressedImages(imagesNamed(pressedImages))
{
    setFocusPolicy(Qt::NoFocus);
}

PLFindAndReplaceButton *PLFindAndReplaceButton::findButton(qint32 direction, QWidget *parent)
{
    const QString name = direction == 1 ? QStringLiteral("findANdReplaceFindNextButton")
                                        : QStringLiteral("findANdReplaceFindPreviousButton");
    return new PLFindAndReplaceButton({name + QStringLiteral(".png")}, {name + QStringLiteral("Pressed.png")}, parent);
}

QSize PLFindAndReplaceButton::sizeHint() const
{
    return m_images.isEmpty() ? QSize(28, 22) : m_images.first().deviceIndependentSize().toSize();
}

void PLFindAndReplaceButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    for (const QPixmap &image : isDown() ? m_pressedImages : m_images) {
        QRect area(QPoint(0, 0), image.deviceIndependentSize().toSize());
        area.moveCenter(rect().center());
        painter.drawPixmap(area, image);
    }
}
