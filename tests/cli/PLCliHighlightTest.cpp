#include "PLCliRunner.h"
#include "core/foundation/PLColor.h"
#include "PLTestSupport.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

PLCliRun highlight(const QString &path)
{
    const PLCliRun run = runCli({"highlight", path});
    EXPECT_EQ(run.exitCode, 0) << run.standardError.toStdString();
    return run;
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

    // Runs cover the text end to end; neighbours differ. The comment and the include's link are
    // runs of their own.
    int expected = 0;
    QJsonObject previous, comment, link;
    for (const QJsonValue &value : runs) {
        QJsonObject run = value.toObject();
        EXPECT_EQ(run.value(QStringLiteral("location")).toInt(), expected);
        comment = expected == 12 ? run : comment;
        link = expected == 23 ? run : link;
        expected += run.value(QStringLiteral("length")).toInt();
        run.remove(QStringLiteral("location"));
        run.remove(QStringLiteral("length"));
        EXPECT_NE(run, previous) << expected;
        previous = run;
    }
    EXPECT_EQ(expected, text.size());
    EXPECT_EQ(jsonAt(comment, "length").toInt(), 3);
    EXPECT_EQ(jsonAt(comment, "foreground.hex").toString(), QStringLiteral("#aaaaaaff"));
    EXPECT_EQ(jsonAt(comment, "foreground.red").toDouble(), 2.0 / 3.0);
    EXPECT_EQ(jsonAt(comment, "font.family").toString(), QStringLiteral("Monaco"));
    EXPECT_TRUE(jsonAt(comment, "link").isNull());
    EXPECT_EQ(jsonAt(link, "length").toInt(), 1);
    EXPECT_EQ(jsonAt(link, "link").toString(), QStringLiteral("file://"));
}

TEST(CliHighlight, BibliographyRulesForABibFileAndTheUsersColours)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("refs.BIB"));
    PLTest::writeFile(path, QByteArray("@book{k,\n"));
    const PLCliSettings settings(dir.path());
    settings.set(PLUserDefaultsEditorColorBIBType, PLColor::rgb(0.1, 0.2, 0.3, 0.4).archived());
    const PLCliRun result = highlight(path);
    EXPECT_EQ(result.at("rules").toString(), QStringLiteral("bib"));
    EXPECT_EQ(result.at("runs.0.length").toInt(), 5);
    EXPECT_EQ(result.at("runs.0.foreground.blue").toDouble(), 0.3);
}

}
