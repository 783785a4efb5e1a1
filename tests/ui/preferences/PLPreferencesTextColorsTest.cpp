#include "ui/editor/PLQColor.h"
#include "ui/preferences/PLColorWell.h"
#include "ui/preferences/PLPreferencesTextColorsViewController.h"
#include "ui/preferences/PLPreferencesToolbarItemIdentifiers.h"
#include "ui/preferences/PLPreferencesWindowController.h"
#include "PLUiTestSupport.h"

#include <QPushButton>
#include <QSettings>

namespace {

PLUserDefaults &defaults()
{
    return PLUserDefaults::standardUserDefaults();
}

std::optional<PLColor> onDisk(const QString &key)
{
    return PLColor::fromArchived(QSettings(defaults().fileName(), QSettings::IniFormat).value(key).toString());
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
        EXPECT_EQ(onDisk(well->userDefaultsKey()), colour);
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
    EXPECT_EQ(PLQColor(*onDisk(PLUserDefaultsEditorColorCommentedAreas)), picked);
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
    const std::pair<QString, PLColor> resetColours[] = {
        {PLUserDefaultsEditorColorCommentedAreas, PLColor::white(2.0 / 3.0, 1.0)},
        {PLUserDefaultsEditorBackgroundColor, PLColor::white(1.0, 1.0)},
        {PLUserDefaultsEditorColorBIBKeyBackground, PLColor::rgb(1.0, 1.0, 1.0, 0.0)},
        {PLUserDefaultsEditorColorLineHighlighterBorders, PLColor::white(0.0, 1.0)},
        {PLUserDefaultsEditorColorStructureDividersBackground, PLColor::rgb(0.77, 0.102, 0.086, 0.1)},
        {PLUserDefaultsEditorColorLineHighlighter, PLColor::rgb(0.286, 0.121, 0.808, 1.0)}};
    for (const auto &[key, color] : resetColours) {
        EXPECT_EQ(onDisk(key), color) << key.toStdString();
        EXPECT_EQ(defaults().colorForKey(key), color) << key.toStdString();
    }
    EXPECT_EQ(shown->colorWellAt(0, 2, QStringLiteral("foreground"))->color(), resetColours[0].second);
    EXPECT_EQ(shown->colorWellAt(1, 1, QStringLiteral("background"))->color(), resetColours[2].second);
}

}
