#include "ui/preferences/PLPreferencesAdvancedViewController.h"

#include "ui/preferences/PLPreferencesEncodingComboBox.h"
#include "ui/preferences/PLPreferencesWindowController.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

namespace {
const QString pdflatex = QStringLiteral("pdflatex");
const QString xelatex = QStringLiteral("xelatex");

// A line of explanation under a setting, in the smaller, softer type of hints.
QLabel *hint(const QString &text, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setWordWrap(true);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * 0.9);
    label->setFont(font);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}
}

PLPreferencesAdvancedViewController::PLPreferencesAdvancedViewController(PLPreferencesWindowController *windowController)
    : PLPreferencesPaneViewController(QStringLiteral("PLPreferencesAdvancedView"), windowController)
{
}

QWidget *PLPreferencesAdvancedViewController::loadView()
{
    const PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    auto *view = new QWidget;
    view->setObjectName(nibName());
    auto *form = new QFormLayout(view);
    form->setContentsMargins(24, 20, 24, 20);
    form->setVerticalSpacing(6);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setLabelAlignment(Qt::AlignRight);

    auto *engines = new QWidget(view);
    auto *engineRow = new QHBoxLayout(engines);
    engineRow->setContentsMargins(0, 0, 0, 0);
    m_defaultTypesettingEngineRadioButtons = new QButtonGroup(view);
    m_defaultTypesettingEngineRadioButtons->setObjectName(QStringLiteral("defaultTypesettingEngineRadioButtons"));
    for (const QString &engine : {pdflatex, xelatex}) {
        auto *button = new QRadioButton(engine, engines);
        button->setObjectName(engine);
        m_defaultTypesettingEngineRadioButtons->addButton(button, int(m_defaultTypesettingEngineRadioButtons->buttons().size()));
        engineRow->addWidget(button);
    }
    engineRow->addStretch();
    m_defaultTypesettingEngineRadioButtons->button(defaults.stringForKey(PLUserDefaultsTypesettingEngine) == pdflatex ? 0 : 1)
        ->setChecked(true);
    connect(m_defaultTypesettingEngineRadioButtons, &QButtonGroup::idClicked, this, &PLPreferencesAdvancedViewController::clicked);
    form->addRow(tr("Typeset with:"), engines);
    form->addRow(QString(), hint(tr("A file whose first line says “%!TEX TS-program = xelatex” is always typeset with xelatex."), view));
    form->addItem(new QSpacerItem(0, 10));

    auto *folder = new QWidget(view);
    auto *folderRow = new QHBoxLayout(folder);
    folderRow->setContentsMargins(0, 0, 0, 0);
    m_texLocationTextField = new QLineEdit(defaults.stringForKey(PLUserDefaultsTexLocation), folder);
    m_texLocationTextField->setObjectName(QStringLiteral("texLocationTextField"));
    folderRow->addWidget(m_texLocationTextField, 1);
    auto *choose = new QPushButton(tr("Choose…"), folder);
    connect(choose, &QPushButton::clicked, this, &PLPreferencesAdvancedViewController::chooseTexLocation);
    folderRow->addWidget(choose);
    form->addRow(tr("TeX programs folder:"), folder);
    form->addRow(QString(), hint(tr("The folder that holds pdflatex, xelatex and bibtex. A new folder is used once you "
                                    "close this window."),
                                 view));
    form->addItem(new QSpacerItem(0, 10));

    m_encodingComboBox = new PLPreferencesEncodingComboBox(view);
    form->addRow(tr("File encoding:"), m_encodingComboBox);
    form->addRow(QString(), hint(tr("Files are read and saved in this encoding from the next time they are opened."), view));
    form->addItem(new QSpacerItem(0, 10));

    m_shellEscapeCheckbox = new QCheckBox(tr("Let documents run other programs (shell escape)"), view);
    m_shellEscapeCheckbox->setObjectName(QStringLiteral("shellEscapeCheckbox"));
    m_shellEscapeCheckbox->setChecked(defaults.boolForKey(PLUserDefaultsShellEscapeEnabled));
    connect(m_shellEscapeCheckbox, &QCheckBox::clicked, this, &PLPreferencesAdvancedViewController::shellEscapeCheckboxClicked);
    form->addRow(tr("Security:"), m_shellEscapeCheckbox);
    form->addRow(QString(),
                 hint(tr("Packages such as minted need this. But it also means that typesetting a document runs any "
                         "command written in it, with your rights: it can read, change or delete your files and use "
                         "the network. Turn it off before you typeset a project from someone you do not trust."),
                      view));
    return view;
}

PLPreferencesEncodingComboBox *PLPreferencesAdvancedViewController::encodingComboBox()
{
    view();
    return m_encodingComboBox;
}

QLineEdit *PLPreferencesAdvancedViewController::texLocationTextField()
{
    view();
    return m_texLocationTextField;
}

QButtonGroup *PLPreferencesAdvancedViewController::defaultTypesettingEngineRadioButtons()
{
    view();
    return m_defaultTypesettingEngineRadioButtons;
}

QCheckBox *PLPreferencesAdvancedViewController::shellEscapeCheckbox()
{
    view();
    return m_shellEscapeCheckbox;
}

void PLPreferencesAdvancedViewController::clicked(int column)
{
    PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    defaults.setString(column == 0 ? pdflatex : xelatex, PLUserDefaultsTypesettingEngine);
    defaults.synchronize();
}

void PLPreferencesAdvancedViewController::shellEscapeCheckboxClicked(bool enabled)
{
    PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    defaults.setBool(enabled, PLUserDefaultsShellEscapeEnabled);
    defaults.synchronize();
}

void PLPreferencesAdvancedViewController::saveData()
{
    if (!isViewLoaded())
        return;
    PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    defaults.setString(m_texLocationTextField->text(), PLUserDefaultsTexLocation);
    defaults.synchronize();
}

void PLPreferencesAdvancedViewController::chooseTexLocation()
{
    const QString folder = QFileDialog::getExistingDirectory(view(), tr("TeX Programs Folder"), m_texLocationTextField->text());
    if (!folder.isEmpty())
        m_texLocationTextField->setText(folder);
}
