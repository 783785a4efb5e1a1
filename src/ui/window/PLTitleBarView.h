#pragma once

#include <QPixmap>
#include <QWidget>

// The thin strip above an editor pane that holds its title and its small buttons.
class PLTitleBarView : public QWidget
{
    Q_OBJECT

public:
    explicit PLTitleBarView(QWidget *parent = nullptr);

    static constexpr int height = 22;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QPixmap m_background;
};
