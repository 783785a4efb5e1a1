#pragma once

#include "ui/preferences/PLPreferencesPaneViewController.h"

class PLPreferencesEncodingComboBox;

// The encoding files are read and saved in, chosen the same way as on the advanced pane.
class PLPreferencesFilesViewController : public PLPreferencesPaneViewController
{
    Q_OBJECT

public:
    explicit PLPreferencesFilesViewController(PLPreferencesWindowController *windowController);

    PLPreferencesEncodingComboBox *encodingComboBox();

protected:
    QWidget *loadView() override;

private:
    PLPreferencesEncodingComboBox *m_encodingComboBox = nullptr;
};
