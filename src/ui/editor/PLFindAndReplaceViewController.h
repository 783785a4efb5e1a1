#pragma once

#include "ui/window/XSViewController.h"

class PLFindAndReplaceButton;
class PLFindAndReplaceViewController;
class QAction;
class QLabel;
class QLineEdit;
class QMenu;
class QPushButton;
class QToolButton;

// Shows and hides the find bar for its controller.
class PLFindAndReplaceUIDelegate
{
public:
    virtual ~PLFindAndReplaceUIDelegate() = default;
    virtual void findAndReplaceViewControllerWillDisplayView(PLFindAndReplaceViewController *controller, QWidget *view) = 0;
    virtual void findAndReplaceViewControllerWillHideView(PLFindAndReplaceViewController *controller, QWidget *view) = 0;
};

// Runs the bar's searches and replacements wherever the text is shown.
class PLFindAndReplaceViewControllerDelegate
{
public:
    virtual ~PLFindAndReplaceViewControllerDelegate() = default;
    // Direction 1 searches forwards, 0 backwards.
    virtual void findAndReplaceViewControllerDidSearchForString(PLFindAndReplaceViewController *controller, const QString &string,
                                                                qint32 direction) = 0;
    virtual void findAndReplaceViewControllerDidRequestStringReplacement(PLFindAndReplaceViewController *controller,
                                                                         const QString &replacement) = 0;
    // The selected text where the search runs, or "" when nothing is selected.
    virtual QString findAndReplaceViewControllerDidRequestStringInSelectedRange(PLFindAndReplaceViewController *controller) = 0;
};

// The find bar: a find field, a replace field and their buttons. It only gathers what the user
// asks for and hands it on; the delegates do the work.
class PLFindAndReplaceViewController : public XSViewController
{
    Q_OBJECT

public:
    // The tags of the find menu items.
    enum Tag {
        ShowFind = 1,
        FindNext = 2,
        FindPrevious = 3,
        ReplaceAll = 4,
        Replace = 5,
        ReplaceAndFind = 6,
        UseSelectionForFind = 7,
    };

    explicit PLFindAndReplaceViewController(XSWindowController *windowController, QObject *parent = nullptr);
    ~PLFindAndReplaceViewController() override;

    void setUiDelegate(PLFindAndReplaceUIDelegate *delegate) { m_uiDelegate = delegate; }
    void setDelegate(PLFindAndReplaceViewControllerDelegate *delegate) { m_delegate = delegate; }

    // A find menu item or key, told apart by its tag.
    void performFindAndReplaceAction(int tag);
    bool isShown();
    void hideFindAndReplacePanel();
    void search(qint32 direction);
    void replace();
    // Held modifiers relabel the replace button; every label still replaces the selection once.
    void flagsChanged(Qt::KeyboardModifiers modifiers);

    QLineEdit *findTextField();
    QLineEdit *replaceTextField();
    QPushButton *replaceButton();
    PLFindAndReplaceButton *findNextButton();
    PLFindAndReplaceButton *findPreviousButton();
    PLFindAndReplaceButton *closeButton();
    QToolButton *searchOptionsButton();
    // The bar's own settings menu, popped up by a right click on the options button. Like the
    // button's menu it only names what every search does.
    QMenu *searchOptionsMenu();
    // Where the settings menu may open, on the screen: below the options button, as wide and as
    // tall as the menu and its scope submenu together.
    QRect confinementRectForMenu();
    void popUpSearchOptionsMenu();
    QLabel *searchResultsCountLabel();
    // The bar keeps no list of results, so the count stays at nought.
    int searchResultsCountFromLastSearch() const { return m_searchResultsCountFromLastSearch; }

protected:
    QWidget *loadView() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void display();
    void buildSearchOptionsMenu(QWidget *view);
    void placeFindButtons();
    void refreshCountLabel();

    PLFindAndReplaceUIDelegate *m_uiDelegate = nullptr;
    PLFindAndReplaceViewControllerDelegate *m_delegate = nullptr;
    QLineEdit *m_findTextField = nullptr;
    QLineEdit *m_replaceTextField = nullptr;
    QPushButton *m_replaceButton = nullptr;
    PLFindAndReplaceButton *m_findNextButton = nullptr;
    PLFindAndReplaceButton *m_findPreviousButton = nullptr;
    PLFindAndReplaceButton *m_closeButton = nullptr;
    QToolButton *m_searchOptionsButton = nullptr;
    QLabel *m_searchResultsCountLabel = nullptr;
    QMenu *m_searchOptionsMenu = nullptr;
    QMenu *m_searchScopeSubMenu = nullptr;
    int m_searchResultsCountFromLastSearch = 0;
};
