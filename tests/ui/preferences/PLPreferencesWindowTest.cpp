#include "ui/preferences/PLPreferencesAdvancedViewController.h"
#include "ui/preferences/PLPreferencesEncodingComboBox.h"
#include "ui/preferences/PLPreferencesFilesViewController.h"
#include "ui/preferences/PLPreferencesTextColorsViewController.h"
#include "ui/preferences/PLPreferencesToolbarItemIdentifiers.h"
#include "ui/preferences/PLPreferencesWindowController.h"
#include "core/typesetting/PLTexCommandLine.h"
#include "PLUiTestSupport.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QLineEdit>
#include <QSettings>
#include <QToolBar>

namespace {

// What the settings file on disk holds for a key: only values written with synchronize show.
QVariant onDisk(const QString &key)
{
    return QSettings(PLUserDefaults::standardUserDefaults().fileName(), QSettings::IniFormat).value(key);
}

class PreferencesWindow : public ::testing::Test
{
protected:
    void SetUp() override
    {
        PLTest::resetSettings();
        preferences = std::make_unique<PLPreferencesWindowController>();
    }
    QWidget *open()
    {
        preferences->showWindow();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(preferences->window()));
        return preferences->window();
    }
    // Chooses the toolbar item and waits for the window to reach its new height.
    void choose(const QString &identifier)
    {
        preferences->toolbar()->findChild<QAction *>(identifier)->trigger();
        ASSERT_TRUE(QTest::qWaitFor([&] { return preferences->window()->height() == preferences->targetHeight(); }));
    }
    PLPreferencesAdvancedViewController *advanced()
    {
        return qobject_cast<PLPreferencesAdvancedViewController *>(
            preferences->viewControllerForIdentifier(PLPrefencesToolbarItemIdentifierAdvanced));
    }
    std::unique_ptr<PLPreferencesWindowController> preferences;
};

// Only the items with panes show; one without a pane, chosen all the same, leaves the shown pane in
// place. Switching panes keeps the top edge and gives each pane its own height.
TEST_F(PreferencesWindow, SwitchingPanesKeepsTheTopEdgeAndGivesEachPaneItsOwnHeight)
{
    QWidget *window = open();
    QStringList shownItems;
    for (QAction *item : preferences->toolbar()->actions()) {
        if (item->isVisible())
            shownItems << item->objectName();
    }
    EXPECT_EQ(shownItems, (QStringList{PLPrefencesToolbarItemIdentifierTextColor, PLPrefencesToolbarItemIdentifierAutoUpdater,
                                       PLPrefencesToolbarItemIdentifierAdvanced}));
    const QRect first = window->frameGeometry();
    QMap<QString, int> heights;
    heights.insert(PLPrefencesToolbarItemIdentifierTextColor, window->height());
    for (const QString &identifier : {PLPrefencesToolbarItemIdentifierAdvanced, PLPrefencesToolbarItemIdentifierAutoUpdater,
                                      PLPrefencesToolbarItemIdentifierTextColor, PLPrefencesToolbarItemIdentifierAdvanced}) {
        SCOPED_TRACE(identifier.toStdString());
        preferences->toolbar()->findChild<QAction *>(identifier)->trigger();
        EXPECT_EQ(window->frameGeometry().top(), first.top());
        ASSERT_TRUE(QTest::qWaitFor([&] { return window->height() == preferences->targetHeight(); }));
        EXPECT_EQ(window->frameGeometry().topLeft(), first.topLeft());
        EXPECT_EQ(window->frameGeometry().width(), first.width());
        EXPECT_EQ(preferences->shownViewController(), preferences->viewControllerForIdentifier(identifier));
        QWidget *view = preferences->shownViewController()->view();
        EXPECT_EQ(view->geometry(), preferences->contentBox()->rect());
        EXPECT_GE(view->height(), view->minimumSizeHint().height());
        if (heights.contains(identifier)) {
            EXPECT_EQ(window->height(), heights.value(identifier));
        }
        heights.insert(identifier, window->height());
    }
    EXPECT_EQ(QSet<int>(heights.cbegin(), heights.cend()).size(), 3);
    const QRect frame = window->frameGeometry();
    for (const QString &identifier : {PLPrefencesToolbarItemIdentifierGeneral, PLPrefencesToolbarItemIdentifierFiles,
                                      PLPrefencesToolbarItemIdentifierEngine, PLPrefencesToolbarItemIdentifierPDFPreview,
                                      PLPrefencesToolbarItemIdentifierTypesetter}) {
        SCOPED_TRACE(identifier.toStdString());
        if (QAction *item = preferences->toolbar()->findChild<QAction *>(identifier))
            item->trigger();
        preferences->selectViewControllerWithIdentifier(identifier);
        EXPECT_EQ(preferences->shownViewController(), advanced());
        EXPECT_EQ(window->frameGeometry(), frame);
    }
}

