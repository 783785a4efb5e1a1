#include "ui/preferences/PLPreferencesFilesViewController.h"

#include "ui/preferences/PLPreferencesEncodingComboBox.h"
#include "ui/preferences/PLPreferencesWindowController.h"

#include <QFormLayout>

PLPreferencesFilesViewController::PLPreferencesFilesViewController(PLPreferencesWindowController *windowController)
    : PLPreferencesPaneViewController(QStringLiteral("PLPreferencesFilesView"), windowController)
{
}

QWidget *PLPreferencesFilesViewController::loadView()
{
    auto *view = new QWidget;
    view->setObjectName(nibName());
    auto *form = new QFormLayout(view);
    form->setContentsMargins(24, 20, 24, 20);
    m_encodingComboBox = new PLPreferencesEncodingComboBox(view);
    form->addRow(tr("File encoding:"), m_encodingComboBox);
    return view;
}

PLPreferencesEncodingComboBox *PLPreferencesFilesViewController::encodingComboBox()
{
    view();
    return m_encodingComboBox;
}
