#pragma once

#include "ui/window/XSWindowController.h"

class PLDocumentController;
class PLWelcomeWindowMainViewController;

// The small centred window shown when no project is open: recent projects, a new project, or
// another file through the open dialog.
class PLWelcomeWindowController : public XSWindowController
{
    Q_OBJECT

public:
    explicit PLWelcomeWindowController(PLDocumentController *documentController, QObject *parent = nullptr);
    ~PLWelcomeWindowController() override;

    PLDocumentController *documentController() const { return m_documentController; }
    PLWelcomeWindowMainViewController *mainViewController() const { return m_mainViewController; }

    // Puts the window away without it counting as the user's choice to leave.
    void close();

signals:
    // The user closed the window (its close button or the keyboard), not an opening choice.
    void windowClosedByUser();

protected:
    QWidget *loadWindow() override;
    void windowDidLoad() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    PLDocumentController *m_documentController;
    PLWelcomeWindowMainViewController *m_mainViewController = nullptr;
};
