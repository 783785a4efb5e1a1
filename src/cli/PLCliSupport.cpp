#include "PLCliCommands.h"

#include <cstdio>

void PLCliPrintJson(const QJsonDocument &document)
{
    const QByteArray bytes = document.toJson(QJsonDocument::Indented);
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    std::fflush(stdout);
}

int PLCliFail(PLCliExitStatus status, const QString &message)
{
    const QByteArray bytes = (QStringLiteral("plumeo-cli: ") + message + u'\n').toLocal8Bit();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
    return status;
}

const QList<PLCliCommand> &PLCliAllCommands()
{
    static const QList<PLCliCommand> commands{
        {QStringLiteral("lines"), QStringLiteral("lines FILE [--line-of LOCATION] [--start-of LINE]"), PLCliRunLines},
        {QStringLiteral("outline"), QStringLiteral("outline FILE [--no-content] [--sidebar]"), PLCliRunOutline},
        {QStringLiteral("edit"), QStringLiteral("edit FILE (--replace LOCATION LENGTH TEXT)... [--undo N] [--no-content]"), PLCliRunEdit},
        {QStringLiteral("files"), QStringLiteral("files FILE"), PLCliRunFiles},
        {QStringLiteral("quickopen"), QStringLiteral("quickopen FILE QUERY"), PLCliRunQuickOpen},
        {QStringLiteral("highlight"), QStringLiteral("highlight FILE"), PLCliRunHighlight},
    };
    return commands;
}
