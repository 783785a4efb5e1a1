#include "ui/app/PLApplication.h"
#include "ui/app/PLApplicationController.h"
#include "ui/app/PLInstanceClient.h"
#include "ui/app/PLInstanceServer.h"

#include <QCommandLineParser>
#include <QIcon>

#include <memory>

namespace {
// How long a launch waits for the running Plumeo to take its files before opening them itself.
constexpr int handOverTimeoutMilliseconds = 5000;

void describeApplication()
{
    QCoreApplication::setApplicationName(QStringLiteral("plumeo"));
    QCoreApplication::setApplicationVersion(QStringLiteral(PLUMEO_VERSION));
}

// The launcher's token that lets the running Plumeo bring its window forward (Wayland).
QString activationToken()
{
    return qEnvironmentVariable("XDG_ACTIVATION_TOKEN");
}

struct CommandLine {
    QStringList files;
    bool newInstance = false;
};

// Reads the command line before any window system is needed, so --help and --version work
// without a display.
CommandLine readCommandLine(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    describeApplication();
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Plumeo, an editor for LaTeX projects.\n\n"
                                                    "Files opened while Plumeo runs open in the running Plumeo."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption newInstance(QStringLiteral("new-instance"),
                                         QStringLiteral("Open the files in a new Plumeo, not in the one running."));
    parser.addOption(newInstance);
    parser.addPositionalArgument(QStringLiteral("files"), QStringLiteral("The .tex files to open."),
                                 QStringLiteral("[FILE...]"));
    parser.process(app);
    return {parser.positionalArguments(), parser.isSet(newInstance)};
}

// Hands the files to the Plumeo running in this session; true when it took them.
bool handOverToRunningInstance(int argc, char *argv[], const QStringList &files)
{
    QCoreApplication app(argc, argv);
    return PLInstanceClient::sendAndWait(PLInstanceServer::defaultServerName(), files, activationToken(),
                                         handOverTimeoutMilliseconds);
}
}

int main(int argc, char *argv[])
{
    const CommandLine commandLine = readCommandLine(argc, argv);
    if (!commandLine.newInstance && handOverToRunningInstance(argc, argv, commandLine.files))
        return 0;

    // Defaults go in before anything can read a setting.
    PLApplicationController::registerDefaults();

    PLApplication app(argc, argv);
    describeApplication();
    QApplication::setApplicationDisplayName(QStringLiteral("Plumeo"));
    QApplication::setDesktopFileName(QStringLiteral("org.plumeo.Plumeo"));
    Q_INIT_RESOURCE(ui);
    QApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("org.plumeo.Plumeo"), QIcon(QStringLiteral(":/ui/plumeo.svg"))));

    PLApplicationController controller;
    PLInstanceServer server;
    if (!commandLine.newInstance) {
        QObject::connect(&server, &PLInstanceServer::openFilesRequested, &controller,
                         [&controller](const QStringList &paths, const QString &token) {
                             // Qt's Wayland window takes the token from here when it asks to be activated.
                             if (!token.isEmpty())
                                 qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
                             controller.openFilesHandedOver(paths);
                         });
        server.listen(PLInstanceServer::defaultServerName());
    }
    controller.applicationDidFinishLaunching(commandLine.files);
    return app.exec();
}
