#include "PLTestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#ifdef PLUMEO_TEST_UI
// The application the program runs, so its event boundary is under test too.
#include "ui/app/PLApplication.h"
using PLTestApplication = PLApplication;
#else
#include <QCoreApplication>
using PLTestApplication = QCoreApplication;
#endif

int main(int argc, char **argv)
{
    PLTest::prepareProcess();
    // Test discovery runs the widget tests without the test environment: default to offscreen here.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // Settings go to a folder of this run only.
    QTemporaryDir configHome;
    qputenv("XDG_CONFIG_HOME", configHome.path().toLocal8Bit());
    PLTestApplication app(argc, argv);
    PLTest::resetSettings();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
