#include "ui/app/PLApplication.h"
#include "PLTestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    PLTest::prepareProcess();
    // Test discovery runs this binary without the test environment: default to offscreen here.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir configHome;
    qputenv("XDG_CONFIG_HOME", configHome.path().toLocal8Bit());
    // The application the program runs, so its event boundary is under test too.
    PLApplication app(argc, argv);
    PLTest::resetSettings();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
