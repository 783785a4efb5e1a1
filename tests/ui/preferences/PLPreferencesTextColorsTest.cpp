#include "ui/editor/PLQColor.h"
#include "ui/preferences/PLColorWell.h"
#include "ui/preferences/PLPreferencesTextColorsViewController.h"
#include "ui/preferences/PLPreferencesToolbarItemIdentifiers.h"
#include "ui/preferences/PLPreferencesWindowController.h"
#include "PLUiTestSupport.h"

#include <QCheckBox>
#include <QHeaderView>
#include <QPushButton>
#include <QSettings>
#include <QStandardItemModel>
#include <QTreeView>

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

class TextColorsPane : public ::testing::Test
{
protected:
    void SetUp() override
    {
        PLTest::resetSettings();
        preferences = std::make_unique<PLPreferencesWindowController>();
        preferences->window();
        pane = qobject_cast<PLPreferencesTextColorsViewController *>(
            preferences->viewControllerForIdentifier(PLPrefencesToolbarItemIdentifierTextColor));
        ASSERT_NE(pane, nullptr);
    }

    std::unique_ptr<PLPreferencesWindowController> preferences;
    PLPreferencesTextColorsViewController *pane = nullptr;
};

TEST_F(TextColorsPane, ShowsTheGroupsAndRowsEachRowWithTwoBoundWells)
{
    QTreeView *outline = pane->syntaxColorsOutline();
    const QAbstractItemModel *model = outline->model();
    const char *expected[] = {"LaTeX|\\part, \\chapter, \\section, \\subsection ...|Functions (\\begin etc.)|Commented areas|$|[] {} ()",
                              "BIB|@article, @unpublished, @incollection ...|key = value"};
    ASSERT_EQ(model->rowCount(), 2);
    EXPECT_EQ(model->columnCount(), 3);
    for (int group = 0; group < 2; ++group) {
        const QModelIndex groupIndex = model->index(group, 0);
        QStringList titles = {groupIndex.data().toString()};
        EXPECT_TRUE(outline->isExpanded(groupIndex));
        for (int column : {1, 2}) {
            EXPECT_EQ(model->index(group, column).data().toString(), QString());
            EXPECT_EQ(outline->indexWidget(model->index(group, column)), nullptr);
        }
        for (int row = 0; row < model->rowCount(groupIndex); ++row) {
            titles << model->index(row, 0, groupIndex).data().toString();
            const PLSyntaxHighlightingColorSetting &setting = pane->colorProperties().at(group).propertyAtIndex(row);
            for (const auto &[column, key] : {std::pair{"foreground", setting.foreground()}, std::pair{"background", setting.background()}}) {
                PLColorWell *well = pane->colorWellAt(group, row, QLatin1String(column));
                ASSERT_NE(well, nullptr) << column;
                EXPECT_EQ(well->userDefaultsKey(), key);
                EXPECT_TRUE(well->color().has_value());
                EXPECT_EQ(well->color(), defaults().colorForKey(key));
            }
        }
        EXPECT_EQ(titles.join(u'|'), QString::fromLatin1(expected[group]));
    }

    const struct
    {
        PLColorWell *well;
        const QString &key;
    } singles[] = {{pane->backgroundColor(), PLUserDefaultsEditorBackgroundColor},
                   {pane->textColor(), PLUserDefaultsEditorColorText},
                   {pane->lineHighlightBackground(), PLUserDefaultsEditorColorLineHighlighter},
                   {pane->lineHighlightBorder(), PLUserDefaultsEditorColorLineHighlighterBorders}};
    for (const auto &[well, key] : singles) {
        EXPECT_EQ(well->userDefaultsKey(), key);
        EXPECT_EQ(well->color(), defaults().colorForKey(key));
    }
    EXPECT_TRUE(pane->syntaxHighlightingEnabledCheckbox()->isChecked());
}

