#pragma once

#include "ui/window/XSViewController.h"

class PLPreferencesWindowController;

// A pane of the preferences window. Most panes store each change the moment it is made; a pane
// that keeps typed text until the window closes stores it in saveData, which the window calls
// on every pane as it closes.
class PLPreferencesPaneViewController : public XSViewController
{
    Q_OBJECT

public:
    PLPreferencesPaneViewController(const QString &nibName, PLPreferencesWindowController *windowController);

    virtual void saveData() {}
};
