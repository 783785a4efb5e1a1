#pragma once

#include <QWidget>

// Fills a pane that shows the PDF until the project has been typeset.
class PLNoPDFFoundView : public QWidget
{
    Q_OBJECT

public:
    explicit PLNoPDFFoundView(QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};
