#pragma once

#include "ui/window/PLTitleBarButtonCell.h"

#include <QAbstractButton>

// A small square button of an editor pane's title bar.
class PLTitleBarButton : public QAbstractButton
{
    Q_OBJECT

public:
    explicit PLTitleBarButton(qint32 type, QWidget *parent = nullptr);

    const PLTitleBarButtonCell &cell() const { return m_cell; }
    // Shows another image of the resources as the button's icon.
    void setImageNamed(const QString &fileName);
    const QString &imageName() const { return m_imageName; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;

private:
    PLTitleBarButtonCell m_cell;
    QString m_imageName;
    bool m_hovered = false;
};
