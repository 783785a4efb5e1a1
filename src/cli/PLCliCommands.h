#pragma once

#include <QJsonDocument>
#include <QString>
#include <QStringList>

#include <optional>

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

// A number argument that must lie between the bounds (inclusive): a whole number, or for the real
// one any finite number. Anything else prints why, naming the argument, and answers nothing; the
// caller then exits with PLCliUsageError.
std::optional<qint64> PLCliWholeNumber(const QString &name, const QString &text, qint64 minimum, qint64 maximum);
std::optional<double> PLCliRealNumber(const QString &name, const QString &text, double minimum, double maximum);

int PLCliRunLines(const QStringList &arguments);
int PLCliRunOutline(const QStringList &arguments);
int PLCliRunEdit(const QStringList &arguments);
int PLCliRunFiles(const QStringList &arguments);
int PLCliRunQuickOpen(const QStringList &arguments);
int PLCliRunLog(const QStringList &arguments);
int PLCliRunTypeset(const QStringList &arguments);
int PLCliRunSyncTex(const QStringList &arguments);
int PLCliRunHighlight(const QStringList &arguments);
