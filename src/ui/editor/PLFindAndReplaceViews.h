#pragma once

#include <QAbstractButton>
#include <QPixmap>
#include <QWidget>

// The find bar's strip: its background image stretched over the whole bar.
class PLFindAndReplaceBackgroundView : public QWidget
{
    Q_OBJECT

public:
    explicit PLFindAndReplaceBackgroundView(QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QPixmap m_background;
};

// A flat button of the find bar drawn from the application's images: the images of the normal
// state, or those of the pressed state while the mouse holds it down, painted one over the other.
class PLFindAndReplaceButton : public QAbstractButton
{
    Q_OBJECT

public:
    PLFindAndReplaceButton(const QStringList &images, const QStringList &pressedImages, QWidget *parent = nullptr);

    // Find next (direction 1) or find previous (direction 0).
    static PLFindAndReplaceButton *findButton(qint32 direction, QWidget *parent = nullptr);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QList<QPixmap> m_images;
    QList<QPixmap> m_pressedImages;
};
