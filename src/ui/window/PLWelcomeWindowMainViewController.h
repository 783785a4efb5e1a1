#pragma once

#include "ui/window/XSViewController.h"

#include <QList>
#include <QUrl>

class PLWelcomeWindowController;
class PLWelcomeWindowRecentFilesTableView;
class QKeyEvent;
class QStandardItemModel;

// The content of the welcome window: the recent projects and the ways to start a new one or open
// another file. The recent list is the one that existed when the controller was made.
class PLWelcomeWindowMainViewController : public XSViewController
{
    Q_OBJECT

public:
    explicit PLWelcomeWindowMainViewController(PLWelcomeWindowController *windowController);
    ~PLWelcomeWindowMainViewController() override;

    const QList<QUrl> &recentFileURLS() const { return m_recentFileURLS; }
    PLWelcomeWindowRecentFilesTableView *recentFilesTableView() const { return m_recentFilesTableView; }

    int numberOfRowsInTableView() const { return int(m_recentFileURLS.size()); }
    // The file name of the recent URL, with its percent escapes decoded.
    QString objectValueForRow(int row) const;

    void makeUntitledDocument();
    void openAnotherFile();
    void gettingStartedWithPlumeo();
    void tableViewDidDoubleClickOnRow(PLWelcomeWindowRecentFilesTableView *tableView, int row);
    // Return opens the selected row; answers whether the key was used.
    bool keyDown(QKeyEvent *event);
    // Opens the recent project of the row; a row outside the list (no selection) opens nothing.
    bool openItemInRecentItemsListAtRow(int row);

protected:
    QWidget *loadView() override;
    void awakeFromNib() override;

private:
    PLWelcomeWindowController *welcomeWindowController() const;
    void closeWindowUnlessNothingOpened();

    QList<QUrl> m_recentFileURLS;
    PLWelcomeWindowRecentFilesTableView *m_recentFilesTableView = nullptr;
    QStandardItemModel *m_recentFilesModel = nullptr;
};
