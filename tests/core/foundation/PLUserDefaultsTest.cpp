#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"
#include "PLTestSupport.h"

#include <QSettings>

#include <gtest/gtest.h>

namespace {

class UserDefaults : public ::testing::Test
{
protected:
    void SetUp() override { PLTest::resetSettings(); }
    PLUserDefaults &defaults() { return PLUserDefaults::standardUserDefaults(); }
    // A second store on the same file, as the next run of the program would see it.
    std::unique_ptr<PLUserDefaults> reopened()
    {
        defaults().synchronize();
        return std::make_unique<PLUserDefaults>(defaults().fileName());
    }
};

TEST_F(UserDefaults, UserValuesWinAndSurviveARestartWhileDefaultsStayOffDisk)
{
    defaults().setInteger(5, PLUserDefaultsFileEncoding);
    defaults().setString(QStringLiteral("DejaVu Sans Mono"), PLUserDefaultsEditorFontName);
    defaults().setDouble(231.5, PLDocumentSidebarWidth);
    defaults().setBool(false, PLUserDefaultsUseBibTex);
    QVariantMap left{{PLSplitViewSetupContentType, 0}, {PLSplitViewSetupContentPercentageWidth, 40.5}};
    QVariantMap right{{PLSplitViewSetupContentType, 1}, {PLSplitViewSetupContentPercentageWidth, 59.5}};
    defaults().setArray({left, right}, PLUserDefaultsSplitViewSetup);

    auto next = reopened();
    EXPECT_EQ(next->integerForKey(PLUserDefaultsFileEncoding), 5);
    EXPECT_EQ(next->stringForKey(PLUserDefaultsEditorFontName), u"DejaVu Sans Mono");
    EXPECT_DOUBLE_EQ(next->doubleForKey(PLDocumentSidebarWidth), 231.5);
    EXPECT_FALSE(next->boolForKey(PLUserDefaultsUseBibTex));
    const auto panes = next->arrayForKey(PLUserDefaultsSplitViewSetup);
    ASSERT_EQ(panes.size(), 2);
    EXPECT_EQ(panes[1].value(PLSplitViewSetupContentType).toInt(), 1);
    EXPECT_DOUBLE_EQ(panes[0].value(PLSplitViewSetupContentPercentageWidth).toDouble(), 40.5);
    // The new store registered nothing: an unset key has no value at all.
    EXPECT_FALSE(next->objectForKey(PLUserDefaultsTexLocation).isValid());

    QSettings raw(defaults().fileName(), QSettings::IniFormat);
    EXPECT_FALSE(raw.contains(PLUserDefaultsTexLocation));

    // Removing the user's value falls back to the registered default.
    defaults().removeObjectForKey(PLUserDefaultsFileEncoding);
    EXPECT_EQ(defaults().integerForKey(PLUserDefaultsFileEncoding), 4);
    EXPECT_FALSE(defaults().hasUserValue(PLUserDefaultsFileEncoding));
}

TEST_F(UserDefaults, ColoursRoundTripBitForBit)
{
    const PLColor awkward[] = {PLColor::rgb(0.1, 0.2, 0.30000000000000004, 0.7),
                               PLColor::rgb(1.0 / 3.0, 2.0 / 7.0, 1e-17, 0.0),
                               PLColor::white(0.6666666666666666, 0.25)};
    int n = 0;
    for (const PLColor &color : awkward) {
        const QString key = QStringLiteral("PLTestColor%1").arg(n++);
        defaults().setColor(color, key);
        const auto back = reopened()->colorForKey(key);
        ASSERT_TRUE(back);
        EXPECT_EQ(back->redComponent(), color.redComponent());
        EXPECT_EQ(back->greenComponent(), color.greenComponent());
        EXPECT_EQ(back->blueComponent(), color.blueComponent());
        EXPECT_EQ(back->alphaComponent(), color.alphaComponent());
        EXPECT_EQ(back->space(), color.space());
    }
}

// Values of the wrong kind read as nothing, never as garbage: numbers the way the platform reads them.
TEST_F(UserDefaults, ValuesOfTheWrongKindReadAsNothing)
{
    int n = 0;
    for (const char *stored : {"red", "PLColor(calibratedRGB 1 2)", "PLColor(calibratedRGB 1 nan 0 1)"}) {
        const QString key = QStringLiteral("PLTestNotAColour%1").arg(n++);
        defaults().setString(QString::fromLatin1(stored), key);
        EXPECT_FALSE(defaults().colorForKey(key)) << stored;
    }
    EXPECT_FALSE(defaults().colorForKey(QStringLiteral("PLTestMissing")));
    defaults().setString(QStringLiteral("12.7"), QStringLiteral("PLTestDecimal"));
    EXPECT_EQ(defaults().integerForKey(QStringLiteral("PLTestDecimal")), 12);
    EXPECT_TRUE(defaults().arrayForKey(PLUserDefaultsEditorFontName).isEmpty());
}

TEST_F(UserDefaults, AnUnwritableStoreReportsFailureWithoutLosingValuesInMemory)
{
    PLUserDefaults store(QStringLiteral("/proc/plumeo-cannot-write-here/plumeo.ini"));
    store.setInteger(7, PLUserDefaultsFileEncoding);
    EXPECT_FALSE(store.synchronize());
    EXPECT_EQ(store.integerForKey(PLUserDefaultsFileEncoding), 7);
}

}
