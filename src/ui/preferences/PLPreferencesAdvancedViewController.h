#pragma once

#include "ui/preferences/PLPreferencesPaneViewController.h"

class PLPreferencesEncodingComboBox;
class QButtonGroup;
class QCheckBox;
class QLineEdit;

// The typesetting settings: the engine for files that do not ask for one, the folder of the TeX
// programs, the encoding of files, and whether documents may run other programs. Choices are
// stored at once; the typed TeX folder only when the window closes.
class PLPreferencesAdvancedViewController : public PLPreferencesPaneViewController
{
    Q_OBJECT

public:
    explicit PLPreferencesAdvancedViewController(PLPreferencesWindowController *windowController);

    PLPreferencesEncodingComboBox *encodingComboBox();
    QLineEdit *texLocationTextField();
    // Button 0 is pdflatex, button 1 xelatex.
    QButtonGroup *defaultTypesettingEngineRadioButtons();
    QCheckBox *shellEscapeCheckbox();

    // Stores the engine of the chosen button and writes the settings to disk.
    void clicked(int column);
    void shellEscapeCheckboxClicked(bool enabled);
    // Stores the typed TeX folder as it is.
    void saveData() override;

protected:
    QWidget *loadView() override;

private:
    void chooseTexLocation();

    PLPreferencesEncodingComboBox *m_encodingComboBox = nullptr;
    QLineEdit *m_texLocationTextField = nullptr;
    QButtonGroup *m_defaultTypesettingEngineRadioButtons = nullptr;
    QCheckBox *m_shellEscapeCheckbox = nullptr;
};
