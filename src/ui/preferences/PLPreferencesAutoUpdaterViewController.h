#pragma once

#include "ui/preferences/PLPreferencesPaneViewController.h"

// Where updates come from. Plumeo does not update itself on Linux: the distribution's package
// manager does, as for the rest of the system, and the pane says so.
class PLPreferencesAutoUpdaterViewController : public PLPreferencesPaneViewController
{
    Q_OBJECT

public:
    explicit PLPreferencesAutoUpdaterViewController(PLPreferencesWindowController *windowController);

protected:
    QWidget *loadView() override;
};
