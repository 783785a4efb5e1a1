// The entry point of every ...UiBench program: views on the offscreen platform unless
// QT_QPA_PLATFORM names another, with settings in a
// folder of their own so a run never touches the user's.
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QApplication>
#include <QDir>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

int main(int argc, char **argv)
{
    // Offscreen unless a display platform is asked for, as under xvfb-run.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir settings;
    PLUserDefaults::resetStandardUserDefaults(QDir(settings.path()).filePath(QStringLiteral("plumeo.ini")));
    PLUserDefaults::standardUserDefaults().registerDefaults(PLRegisteredUserDefaults());
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