TEST_F(TextColorsPane, EveryWellStoresAtOnceAndAnnouncesItsOwnChange)
{
    const PLColor colour = PLColor::rgb(0.1, 0.2, 0.3, 0.4);
    const struct
    {
        const char *name;
        PLColorWell *well;
        const QString &notification;
    } cases[] = {
        {"background", pane->backgroundColor(), PLNotificationEditorBackgroundColorDidChange},
        {"text", pane->textColor(), PLNotificationEditorTextStyleDidChange},
        {"line highlight", pane->lineHighlightBackground(), PLNotificationEditorLineHighlightColorDidChange},
        // The border is part of the line highlight, not of the text style.
        {"line highlight border", pane->lineHighlightBorder(), PLNotificationEditorLineHighlightColorDidChange},
        {"comments", pane->colorWellAt(0, 2, QStringLiteral("foreground")), PLNotificationEditorTextStyleDidChange},
        {"bibliography keys background", pane->colorWellAt(1, 1, QStringLiteral("background")),
         PLNotificationEditorTextStyleDidChange},
    };
    for (const auto &[name, well, notification] : cases) {
        SCOPED_TRACE(name);
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
    PLTest::Project project;
    PLDocumentController documents;
    QList<PLDocument *> opened;
    for (const QString &name : {QStringLiteral("one.tex"), QStringLiteral("two.tex")}) {
        const QString path = project.write(name, QStringLiteral("Text % a comment\n\\section{A}\n"));
        PLError error;
        opened << documents.openDocumentWithContentsOfURL(QUrl::fromLocalFile(path), true, &error);
        ASSERT_NE(opened.last(), nullptr) << error.message.toStdString();
    }

    PLColorWell *comments = pane->colorWellAt(0, 2, QStringLiteral("foreground"));
    QTest::mouseClick(comments, Qt::LeftButton);
    QColorDialog *dialog = comments->colorDialog();
    ASSERT_NE(dialog, nullptr);
    EXPECT_TRUE(dialog->testOption(QColorDialog::ShowAlphaChannel));
    const QColor picked(10, 200, 30, 128);
    dialog->setCurrentColor(picked);
    dialog->accept();
    EXPECT_EQ(PLQColor(*onDisk(PLUserDefaultsEditorColorCommentedAreas)), picked);

    for (PLDocument *document : opened) {
        const PLTextContentBuffer *buffer = document->mainFile()->contentBuffer();
        const qsizetype comment = buffer->string().indexOf(u'%') + 3;
        EXPECT_EQ(PLQColor(*buffer->attributesAtIndex(comment).foregroundColor()), picked);
        EXPECT_NE(PLQColor(*buffer->attributesAtIndex(0).foregroundColor()), picked);
        const PLTextView *view = documents.windowControllerForDocument(document)
                                     ->splitViewController()->mainAreaViewController()->editorSplitViewController()
                                     ->splitViewContentControllerAtIndex(0)->textContentView();
        EXPECT_EQ(PLTest::shownColour(*view, comment), picked);
    }
    PLTest::closeDiscardingChanges(documents);
}

TEST_F(TextColorsPane, ResetWritesTheResetColoursAndShowsThemInEveryWell)
{
    const PLColor green = PLColor::rgb(0, 1, 0, 1);
    for (const QString &key : {PLUserDefaultsEditorColorCommentedAreas, PLUserDefaultsEditorBackgroundColor,
                               PLUserDefaultsEditorColorBIBKeyBackground, PLUserDefaultsEditorColorLineHighlighterBorders})
        defaults().setColor(green, key);
    pane->reloadColorWells();
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

    const struct
    {
        const QString &key;
        PLColor color;
    } resetColours[] = {
        {PLUserDefaultsEditorColorCommentedAreas, PLColor::white(2.0 / 3.0, 1.0)},
        {PLUserDefaultsEditorBackgroundColor, PLColor::white(1.0, 1.0)},
        {PLUserDefaultsEditorColorBIBKeyBackground, PLColor::rgb(1.0, 1.0, 1.0, 0.0)},
        {PLUserDefaultsEditorColorLineHighlighterBorders, PLColor::white(0.0, 1.0)},
        {PLUserDefaultsEditorColorStructureDividersBackground, PLColor::rgb(0.77, 0.102, 0.086, 0.1)},
        {PLUserDefaultsEditorColorLineHighlighter, PLColor::rgb(0.286, 0.121, 0.808, 1.0)},
    };
    for (const auto &[key, color] : resetColours) {
        EXPECT_EQ(onDisk(key), color) << key.toStdString();
        EXPECT_EQ(defaults().colorForKey(key), color) << key.toStdString();
    }
    EXPECT_EQ(shown->colorWellAt(0, 2, QStringLiteral("foreground"))->color(), resetColours[0].color);
    EXPECT_EQ(shown->colorWellAt(1, 1, QStringLiteral("background"))->color(), resetColours[2].color);
    EXPECT_EQ(shown->backgroundColor()->color(), resetColours[1].color);
    EXPECT_EQ(shown->lineHighlightBorder()->color(), resetColours[3].color);
}

}
