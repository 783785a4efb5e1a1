#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "core/editor/PLSyntaxHighlightingColorReset.h"
#include "PLTestSupport.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QSettings>

#include <gtest/gtest.h>

namespace {

// The preferences pane's reset test checks the notifications and a sample of the colours; here:
// every colour is written to disk as the user's own value, and nothing but colours is touched.
TEST(PLSyntaxHighlightingColorReset, WritesEveryColourToDiskAndLeavesTheRestAlone)
{
    PLTest::resetSettings();
    PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    defaults.setString(QStringLiteral("Courier"), PLUserDefaultsEditorFontName);
    PLResetSyntaxHighlightingColors();
    QSettings onDisk(defaults.fileName(), QSettings::IniFormat);
    int colourKeys = 0;
    for (const QString &key : onDisk.allKeys())
        colourKeys += PLColor::fromArchived(onDisk.value(key).toString()).has_value() ? 1 : 0;
    EXPECT_EQ(colourKeys, 22);
    EXPECT_EQ(PLColor::fromArchived(onDisk.value(PLUserDefaultsEditorColorBIBKey).toString()), PLColor::rgb(0.81, 0.254, 0.331, 1.0));
    EXPECT_EQ(defaults.stringForKey(PLUserDefaultsEditorFontName), QStringLiteral("Courier"));
}

}
