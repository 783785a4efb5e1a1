#pragma once

#include <QAnyStringView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QDir>
#include <QProcess>
#include <QSettings>
#include <QString>
#include <QStringList>

// The value at a dotted path of keys and array indices, e.g. "outline.children.1.name".
inline QJsonValue jsonAt(QJsonValue value, const char *path)
{
    for (const QString &step : QString::fromLatin1(path).split(u'.')) {
        bool isIndex = false;
        const int index = step.toInt(&isIndex);
        value = isIndex ? value.toArray().at(index) : value.toObject().value(step);
    }
    return value;
}

// A settings store of its own, in the folder, for the commands run while it lives: they read the
// same store as the application.
class PLCliSettings
{
public:
    explicit PLCliSettings(const QString &folder) : m_folder(folder), m_previous(qgetenv("XDG_CONFIG_HOME"))
    {
        qputenv("XDG_CONFIG_HOME", folder.toLocal8Bit());
    }
    ~PLCliSettings() { qputenv("XDG_CONFIG_HOME", m_previous); }
    void set(const QString &key, const QVariant &value) const
    {
        QSettings(QDir(m_folder).filePath(QStringLiteral("plumeo/plumeo.ini")), QSettings::IniFormat).setValue(key, value);
    }

private:
    QString m_folder;
    QByteArray m_previous;
};

// Runs the plumeo-cli binary the way a script would and keeps what it printed.
struct PLCliRun
{
    int exitCode = -1;
    QByteArray standardOutput;
    QByteArray standardError;
    QJsonDocument json() const { return QJsonDocument::fromJson(standardOutput); }
    QJsonValue at(const char *path) const { return jsonAt(json().object(), path); }
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

// The same with the arguments written as they come, literals and strings alike.
inline PLCliRun runCli(std::initializer_list<QAnyStringView> arguments, int timeoutMs = 120000)
{
    QStringList list;
    for (QAnyStringView argument : arguments)
        list << argument.toString();
    return runCli(list, timeoutMs);
}
