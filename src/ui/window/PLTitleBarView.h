#pragma once

#include <QPixmap>
#include <QWidget>

class QHBoxLayout;

// The thin strip above an editor pane that holds its title and its small buttons.
class PLTitleBarView : public QWidget
{
    Q_OBJECT

public:
    explicit PLTitleBarView(QWidget *parent = nullptr);

    static constexpr int height = 22;

    // Lays the bar's contents in a row from leftMargin to 2 points from its right edge.
    QHBoxLayout *makeRowLayout(int leftMargin);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QPixmap m_background;
};
