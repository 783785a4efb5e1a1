#include "cli/PLCliCommands.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QCoreApplication>

#include <cstdio>

namespace {
void printHelp()
{
    QString text = QStringLiteral(
        "Usage: plumeo-cli COMMAND [ARGUMENTS]\n"
        "The command-line companion of the Plumeo LaTeX editor. Prints JSON on standard output.\n"
        "Exit status: 0 on success, 1 when the input cannot be processed, 2 on a usage error.\n\n"
        "Commands:\n");
    for (const PLCliCommand &command : PLCliAllCommands())
        text += QStringLiteral("  ") + command.synopsis + u'\n';
    text += QStringLiteral("\nOptions:\n  --help     show this help\n  --version  show the version\n\n"
                           "See docs/cli.md for the JSON each command prints.\n");
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}
}

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("plumeo-cli"));
    QCoreApplication::setApplicationVersion(QStringLiteral(PLUMEO_VERSION));
    PLUserDefaults::standardUserDefaults().registerDefaults(PLRegisteredUserDefaults());

    QStringList arguments = app.arguments().mid(1);
    if (arguments.isEmpty())
        return (printHelp(), PLCliUsageError);
    const QString first = arguments.takeFirst();
    if (first == u"--help" || first == u"-h" || first == u"help") {
        printHelp();
        return PLCliSuccess;
    }
    if (first == u"--version") {
        std::printf("plumeo-cli %s\n", PLUMEO_VERSION);
        return PLCliSuccess;
    }
    for (const PLCliCommand &command : PLCliAllCommands()) {
        if (command.name == first)
            return command.run(arguments);
    }
    return PLCliFail(PLCliUsageError, QStringLiteral("unknown command ") + first + QStringLiteral(" (see --help)"));
}
