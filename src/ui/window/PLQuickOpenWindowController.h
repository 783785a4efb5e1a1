#pragma once

#include "ui/window/XSWindowController.h"

#include <QHash>
#include <QIcon>
#include <QLineEdit>
#include <QPointer>

#include <memory>

class PLOutlineNode;
class PLQuickOpenManager;
class QTableWidget;

// The quick-open search field: the up and down arrows move the choice in the results below it
// instead of the caret.
class PLQuickOpenSearchField : public QLineEdit
{
    Q_OBJECT

public:
    using QLineEdit::QLineEdit;

signals:
    void moveSelection(int step);

protected:
    void keyPressEvent(QKeyEvent *event) override;
};

// A small floating window over a project window: typing searches the project's files and
// headings by name, and Return hands the chosen one on. Escape, or leaving the window, closes it;
// the text and the results stay for the next time.
class PLQuickOpenWindowController : public XSWindowController
{
    Q_OBJECT

public:
    explicit PLQuickOpenWindowController(PLQuickOpenManager *quickOpenManager, QObject *parent = nullptr);
    ~PLQuickOpenWindowController() override;

    // Brings the window to the front with the focus in the field, centred over `over` when given;
    // a field already holding text searches again, so the results are fresh.
    void showWindow(QWidget *over = nullptr);
    // Hands the selected result to the delegate and closes; with nothing selected, nothing happens.
    void open();
    void fadeWindowOut();
    bool isShown() const { return m_shown; }

    PLQuickOpenSearchField *quickOpenTextField();
    QTableWidget *searchResults();

signals:
    void didChooseOutlineNode(const std::shared_ptr<PLOutlineNode> &node);

protected:
    QWidget *loadWindow() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void search();
    // Closes, giving the keys back to the window it was shown over.
    void dismiss();

    QPointer<QWidget> m_over;
    // Decoded once: every keystroke refills the whole list.
    QHash<QString, QIcon> m_icons;
    PLQuickOpenManager *m_quickOpenManager;
    PLQuickOpenSearchField *m_quickOpenTextField = nullptr;
    QTableWidget *m_searchResults = nullptr;
    bool m_shown = false;
};
