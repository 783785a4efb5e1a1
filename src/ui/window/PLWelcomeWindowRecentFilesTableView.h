#pragma once

#include <QTableView>

class PLWelcomeWindowMainViewController;

// The welcome window's list of recent projects: a double click or the Return key opens a row.
class PLWelcomeWindowRecentFilesTableView : public QTableView
{
    Q_OBJECT

public:
    explicit PLWelcomeWindowRecentFilesTableView(QWidget *parent = nullptr);

    PLWelcomeWindowMainViewController *delegate() const { return m_delegate; }
    void setDelegate(PLWelcomeWindowMainViewController *delegate) { m_delegate = delegate; }
    // The selected row, or -1 when nothing is selected.
    int selectedRow() const;

    // The double-click action: tells the delegate which row was clicked.
    void openSelectedRecentURL(int clickedRow);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    PLWelcomeWindowMainViewController *m_delegate = nullptr;
};
