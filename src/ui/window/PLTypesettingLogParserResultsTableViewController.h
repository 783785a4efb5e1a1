#pragma once

#include "core/typesetting/PLTypesettingLogFileParserItem.h"
#include "ui/window/XSViewController.h"

#include <QList>

#include <memory>

class PLDocument;
class PLLogItem;
class PLTitleBarButton;
class PLTitleBarView;
class PLTypesetterProgressViewController;
class QLabel;
class QTreeWidget;

// The list of the errors and warnings of the window's last typesetting job, in a pane below the
// editor: errors first, then warnings, each in the order the engine reported them. Choosing a
// row asks for its file at its line.
class PLTypesettingLogParserResultsTableViewController : public XSViewController
{
    Q_OBJECT

public:
    // The pane is never shorter than this when it appears.
    static constexpr int minimumHeight = 140;

    PLTypesettingLogParserResultsTableViewController(PLDocument *document, PLTypesetterProgressViewController *progress,
                                                     XSWindowController *windowController, QObject *parent = nullptr);
    ~PLTypesettingLogParserResultsTableViewController() override;

    QTreeWidget *errorOutlineTableView();
    PLTitleBarButton *closeButton() const { return m_closeButton; }
    // Advice on the job's errors: for the selected row when some matches it, else all of it.
    QLabel *adviceTextField();
    // The pane's height as the user last left it.
    int savedHeight() const { return m_savedHeight; }
    void setSavedHeight(int height) { m_savedHeight = qMax(height, minimumHeight); }

    // Takes the items of the last job; the selection is cleared.
    void reloadData();
    int numberOfRows() const { return int(m_items.size()); }
    std::shared_ptr<PLLogItem> itemAtIndex(int row) const;
    // Asks for the row's file at its line; nothing for an invalid row.
    void selectRow(int row);

    void displayErrorsAndWarningsOutline();
    void toggleErrorsAndWarningsOutline();

    void removeObservations() override;

signals:
    void displayView(PLTypesettingLogParserResultsTableViewController *controller);
    void hideView(PLTypesettingLogParserResultsTableViewController *controller);
    void didSelectItem(PLTypesettingLogParserResultsTableViewController *controller, std::shared_ptr<PLLogItem> item);

protected:
    QWidget *loadView() override;

private:
    // What the strategy reader of the engine's log advises for the job that just ended.
    QList<PLTypesettingLogFileParserItem> adviceForLastJob() const;
    void showAdvice();

    PLDocument *m_document;
    PLTypesetterProgressViewController *m_progress;
    // A copy taken at the end of a job: the next job refills the parser on its own thread.
    QList<std::shared_ptr<PLLogItem>> m_items;
    QList<PLTypesettingLogFileParserItem> m_advice;
    int m_savedHeight = minimumHeight;
    PLTitleBarView *m_titleBarView = nullptr;
    PLTitleBarButton *m_closeButton = nullptr;
    QTreeWidget *m_errorOutlineTableView = nullptr;
    QLabel *m_adviceTextField = nullptr;
};
