#pragma once

#include "PLTestSupport.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTest>

#include <gtest/gtest.h>

// Helpers of the typesetting tests: fixture documents are always typeset in a temporary copy, so
// nothing is ever written into tests/data.
namespace PLTypesettingTest {

inline QString documentPath(const QString &name)
{
    return PLTest::dataPath(QStringLiteral("typesetting/documents/") + name);
}

// The captured standard output of the engine for a fixture document.
inline QString capturedOutput(const QString &name)
{
    return QString::fromUtf8(PLTest::readFile(documentPath(name + QStringLiteral("/output.txt"))));
}

// Copies a fixture document's sources (not its captured outputs) into the folder; answers the
// folder with a trailing separator, as a file's directory is written.
inline QString copyDocument(const QString &name, const QString &folder)
{
    const QString source = documentPath(name);
    QDirIterator it(source, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (path.endsWith(QStringLiteral(".txt")))
            continue;
        const QString target = folder + u'/' + QDir(source).relativeFilePath(path);
        QDir().mkpath(QFileInfo(target).absolutePath());
        QFile::copy(path, target);
    }
    return folder + u'/';
}

struct ProgramRun
{
    int exitCode = -1;
    QString output;
};

inline ProgramRun runProgram(const QString &program, const QStringList &arguments, const QString &folder)
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    ProgramRun run;
    if (!process.waitForFinished(60000)) {
        process.kill();
        process.waitForFinished();
        return run;
    }
    run.exitCode = process.exitCode();
    run.output = QString::fromUtf8(process.readAll());
    return run;
}

// Typesets main.tex in the folder the way the editor does, to get a PDF and its SyncTeX file.
inline void typeset(const QString &folder, const QString &engine = QStringLiteral("pdflatex"))
{
    runProgram(engine,
               {QStringLiteral("-file-line-error"), QStringLiteral("-synctex=1"), QStringLiteral("--interaction"),
                QStringLiteral("nonstopmode"), QStringLiteral("main")},
               folder);
    ASSERT_TRUE(QFile::exists(folder + QStringLiteral("/main.synctex.gz"))) << folder.toStdString();
}

// The records of the synctex tool's answer: one map of "Key:value" lines per result; every
// result starts with its "Output" line.
inline QList<QMap<QString, QString>> syncTexToolRecords(const QStringList &arguments, const QString &folder)
{
    const ProgramRun run = runProgram(QStringLiteral("synctex"), arguments, folder);
    QList<QMap<QString, QString>> records;
    bool inside = false;
    for (const QString &line : run.output.split(u'\n')) {
        if (line == u"SyncTeX result begin") {
            inside = true;
            continue;
        }
        if (line == u"SyncTeX result end")
            break;
        const qsizetype colon = line.indexOf(u':');
        if (!inside || colon < 0)
            continue;
        const QString key = line.left(colon);
        if (key == u"Output" || records.isEmpty())
            records.append(QMap<QString, QString>());
        records.last().insert(key, line.mid(colon + 1));
    }
    return records;
}

}

namespace PLTypesettingTest {

// The stand-ins for a misbehaving engine, in tests/data/typesetting/helpers.
inline QString helperPath(const QString &name)
{
    return PLTest::dataPath(QStringLiteral("typesetting/helpers/") + name);
}

// Whether a process has ended: gone, or a zombie that nobody has reaped yet.
inline bool processHasEnded(qint64 pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return true;
    const QByteArray text = stat.readAll();
    const qsizetype close = text.lastIndexOf(')');
    return close >= 0 && text.mid(close + 2, 1) == "Z";
}

// The id a helper wrote to sleeper.pid in its working folder, waiting for it to appear.
inline qint64 sleeperPid(const QString &folder)
{
    QByteArray text;
    const bool written = QTest::qWaitFor([&] {
        text = PLTest::readFile(folder + QStringLiteral("/sleeper.pid")).trimmed();
        return !text.isEmpty();
    });
    return written ? text.toLongLong() : 0;
}

}
