#include "PLApplication.h"
#include "PLApplicationController.h"

#include <QCommandLineParser>
#include <QIcon>

#include <memory>

namespace {
void describeApplication()
{
    QCoreApplication::setApplicationName(QStringLiteral("plumeo"));
    QCoreApplication::setApplicationVersion(QStringLiteral(PLUMEO_VERSION));
}

// Reads the command line before any window system is needed, so --help and --version work
// without a display.
QStringList filesFromCommandLine(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    describeApplication();
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Plumeo, an editor for LaTeX projects."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("files"), QStringLiteral("The .tex files to open."),
                                 QStringLiteral("[FILE...]"));
    parser.process(app);
    return parser.positionalArguments();
}
}

int main(int argc, char *argv[])
{
    const QStringList files = filesFromCommandLine(argc, argv);

    // Defaults go in before anything can read a setting.
    PLApplicationController::registerDefaults();

    PLApplication app(argc, argv);
    describeApplication();
    QApplication::setApplicationDisplayName(QStringLiteral("Plumeo"));
    QApplication::setDesktopFileName(QStringLiteral("plumeo"));
    Q_INIT_RESOURCE(ui);
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/ui/plumeo.svg")));

    PLApplicationController controller;
    controller.applicationDidFinishLaunching(files);
    return app.exec();
}
