#pragma once

#include <QJsonDocument>
#include <QString>
#include <QStringList>

// Exit statuses shared by every subcommand.
enum PLCliExitStatus { PLCliSuccess = 0, PLCliInputError = 1, PLCliUsageError = 2 };

// A subcommand: its name, its one-line synopsis for --help, and its entry point, which receives
// the arguments after the subcommand's name.
struct PLCliCommand
{
    QString name;
    QString synopsis;
    int (*run)(const QStringList &arguments);
};

const QList<PLCliCommand> &PLCliAllCommands();

// Output helpers: JSON on standard output, one-line messages on standard error.
void PLCliPrintJson(const QJsonDocument &document);
int PLCliFail(PLCliExitStatus status, const QString &message);

int PLCliRunLines(const QStringList &arguments);
int PLCliRunOutline(const QStringList &arguments);
int PLCliRunEdit(const QStringList &arguments);
int PLCliRunFiles(const QStringList &arguments);
int PLCliRunQuickOpen(const QStringList &arguments);
int PLCliRunHighlight(const QStringList &arguments);
