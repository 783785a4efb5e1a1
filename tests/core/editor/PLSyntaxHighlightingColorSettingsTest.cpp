#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "core/editor/PLSyntaxHighlightingColorReset.h"
#include "core/editor/PLSyntaxHighlightingColorSettings.h"
#include "PLTestSupport.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QSettings>

#include <gtest/gtest.h>

namespace {

TEST(PLSyntaxHighlightingColorSettings, TheGroupsListEveryPaintedTokenClassOnce)
{
    const QList<PLSyntaxHighlightingColorSettings> groups = PLSyntaxHighlightingColorSettings::editorColorGroups();
    ASSERT_EQ(groups.size(), 2);
    EXPECT_EQ(groups[0].title(), QStringLiteral("LaTeX"));
    EXPECT_EQ(groups[1].title(), QStringLiteral("BIB"));
    ASSERT_EQ(groups[0].countOfProperties(), 5);
    ASSERT_EQ(groups[1].countOfProperties(), 2);

    const PLSyntaxHighlightingColorSetting &dividers = groups[0].propertyAtIndex(0);
    EXPECT_EQ(dividers.title(), QStringLiteral("\\part, \\chapter, \\section, \\subsection ..."));
    EXPECT_EQ(dividers.foreground(), PLUserDefaultsEditorColorStructureDividers);
    EXPECT_EQ(dividers.background(), PLUserDefaultsEditorColorStructureDividersBackground);
    EXPECT_EQ(groups[0].propertyAtIndex(3).title(), QStringLiteral("$"));
    EXPECT_EQ(groups[1].propertyAtIndex(1).foreground(), PLUserDefaultsEditorColorBIBKey);

    QStringList keys;
    for (const PLSyntaxHighlightingColorSettings &group : groups) {
        for (const PLSyntaxHighlightingColorSetting &row : group.properties()) {
            EXPECT_EQ(row.foregroundNotification(), PLNotificationEditorTextStyleDidChange);
            EXPECT_EQ(row.backgroundNotification(), PLNotificationEditorTextStyleDidChange);
            EXPECT_EQ(row.background(), row.foreground() + QStringLiteral("Background"));
            keys << row.foreground();
        }
    }
    keys.removeDuplicates();
    EXPECT_EQ(keys.size(), 7);
}

TEST(PLSyntaxHighlightingColorReset, WritesTheResetColoursSavesThemAndTellsTheEditorsInOrder)
{
    PLTest::resetSettings();
    PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    defaults.setColor(PLColor::rgb(0, 1, 0, 1), PLUserDefaultsEditorColorCommentedAreasBackground);
    defaults.setString(QStringLiteral("Courier"), PLUserDefaultsEditorFontName);

    QStringList posted;
    int observer = 0;
    PLNotificationCenter::defaultCenter().addObserver(&observer, QString(), nullptr,
                                                      [&](const PLNotification &n) { posted << n.name(); });
    PLResetSyntaxHighlightingColors();
    PLNotificationCenter::defaultCenter().removeObserver(&observer);

    EXPECT_EQ(posted, QStringList({PLNotificationEditorBackgroundColorDidChange,
                                   PLNotificationEditorLineHighlightColorDidChange,
                                   PLNotificationEditorTextStyleDidChange}));
    // Written to disk as the user's own values, not left to the registered defaults.
    QSettings onDisk(defaults.fileName(), QSettings::IniFormat);
    const struct
    {
        const QString &key;
        PLColor color;
    } expected[] = {
        {PLUserDefaultsEditorColorCommentedAreasBackground, PLColor::rgb(1.0, 1.0, 1.0, 0.0)},
        {PLUserDefaultsEditorColorCommentedAreas, PLColor::white(2.0 / 3.0, 1.0)},
        {PLUserDefaultsEditorColorStructureDividersBackground, PLColor::rgb(0.77, 0.102, 0.086, 0.1)},
        {PLUserDefaultsEditorColorBIBKey, PLColor::rgb(0.81, 0.254, 0.331, 1.0)},
        {PLUserDefaultsEditorColorBIBValueBackground, PLColor::rgb(1.0, 1.0, 1.0, 0.0)},
        {PLUserDefaultsEditorColorLineHighlighterBorders, PLColor::white(0.0, 1.0)},
        {PLUserDefaultsEditorBackgroundColor, PLColor::white(1.0, 1.0)},
    };
    for (const auto &[key, color] : expected) {
        EXPECT_EQ(PLColor::fromArchived(onDisk.value(key).toString()), color) << key.toStdString();
        EXPECT_EQ(defaults.colorForKey(key), color) << key.toStdString();
    }
    int colourKeys = 0;
    for (const QString &key : onDisk.allKeys())
        colourKeys += PLColor::fromArchived(onDisk.value(key).toString()).has_value() ? 1 : 0;
    EXPECT_EQ(colourKeys, 22);
    EXPECT_EQ(defaults.stringForKey(PLUserDefaultsEditorFontName), QStringLiteral("Courier"));
}

}
