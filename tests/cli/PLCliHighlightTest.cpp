#include "PLCliRunner.h"
#include "core/foundation/PLColor.h"
#include "PLTestSupport.h"
#include "core/project/PLUserDefaultsConstants.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

QJsonArray highlightRuns(const QString &path, QJsonObject *result = nullptr)
{
    const PLCliRun run = runCli({QStringLiteral("highlight"), path});
    EXPECT_EQ(run.exitCode, 0) << run.standardError.toStdString();
    if (result)
        *result = run.json().object();
    return run.json().object().value(QStringLiteral("runs")).toArray();
}

// The run that holds a location.
QJsonObject runAt(const QJsonArray &runs, int location)
{
    for (const QJsonValue &value : runs) {
        const QJsonObject run = value.toObject();
        const int start = run.value(QStringLiteral("location")).toInt();
        if (location >= start && location < start + run.value(QStringLiteral("length")).toInt())
            return run;
    }
    return {};
}

TEST(CliHighlight, PrintsMaximalRunsOverTheWholeText)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("a.tex"));
    const QString text = QStringLiteral("\\section{A} % c\n\\input{b}\n");
    PLTest::writeFile(path, text.toUtf8());
    QJsonObject result;
    const QJsonArray runs = highlightRuns(path, &result);
    EXPECT_EQ(result.value(QStringLiteral("rules")).toString(), QStringLiteral("latex"));
    EXPECT_EQ(result.value(QStringLiteral("length")).toInt(), text.size());

    int expected = 0;
    QJsonObject previous;
    for (const QJsonValue &value : runs) {
        QJsonObject run = value.toObject();
        EXPECT_EQ(run.value(QStringLiteral("location")).toInt(), expected);
        expected += run.value(QStringLiteral("length")).toInt();
        run.remove(QStringLiteral("location"));
        run.remove(QStringLiteral("length"));
        EXPECT_NE(run, previous) << "neighbouring runs with the same attributes at " << expected;
        previous = run;
    }
    EXPECT_EQ(expected, text.size());

    const QJsonObject comment = runAt(runs, 12);
    EXPECT_EQ(comment.value(QStringLiteral("location")).toInt(), 12);
    EXPECT_EQ(comment.value(QStringLiteral("length")).toInt(), 3);
    const QJsonObject grey = comment.value(QStringLiteral("foreground")).toObject();
    EXPECT_EQ(grey.value(QStringLiteral("hex")).toString(), QStringLiteral("#aaaaaaff"));
    EXPECT_EQ(grey.value(QStringLiteral("red")).toDouble(), 2.0 / 3.0);
    EXPECT_EQ(grey.value(QStringLiteral("alpha")).toDouble(), 1.0);
    const QJsonObject font = comment.value(QStringLiteral("font")).toObject();
    EXPECT_EQ(font.value(QStringLiteral("family")).toString(), QStringLiteral("Monaco"));
    EXPECT_EQ(font.value(QStringLiteral("pointSize")).toDouble(), 12.0);
    EXPECT_TRUE(comment.value(QStringLiteral("link")).isNull());

    const QJsonObject link = runAt(runs, 23);
    EXPECT_EQ(link.value(QStringLiteral("location")).toInt(), 23);
    EXPECT_EQ(link.value(QStringLiteral("length")).toInt(), 1);
    EXPECT_EQ(link.value(QStringLiteral("link")).toString(), QStringLiteral("file://"));
}

TEST(CliHighlight, BibliographyRulesForABibFileAndTheUsersColours)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("refs.BIB"));
    PLTest::writeFile(path, QByteArray("@book{k,\n"));
    // The command reads the same settings store as the application.
    const QByteArray configHome = qgetenv("XDG_CONFIG_HOME");
    qputenv("XDG_CONFIG_HOME", dir.path().toLocal8Bit());
    {
        QSettings store(QDir(dir.path()).filePath(QStringLiteral("plumeo/plumeo.ini")), QSettings::IniFormat);
        store.setValue(PLUserDefaultsEditorColorBIBType, PLColor::rgb(0.1, 0.2, 0.3, 0.4).archived());
    }
    QJsonObject result;
    const QJsonArray runs = highlightRuns(path, &result);
    qputenv("XDG_CONFIG_HOME", configHome);

    EXPECT_EQ(result.value(QStringLiteral("rules")).toString(), QStringLiteral("bib"));
    const QJsonObject type = runAt(runs, 0);
    EXPECT_EQ(type.value(QStringLiteral("length")).toInt(), 5);
    EXPECT_EQ(type.value(QStringLiteral("foreground")).toObject().value(QStringLiteral("blue")).toDouble(), 0.3);
}

}
