#pragma once

#include <QDialog>

// The about panel: what Plumeo is, its version and licence, and the libraries it is built on.
class PLAboutPanel : public QDialog
{
    Q_OBJECT

public:
    explicit PLAboutPanel(QWidget *parent = nullptr);
};
