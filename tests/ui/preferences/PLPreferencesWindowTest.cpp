#include "core/typesetting/PLTexCommandLine.h"
#include "ui/editor/PLQColor.h"
#include "ui/preferences/PLColorWell.h"
#include "ui/preferences/PLPreferencesAdvancedViewController.h"
#include "ui/preferences/PLPreferencesEncodingComboBox.h"
#include "ui/preferences/PLPreferencesFilesViewController.h"
#include "ui/preferences/PLPreferencesTextColorsViewController.h"
#include "ui/preferences/PLPreferencesToolbarItemIdentifiers.h"
#include "ui/preferences/PLPreferencesWindowController.h"
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

PLUserDefaults &defaults()
{
    return PLUserDefaults::standardUserDefaults();
}

std::optional<PLColor> colourOnDisk(const QString &key)
{
    return PLColor::fromArchived(onDisk(key).toString());
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

// An item without a pane, chosen all the same, leaves the shown pane in place. Switching panes keeps
// the window's top edge where it was.
TEST_F(PreferencesWindow, SwitchingPanesKeepsTheTopEdgeAndItemsWithoutAPaneChangeNothing)
{
    QWidget *window = open();
    const QPoint top = window->frameGeometry().topLeft();
    for (const QString &identifier : {PLPrefencesToolbarItemIdentifierAutoUpdater, PLPrefencesToolbarItemIdentifierAdvanced}) {
        choose(identifier);
        EXPECT_EQ(window->frameGeometry().topLeft(), top);
        EXPECT_EQ(preferences->shownViewController(), preferences->viewControllerForIdentifier(identifier));
    }
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

// Records the names of the notifications posted while it lives.
class PostedNotifications
{
public:
    PostedNotifications()
    {
        PLNotificationCenter::defaultCenter().addObserver(this, QString(), nullptr, [this](const PLNotification &n) {
            if (n.name().startsWith(QStringLiteral("PLNotificationEditor")))
                names << n.name();
        });
    }
    ~PostedNotifications() { PLNotificationCenter::defaultCenter().removeObserver(this); }
    QStringList names;
};

class TextColorsPane : public PLTest::ProjectWindowTest
{
protected:
    void SetUp() override
    {
        ProjectWindowTest::SetUp();
        preferences = std::make_unique<PLPreferencesWindowController>();
        preferences->window();
        colors = qobject_cast<PLPreferencesTextColorsViewController *>(
            preferences->viewControllerForIdentifier(PLPrefencesToolbarItemIdentifierTextColor));
        ASSERT_NE(colors, nullptr);
    }
    std::unique_ptr<PLPreferencesWindowController> preferences;
    PLPreferencesTextColorsViewController *colors = nullptr;
};

TEST_F(TextColorsPane, EveryWellStoresAtOnceAndAnnouncesItsOwnChange)
{
    const PLColor colour = PLColor::rgb(0.1, 0.2, 0.3, 0.4);
    // The border is part of the line highlight, not of the text style.
    const std::pair<PLColorWell *, QString> cases[] = {
        {colors->backgroundColor(), PLNotificationEditorBackgroundColorDidChange},
        {colors->textColor(), PLNotificationEditorTextStyleDidChange},
        {colors->lineHighlightBackground(), PLNotificationEditorLineHighlightColorDidChange},
        {colors->lineHighlightBorder(), PLNotificationEditorLineHighlightColorDidChange},
        {colors->colorWellAt(0, 2, QStringLiteral("foreground")), PLNotificationEditorTextStyleDidChange},
        {colors->colorWellAt(1, 1, QStringLiteral("background")), PLNotificationEditorTextStyleDidChange}};
    for (const auto &[well, notification] : cases) {
        SCOPED_TRACE(well->userDefaultsKey().toStdString());
        const std::optional<PLColor> before = defaults().colorForKey(well->userDefaultsKey());
        {
            // No colour is never stored, but is still announced.
            PostedNotifications posted;
            well->setColor(std::nullopt);
            EXPECT_EQ(posted.names, QStringList{notification});
            EXPECT_EQ(defaults().colorForKey(well->userDefaultsKey()), before);
        }
        PostedNotifications posted;
        well->setColor(colour);
        EXPECT_EQ(posted.names, QStringList{notification});
        EXPECT_EQ(colourOnDisk(well->userDefaultsKey()), colour);
    }
}

TEST_F(TextColorsPane, APickedCommentColourRecoloursTheCommentsOfEveryOpenFileAtOnce)
{
    QList<PLTextView *> views;
    for (const QString &name : {QStringLiteral("one.tex"), QStringLiteral("two.tex")}) {
        openWindow(project.write(name, QStringLiteral("Text % a comment\n\\section{A}\n")), QSize(900, 500), false);
        views << textView();
    }
    PLColorWell *comments = colors->colorWellAt(0, 2, QStringLiteral("foreground"));
    QTest::mouseClick(comments, Qt::LeftButton);
    QColorDialog *dialog = comments->colorDialog();
    ASSERT_NE(dialog, nullptr);
    EXPECT_TRUE(dialog->testOption(QColorDialog::ShowAlphaChannel));
    const QColor picked(10, 200, 30, 128);
    dialog->setCurrentColor(picked);
    dialog->accept();
    EXPECT_EQ(PLQColor(*colourOnDisk(PLUserDefaultsEditorColorCommentedAreas)), picked);
    for (const PLTextView *view : views) {
        const PLTextContentBuffer *buffer = view->contentBuffer();
        const qsizetype comment = buffer->string().indexOf(u'%') + 3;
        EXPECT_EQ(PLQColor(*buffer->attributesAtIndex(comment).foregroundColor()), picked);
        EXPECT_NE(PLQColor(*buffer->attributesAtIndex(0).foregroundColor()), picked);
        EXPECT_EQ(PLTest::shownColour(*view, comment), picked);
    }
}

TEST_F(TextColorsPane, ResetWritesTheResetColoursAndShowsThemInEveryWell)
{
    const PLColor green = PLColor::rgb(0, 1, 0, 1);
    for (const QString &key : {PLUserDefaultsEditorColorCommentedAreas, PLUserDefaultsEditorBackgroundColor,
                               PLUserDefaultsEditorColorBIBKeyBackground, PLUserDefaultsEditorColorLineHighlighterBorders})
        defaults().setColor(green, key);
    colors->reloadColorWells();
    PLPreferencesWindowController another;
    another.window();
    auto *shown = qobject_cast<PLPreferencesTextColorsViewController *>(
        another.viewControllerForIdentifier(PLPrefencesToolbarItemIdentifierTextColor));
    EXPECT_EQ(shown->colorWellAt(0, 2, QStringLiteral("foreground"))->color(), green);
    PostedNotifications posted;
    QTest::mouseClick(shown->resetButton(), Qt::LeftButton);
    EXPECT_EQ(posted.names.mid(0, 3), (QStringList{PLNotificationEditorBackgroundColorDidChange,
                                                    PLNotificationEditorLineHighlightColorDidChange,
                                                    PLNotificationEditorTextStyleDidChange}));
    const std::pair<QString, PLColor> resetColours[] = {{PLUserDefaultsEditorColorCommentedAreas, PLColor::white(2.0 / 3.0, 1.0)},
                                                        {PLUserDefaultsEditorBackgroundColor, PLColor::white(1.0, 1.0)},
                                                        {PLUserDefaultsEditorColorBIBKeyBackground, PLColor::rgb(1.0, 1.0, 1.0, 0.0)},
                                                        {PLUserDefaultsEditorColorLineHighlighterBorders, PLColor::white(0.0, 1.0)}};
    for (const auto &[key, color] : resetColours)
        EXPECT_EQ(colourOnDisk(key), color) << key.toStdString();
    EXPECT_EQ(shown->colorWellAt(0, 2, QStringLiteral("foreground"))->color(), resetColours[0].second);
    EXPECT_EQ(shown->colorWellAt(1, 1, QStringLiteral("background"))->color(), resetColours[2].second);
}

}
