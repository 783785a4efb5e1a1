#pragma once

#include <QJsonDocument>
#include <QProcess>
#include <QString>
#include <QStringList>

// Runs the plumeo-cli binary the way a script would and keeps what it printed.
struct PLCliRun
{
    int exitCode = -1;
    QByteArray standardOutput;
    QByteArray standardError;
    QJsonDocument json() const { return QJsonDocument::fromJson(standardOutput); }
};

inline PLCliRun runCli(const QStringList &arguments, int timeoutMs = 120000)
{
    QProcess process;
    process.start(QStringLiteral(PLUMEO_CLI_PATH), arguments);
    PLCliRun run;
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        return run;
    }
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.standardOutput = process.readAllStandardOutput();
    run.standardError = process.readAllStandardError();
    return run;
}
