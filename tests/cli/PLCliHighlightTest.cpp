#include "PLCliRunner.h"
#include "core/foundation/PLColor.h"
#include "PLTestSupport.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QDir>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

PLCliRun highlight(const QString &path)
{
    const PLCliRun run = runCli({"highlight", path});
    EXPECT_EQ(run.exitCode, 0) << run.standardError.toStdString();
    return run;
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
    const PLCliRun result = highlight(path);
    const QJsonArray runs = result.at("runs").toArray();
    EXPECT_EQ(result.at("rules").toString(), QStringLiteral("latex"));
    EXPECT_EQ(result.at("length").toInt(), text.size());

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
    EXPECT_EQ(jsonAt(comment, "location").toInt(), 12);
    EXPECT_EQ(jsonAt(comment, "length").toInt(), 3);
    EXPECT_EQ(jsonAt(comment, "foreground.hex").toString(), QStringLiteral("#aaaaaaff"));
    EXPECT_EQ(jsonAt(comment, "foreground.red").toDouble(), 2.0 / 3.0);
    EXPECT_EQ(jsonAt(comment, "foreground.alpha").toDouble(), 1.0);
    EXPECT_EQ(jsonAt(comment, "font.family").toString(), QStringLiteral("Monaco"));
    EXPECT_EQ(jsonAt(comment, "font.pointSize").toDouble(), 12.0);
    EXPECT_TRUE(jsonAt(comment, "link").isNull());

    const QJsonObject link = runAt(runs, 23);
    EXPECT_EQ(jsonAt(link, "location").toInt(), 23);
    EXPECT_EQ(jsonAt(link, "length").toInt(), 1);
    EXPECT_EQ(jsonAt(link, "link").toString(), QStringLiteral("file://"));
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
    const PLCliRun result = highlight(path);
    qputenv("XDG_CONFIG_HOME", configHome);

    EXPECT_EQ(result.at("rules").toString(), QStringLiteral("bib"));
    EXPECT_EQ(result.at("runs.0.length").toInt(), 5);
    EXPECT_EQ(result.at("runs.0.foreground.blue").toDouble(), 0.3);
}

}
