#include "PLPreferencesPaneViewController.h"

#include "PLPreferencesWindowController.h"

PLPreferencesPaneViewController::PLPreferencesPaneViewController(const QString &nibName,
                                                                 PLPreferencesWindowController *windowController)
    : XSViewController(nibName, windowController)
{
}
