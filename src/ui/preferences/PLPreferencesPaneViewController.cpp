#include "ui/preferences/PLPreferencesPaneViewController.h"

#include "ui/preferences/PLPreferencesWindowController.h"

PLPreferencesPaneViewController::PLPreferencesPaneViewController(const QString &nibName,
                                                                 PLPreferencesWindowController *windowController)
    : XSViewController(nibName, windowController)
{
}