TEST_F(PreferencesWindow, ATypedTexFolderTakesEffectOnlyWhenTheWindowCloses)
{
    QWidget *window = open();
    choose(PLPrefencesToolbarItemIdentifierAdvanced);
    QLineEdit *field = advanced()->texLocationTextField();
    EXPECT_EQ(field->text(), QStringLiteral("/usr/texbin"));
    field->selectAll();
    QTest::keyClicks(field, QStringLiteral("/opt/texlive/bin/"));
    // A job started now still finds the programs in the old folder.
    EXPECT_EQ(PLTexCommandLine::texFolder(), QStringLiteral("/usr/texbin/"));
    EXPECT_FALSE(onDisk(PLUserDefaultsTexLocation).isValid());
    QTest::keyClick(window, Qt::Key_Escape);
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(onDisk(PLUserDefaultsTexLocation).toString(), QStringLiteral("/opt/texlive/bin/"));
    EXPECT_EQ(PLTexCommandLine::texFolder(), QStringLiteral("/opt/texlive/bin//"));
}

// The engine buttons show the setting, any engine but pdflatex on the second one.
TEST_F(PreferencesWindow, ChoicesAreShownStoredAtOnceAndUsedByTheNextJob)
{
    PLUserDefaults::standardUserDefaults().setInteger(9, PLUserDefaultsFileEncoding);
    PLUserDefaults::standardUserDefaults().setString(QStringLiteral("lualatex"), PLUserDefaultsTypesettingEngine);
    open();
    choose(PLPrefencesToolbarItemIdentifierAdvanced);
    QButtonGroup *engines = advanced()->defaultTypesettingEngineRadioButtons();
    EXPECT_EQ(engines->checkedId(), 1);
    for (const auto &[button, engine] : {std::pair{0, "pdflatex"}, std::pair{1, "xelatex"}}) {
        QTest::mouseClick(engines->button(button), Qt::LeftButton);
        EXPECT_EQ(onDisk(PLUserDefaultsTypesettingEngine).toString(), QLatin1String(engine));
        EXPECT_EQ(PLTexCommandLine::engineProgram(0), QLatin1String(engine));
    }
    QCheckBox *shellEscape = advanced()->shellEscapeCheckbox();
    EXPECT_TRUE(shellEscape->isChecked());
    for (bool enabled : {false, true}) {
        QTest::mouseClick(shellEscape, Qt::LeftButton);
        EXPECT_EQ(onDisk(PLUserDefaultsShellEscapeEnabled).toBool(), enabled);
    }
    // The files pane has no toolbar item; its combo box behaves as the advanced pane's.
    auto *files = new PLPreferencesFilesViewController(preferences.get());
    for (PLPreferencesEncodingComboBox *combo : {advanced()->encodingComboBox(), files->encodingComboBox()}) {
        EXPECT_EQ(combo->currentText(), QStringLiteral("Latin 2"));
        for (const auto &[name, encoding] : {std::pair{"Latin 1", 5}, std::pair{"MacOS Roman", 30}, std::pair{"Latin 2", 9}}) {
            combo->setCurrentIndex(combo->findText(QLatin1String(name)));
            EXPECT_EQ(onDisk(PLUserDefaultsFileEncoding).toInt(), encoding) << name;
        }
    }
    // A stored encoding that is not in the list shows no choice, and choosing nothing stores nothing.
    PLUserDefaults::standardUserDefaults().setInteger(12, PLUserDefaultsFileEncoding);
    PLPreferencesEncodingComboBox unknown;
    EXPECT_EQ(unknown.currentText(), QString());
    unknown.encodingComboBoxDidChangeSelection(-1);
    EXPECT_EQ(PLUserDefaults::standardUserDefaults().integerForKey(PLUserDefaultsFileEncoding), 12);
}

}
