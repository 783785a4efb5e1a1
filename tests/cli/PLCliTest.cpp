#include "../core/typesetting/PLTypesettingTestSupport.h"
#include "cli/PLCliJsonWriter.h"
#include "core/foundation/PLColor.h"
#include "core/foundation/PLUserDefaultsConstants.h"
#include "PLTestSupport.h"

#include <QAnyStringView>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include <signal.h>

namespace {

// The value at a dotted path of keys and array indices, e.g. "outline.children.1.name".
QJsonValue jsonAt(QJsonValue value, const char *path)
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

PLCliRun runCli(const QStringList &arguments, int timeoutMs = 120000)
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
PLCliRun runCli(std::initializer_list<QAnyStringView> arguments, int timeoutMs = 120000)
{
    QStringList list;
    for (QAnyStringView argument : arguments)
        list << argument.toString();
    return runCli(list, timeoutMs);
}

using namespace PLTypesettingTest;

class CliProject : public ::testing::Test
{
protected:
    void SetUp() override
    {
        PLTest::writeFile(path("main.tex"), "\\part{P}\n\\chapter{C}\n\\section{Intro to \\emph{sets}}\ntext\n\\input{sub/chap}\n"
                                            "\\bibliography{refs,more}\n");
        PLTest::writeFile(path("sub/chap.tex"), "\\section{Inside}\n\\subsubsection{Deep}\n");
        PLTest::writeFile(path("refs.bib"), "@book{a, title={A}}\n");
        PLTest::writeFile(path("more.bib"), "@book{b, title={B}}\n");
    }
    QString path(const char *relative) const { return QDir(m_dir.path()).filePath(QString::fromLatin1(relative)); }
    // Runs the command and expects it to succeed.
    static PLCliRun succeeds(std::initializer_list<QAnyStringView> arguments)
    {
        const PLCliRun run = runCli(arguments);
        EXPECT_EQ(run.exitCode, 0) << run.standardError.toStdString();
        return run;
    }
    // The names of the notifications the edit posted, without their common prefix.
    static QStringList notificationNames(const PLCliRun &run)
    {
        QStringList names;
        for (const QJsonValue &n : run.at("notifications").toArray())
            names << n.toObject().value(QStringLiteral("name")).toString().remove(QStringLiteral("PLNotification"));
        return names;
    }
    QTemporaryDir m_dir;
};

// The outline nests headings and included files below the part, the sidebar shows the plain
// titles and one row per bibliography file; what each node holds is the parser's test.
TEST_F(CliProject, OutlineAndSidebarNestHeadingsAndIncludedFiles)
{
    const PLCliRun run = succeeds({"outline", path("main.tex")});
    EXPECT_EQ(run.at("outline.name").toString(), u"main.tex");
    const QJsonValue section = run.at("outline.children.1.children.1.children.1");
    EXPECT_EQ(jsonAt(section, "content").toString(), u"\\section{Intro to \\emph{sets}}");
    EXPECT_EQ(jsonAt(section, "children.1.children.0.file").toString(), path("sub/chap.tex"));
    EXPECT_FALSE(runCli({"outline", path("main.tex"), "--no-content"}).standardOutput.contains("\"content\""));
    const QJsonValue row = succeeds({"outline", path("main.tex"), "--sidebar"}).at("sidebar.children.0.children.0.children.0");
    EXPECT_EQ(jsonAt(row, "title").toString(), u"Intro to sets");
    EXPECT_EQ(jsonAt(row, "children.2.title").toString(), u"more.bib");
}

// Typing one character inside the chapter title: the notifications come out in the order they
// were posted, with what they carry. Typing filters and undo apply; the outline settles after
// the last step, which turns an include cut across its line end into the text it is.
TEST_F(CliProject, EditReportsTheTextNotificationsAndSettledOutline)
{
    const PLCliRun run = succeeds({"edit", path("main.tex"), "--replace", "19", "0", "X"});
    EXPECT_TRUE(run.at("text").toString().startsWith(u"\\part{P}\n\\chapter{CX}\n"));
    EXPECT_EQ(notificationNames(run), QStringLiteral("OutlineNodeWasAdded OutlineNodeWasAdded OutlineNodeWasAdded "
                                                     "OutlineNodeWasRemoved NameNodeDidChangeChildren").split(u' '));
    EXPECT_EQ(run.at("notifications.1.userInfo.PLDictionaryKeyOutlineNodeAdded.name").toString(), u"CX");
    const PLCliRun typed = succeeds({"edit", path("main.tex"), "--replace", "0", "0", "(", "--replace", "0", "0", "\\t\\\\x\\n"});
    EXPECT_TRUE(typed.at("text").toString().startsWith(u"\t\\x\n()\\part{P}"));
    const PLCliRun undone = succeeds({"edit", path("main.tex"), "--replace", "0", "0", "(", "--undo", "1"});
    EXPECT_TRUE(undone.at("text").toString().startsWith(u"\\part{P}"));
    PLTest::writeFile(path("drift.tex"), "x\n\\input{sub/chap}\ny\n");
    const PLCliRun settled = succeeds({"edit", path("drift.tex"), "--replace", "3", "17", ""});
    EXPECT_EQ(settled.at("outline.children").toArray().size(), 1);
    EXPECT_EQ(settled.at("outline.children.0.content").toString(), u"x\n\\\n");
}

// Each file once, also along an include cycle; quick open matches headings and file names.
TEST_F(CliProject, FilesAndQuickOpen)
{
    const PLCliRun files = succeeds({"files", path("main.tex")});
    ASSERT_EQ(files.at("files").toArray().size(), 4);
    EXPECT_EQ(files.at("files.0.path").toString(), path("main.tex"));
    EXPECT_TRUE(files.at("files.0.readProperly").toBool());
    QStringList names;
    for (const QJsonValue &match : succeeds({"quickopen", path("main.tex"), "IN"}).at("matches").toArray())
        names << jsonAt(match, "name").toString();
    EXPECT_EQ(names, (QStringList{QStringLiteral("Inside"), QStringLiteral("Intro to \\emph{sets}"), QStringLiteral("main.tex")}));
    PLTest::writeFile(path("a.tex"), "\\section{A}\n\\input{b}\n");
    PLTest::writeFile(path("b.tex"), "\\section{B}\n\\input{a}\n");
    EXPECT_EQ(succeeds({"files", path("a.tex")}).at("files").toArray().size(), 2);
    succeeds({"outline", path("a.tex")});
    succeeds({"outline", path("a.tex"), "--sidebar"});
}

// Runs cover the text end to end and neighbours differ; the comment and the include's link are
// runs of their own. A .bib file of any case gets the bibliography rules and the user's colours.
TEST_F(CliProject, HighlightPrintsMaximalRunsInTheUsersColours)
{
    const QString text = QStringLiteral("\\section{A} % c\n\\input{b}\n");
    PLTest::writeFile(path("a.tex"), text.toUtf8());
    const PLCliRun result = succeeds({"highlight", path("a.tex")});
    EXPECT_EQ(result.at("rules").toString(), u"latex");
    EXPECT_EQ(result.at("length").toInt(), text.size());
    QList<int> starts{0};
    QJsonObject previous, comment, link;
    for (const QJsonValue &value : result.at("runs").toArray()) {
        QJsonObject run = value.toObject();
        EXPECT_EQ(run.take(QStringLiteral("location")).toInt(), starts.last());
        comment = starts.last() == 12 ? run : comment;
        link = starts.last() == 23 ? run : link;
        starts << starts.last() + run.take(QStringLiteral("length")).toInt();
        EXPECT_NE(run, previous) << starts.last();
        previous = run;
    }
    EXPECT_TRUE(starts.last() == text.size() && starts.contains(15) && starts.contains(24)) << starts.size();
    EXPECT_EQ(jsonAt(comment, "foreground.hex").toString(), u"#aaaaaaff");
    EXPECT_EQ(jsonAt(comment, "font.family").toString(), u"Monaco");
    EXPECT_TRUE(jsonAt(comment, "link").isNull());
    EXPECT_EQ(jsonAt(link, "link").toString(), u"file://");
    PLTest::writeFile(path("refs.BIB"), "@book{k,\n");
    const PLCliSettings settings(m_dir.path());
    settings.set(PLUserDefaultsEditorColorBIBType, PLColor::rgb(0.1, 0.2, 0.3, 0.4).archived());
    const PLCliRun bib = succeeds({"highlight", path("refs.BIB")});
    EXPECT_EQ(bib.at("rules").toString(), u"bib");
    EXPECT_EQ(bib.at("runs.0.length").toInt(), 5);
    EXPECT_EQ(bib.at("runs.0.foreground.blue").toDouble(), 0.3);
}

// Bad arguments exit with 2, input that cannot be read with 1; either way with nothing on standard
// output and one line on standard error that says why. Regression: numbers were converted blindly:
// a replacement length near the largest integer overflowed past the end check and rewrote the
// text, --stop-after 1e12 never stopped and nan was taken, a line of 1e300 became whatever the
// conversion made of it.
TEST(Cli, UsageAndInputErrorsExitWithOneLineOnStandardError)
{
    QTemporaryDir dir;
    const QString latin1 = dir.filePath(QStringLiteral("latin1.tex"));
    PLTest::writeFile(latin1, QByteArray("Gr\xfc\xdf"));
    const QString file = dir.filePath(QStringLiteral("a.tex"));
    PLTest::writeFile(file, "\\section{A}\n");
    // Arguments split at spaces; LATIN1, MISSING and FILE stand for the files above, DIR for their folder.
    const struct
    {
        const char *command;
        int status;
        const char *message;
    } cases[] = {
        {"frobnicate", 2, ""},
        {"lines", 2, ""},
        {"lines x.tex --line-of", 2, ""},
        {"lines LATIN1", 1, ""},
        {"lines MISSING", 1, ""},
        {"highlight a.tex b.tex", 2, ""},
        {"highlight MISSING", 1, ""},
        {"outline MISSING", 1, ""},
        {"files DIR", 1, ""},
        {"log out.txt", 2, ""},
        {"log --root", 2, ""},
        {"log /nonexistent/out.txt --root /p/main.tex", 1, ""},
        {"typeset", 2, ""},
        {"typeset /nonexistent/main.tex", 1, ""},
        {"synctex sideways a b c d", 2, ""},
        {"quickopen FILE", 2, ""},
        {"edit FILE --replace 1 9223372036854775807 x", 2,
         "--replace LENGTH needs a whole number from 0 to 2147483647, not 9223372036854775807"},
        {"edit FILE --replace -1 0 x", 2, "--replace LOCATION needs a whole number from 0"},
        // Within range, a replacement past the end is still refused and the text stays as it was.
        {"edit FILE --replace 1 2147483647 x", 1, ""},
        {"edit FILE --undo 1e3", 2, "--undo needs a whole number"},
        {"typeset FILE --stop-after 1e12", 2, "--stop-after needs a number from 0 to 2147483"},
        {"typeset FILE --stop-after nan", 2, "not nan"},
        {"typeset FILE --stop-after -1", 2, "not -1"},
        {"synctex forward FILE FILE 1e300 0", 2, "LINE needs a whole number from 1 to 2147483647, not 1e300"},
        {"synctex forward FILE FILE 1 -5", 2, "COLUMN"},
        {"synctex backward FILE 0 1 1", 2, "PAGE"},
        {"synctex backward FILE 1 1e300 1", 2, "H needs"},
        {"synctex backward FILE 1 1 nan", 2, "V needs"},
        {"lines FILE --line-of 99999999999999999999", 2, "--line-of needs a whole number"},
    };
    for (const auto &[command, status, message] : cases) {
        SCOPED_TRACE(command);
        QStringList arguments = QString::fromLatin1(command).split(u' ');
        arguments.replaceInStrings(QStringLiteral("LATIN1"), latin1).replaceInStrings(QStringLiteral("FILE"), file);
        arguments.replaceInStrings(QStringLiteral("MISSING"), dir.filePath(QStringLiteral("missing.tex")));
        arguments.replaceInStrings(QStringLiteral("DIR"), dir.path());
        const PLCliRun run = runCli(arguments);
        EXPECT_EQ(run.exitCode, status);
        EXPECT_TRUE(run.standardOutput.isEmpty());
        EXPECT_TRUE(run.standardError.startsWith("plumeo-cli: ")) << run.standardError.toStdString();
        EXPECT_TRUE(run.standardError.contains(message)) << run.standardError.toStdString();
        EXPECT_EQ(run.standardError.count('\n'), 1) << run.standardError.toStdString();
    }
    EXPECT_EQ(runCli({}).exitCode, 2);
    EXPECT_EQ(runCli({"--help"}).exitCode, 0);
}

TEST(Cli, LinesAnswersLineNumbersAndLineStarts)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("a.tex"));
    PLTest::writeFile(path, QByteArray("a\r\nb\nc\xc3\xa4\n"));
    const PLCliRun run = runCli({"lines", path, "--line-of", "3", "--start-of", "3", "--line-of", "99", "--start-of", "0"});
    ASSERT_EQ(run.exitCode, 0) << run.standardError.toStdString();
    EXPECT_EQ(run.at("lineCount").toInt(), 4);
    EXPECT_EQ(run.at("answers").toArray(), QJsonDocument::fromJson(R"([{"lineOf": 3, "line": 2}, {"startOf": 3, "location": 5},
        {"lineOf": 99, "line": -1}, {"startOf": 0, "location": 0}])").array());
}

// One run per way through the command; what each log item holds is the parsers' own test.
TEST(CliTypesetting, LogPlacesTheFilesUnderTheRootAndReadsStrategies)
{
    const auto log = [](const char *fixture, const QStringList &more = {}) {
        return runCli(QStringList{QStringLiteral("log"), documentPath(QString::fromLatin1(fixture) + QStringLiteral("/output.txt")),
                                  QStringLiteral("--root"), QStringLiteral("/p/main.tex")} + more);
    };
    EXPECT_EQ(log("subfolder").at("errorsFound.0.file").toString(), QStringLiteral("/p/chapters/one.tex"));
    EXPECT_EQ(log("missing-package", {QStringLiteral("--strategies")}).at("items.1.filename").toString(), QStringLiteral("./main.tex"));
}

// The one run of the real engine through the command: the SyncTeX places it hands on are checked
// against the synctex tool by the search's test; here the way back must land where it started.
TEST(CliTypesetting, TypesetSummarisesAndSyncTexGoesForwardAndBackAgain)
{
    QTemporaryDir dir;
    const QString folder = copyDocument(QStringLiteral("subfolder"), dir.path());
    const QString main = folder + QStringLiteral("main.tex"), chapter = folder + QStringLiteral("chapters/one.tex");
    const PLCliRun run = runCli({"typeset", main});
    ASSERT_EQ(run.exitCode, 1) << run.standardError.toStdString();
    EXPECT_EQ(run.at("summary").toString(), QStringLiteral("1 error and 4 warnings found"));
    EXPECT_EQ(run.at("fileNames").toVariant().toStringList(), QStringLiteral("main.tex chapters/one.tex").split(u' '));
    EXPECT_TRUE(run.at("pdfExists").toBool());
    // The engine's output was streamed to standard error.
    EXPECT_TRUE(run.standardError.contains("Output written on main.pdf"));
    const PLCliRun forward = runCli({"synctex", "forward", main, chapter, "4", "0"});
    ASSERT_GT(forward.at("results.0.page").toInt(), 0) << forward.standardError.toStdString();
    const PLCliRun backward = runCli({"synctex", "backward", main, QString::number(forward.at("results.0.page").toInt()),
                                      QString::number(forward.at("results.0.h").toDouble()),
                                      QString::number(forward.at("results.0.v").toDouble())});
    EXPECT_EQ(backward.at("results.0.filePath").toString(), chapter);
    EXPECT_EQ(backward.at("results.0.line").toInt(), 4);
}

TEST(CliTypesetting, StopAfterEndsAHangingEngine)
{
    QTemporaryDir dir;
    PLTest::writeFile(dir.filePath(QStringLiteral("main.tex")),
                      "\\documentclass{article}\\begin{document}\\def\\a{\\a}\\a\\end{document}\n");
    const PLCliRun run = runCli({"typeset", dir.filePath(QStringLiteral("main.tex")), "--stop-after", "0.5"}, 30000);
    // Stopped before it wrote a PDF, the job did not do its work.
    ASSERT_EQ(run.exitCode, 1) << run.standardError.toStdString();
    EXPECT_TRUE(run.standardError.endsWith("plumeo-cli: no PDF was written\n"));
    EXPECT_TRUE(run.at("stopped").toBool());
    EXPECT_TRUE(run.at("engineFailure").isNull());
}

// A settings store of its own for the commands run while it lives, with a TeX folder of
// stand-in programs.
class CliWithStandIns : public ::testing::Test
{
protected:
    void SetUp() override
    {
        settings.set(PLUserDefaultsTexLocation, texFolder());
        PLTest::writeFile(dir.filePath(QStringLiteral("main.tex")), "\\documentclass{article}\\begin{document}x\\end{document}\n");
    }
    QString texFolder() const { return dir.filePath(QStringLiteral("texbin")); }
    void writeEngine(const QByteArray &script) { writeProgram(texFolder() + QStringLiteral("/pdflatex"), script); }
    QString mainPath() const { return dir.filePath(QStringLiteral("main.tex")); }
    QTemporaryDir dir;
    const PLCliSettings settings{dir.filePath(QStringLiteral("config"))};
};

// Regression: an engine that was missing, could not run or was ended half way ended the command
// with an empty summary and not a word why, with status 0 once it had run. How each ending is
// worded is the runner's; here one of each kind (no engine, a folder in its place, a script).
TEST_F(CliWithStandIns, AMissingOrFailingEngineEndsWithStatusOneAndSaysWhy)
{
    const std::pair<const char *, const char *> cases[] = {
        {nullptr, "Could not locate pdflatex with path: TEX/pdflatex Plumeo relies on MacTeX. Is this installed?\n"},
        {"", "the engine failed: could not run "},
        {"#!/bin/sh\necho '%PDF-1.5' > main.pdf\nkill -XFSZ $$\n", "the engine failed: pdflatex was ended by signal 25"}};
    for (const auto &[engine, message] : cases) {
        QDir(texFolder()).removeRecursively();
        QDir().mkpath(engine && !*engine ? texFolder() + QStringLiteral("/pdflatex") : texFolder());
        if (engine && *engine)
            writeEngine(engine);
        const PLCliRun run = runCli({"typeset", mainPath()});
        EXPECT_EQ(run.exitCode, 1);
        const QString error = QString::fromUtf8(run.standardError);
        EXPECT_TRUE(error.contains(QStringLiteral("plumeo-cli: ") + QString::fromUtf8(message).replace(QStringLiteral("TEX"), texFolder())))
            << error.toStdString();
        EXPECT_EQ(run.at("engineFound").toBool(), engine != nullptr);
        if (engine) {
            EXPECT_TRUE(error.contains(QStringLiteral(": ") + run.at("runs.0.description").toString() + u'\n')) << error.toStdString();
        }
    }
}

// Regression: the engine ran in a process group of its own and outlived a killed plumeo-cli.
TEST_F(CliWithStandIns, KillingTheCommandLeavesNoEngineBehind)
{
    writeEngine("#!/bin/sh\necho $$ > engine.pid\necho '(./main.tex'\nexec /usr/bin/tail -f /dev/null\n");
    QProcess cli;
    cli.start(QStringLiteral(PLUMEO_CLI_PATH), {QStringLiteral("typeset"), mainPath()});
    ASSERT_TRUE(cli.waitForStarted());
    qint64 engine = 0;
    ASSERT_TRUE(QTest::qWaitFor([&] {
        engine = PLTest::readFile(dir.filePath(QStringLiteral("engine.pid"))).trimmed().toLongLong();
        return engine > 0;
    }, 30000));
    EXPECT_FALSE(processHasEnded(engine));
    ::kill(pid_t(cli.processId()), SIGKILL);
    ASSERT_TRUE(cli.waitForFinished());
    EXPECT_TRUE(QTest::qWaitFor([engine] { return processHasEnded(engine); }, 10000));
    ::kill(pid_t(engine), SIGKILL);
}

// Regression: main files whose names the engine reads as an option or a format were not
// typeset at all.
TEST(CliTypesetting, MainFilesNamedLikeOptionsOrFormatsAreTypeset)
{
    for (const QString &name : {QStringLiteral("-ini.tex"), QStringLiteral("&pdflatex.tex")}) {
        SCOPED_TRACE(name.toStdString());
        QTemporaryDir dir;
        PLTest::writeFile(dir.filePath(name), "\\documentclass{article}\\begin{document}x\\end{document}\n");
        const PLCliRun run = runCli({"typeset", dir.filePath(name)});
        EXPECT_EQ(run.exitCode, 0) << run.standardError.toStdString();
        EXPECT_TRUE(run.at("pdfWritten").toBool());
        EXPECT_TRUE(run.at("engineFailure").isNull());
    }
}

// The CLI writes its JSON by hand; what it prints must stay what QJsonDocument printed.
QString piecesString(std::mt19937 &random)
{
    static const QStringList pieces = {
        QStringLiteral("a"), QStringLiteral("\\section{x}"), QStringLiteral("\""), QStringLiteral("\\"),
        QStringLiteral("\n"), QStringLiteral("\r\n"), QStringLiteral("\t"), QStringLiteral("\b"), QStringLiteral("\f"),
        QString(QChar(0x01)), QString(QChar(0x1f)), QString(QChar(0x7f)), QString(QChar(0x80)), QString(QChar(0xe9)),
        QString(QChar(0x7ff)), QString(QChar(0x800)), QString(QChar(0x2028)), QString(QChar(0xfffe)),
        QString(QChar(0xffff)), QString::fromUtf16(u"𝔸"), QString(QChar(0xd800)), QString(QChar(0xdbff)),
        QString(QChar(0xdc00)), QStringLiteral("/"), QStringLiteral("<>&'"), QString(QChar(0))};
    QString text;
    const int length = int(random() % 12);
    for (int i = 0; i < length; ++i)
        text += pieces[int(random() % pieces.size())];
    return text;
}

QJsonValue randomValue(std::mt19937 &random, int depth)
{
    switch (random() % (depth > 4 ? 4 : 6)) {
    case 0: return QJsonValue(piecesString(random));
    case 1: return QJsonValue(int(random() % 2001) - 1000);
    case 2: return QJsonValue(random() % 2 == 0);
    case 3: return random() % 2 == 0 ? QJsonValue() : QJsonValue(std::ldexp(double(random() % 1000) - 500, int(random() % 80) - 40));
    case 4: {
        QJsonArray array;
        for (int n = int(random() % 4); n > 0; --n)
            array.append(randomValue(random, depth + 1));
        return array;
    }
    default: {
        QJsonObject object;
        for (int n = int(random() % 5); n > 0; --n)
            object.insert(piecesString(random), randomValue(random, depth + 1));
        return object;
    }
    }
}

// Edge documents, then random trees of every kind of value.
TEST(PLCliJsonWriter, WritesTheBytesQJsonDocumentWrites)
{
    std::mt19937 random(41);
    QJsonArray trees;
    for (int i = 0; i < 300; ++i)
        trees.append(randomValue(random, 0));
    const QJsonDocument documents[] = {
        QJsonDocument(QJsonObject()), QJsonDocument(QJsonArray()),
        QJsonDocument(QJsonArray{0, -1, qint64(1) << 53, 0.5, -0.0, 1e300, 1.0 / 3, std::nan(""), HUGE_VAL}),
        QJsonDocument(trees)};
    for (const QJsonDocument &document : documents) {
        PLCliJsonWriter writer;
        writer.json(document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object()));
        EXPECT_EQ(writer.bytes().toStdString(), document.toJson(QJsonDocument::Indented).toStdString());
    }
}

// Whole commands: reading what they print and printing it again with QJsonDocument gives the same
// bytes, so their members stand in QJsonObject's order and their strings are escaped as it does.
TEST(PLCliJsonWriter, CommandsPrintWhatQJsonDocumentPrinted)
{
    QTemporaryDir dir;
    const auto path = [&](const char *relative) { return QDir(dir.path()).filePath(QString::fromLatin1(relative)); };
    PLTest::writeFile(path("main.tex"), "\\part{P \"q\" \\\\ \\t}\n\\chapter[s]{C \xc3\xa9 \xf0\x9d\x94\xb8}\ntext\t\f\n"
                                        "\\input{sub/chap}\n\\input{main}\n\\bibliography{refs}\n");
    PLTest::writeFile(path("sub/chap.tex"), "\\section{Inside}\n\\input{../main}\n\\paragraph*{Deep}\n");
    PLTest::writeFile(path("refs.bib"), "@book{a, title={A}}\n");
    // The arguments are split at "|".
    for (const char *command :
         {"outline", "outline|--no-content", "outline|--sidebar", "edit|--replace|0|0|\\section{New \"one\"}\n% \\input{loop}\n"}) {
        SCOPED_TRACE(command);
        QStringList arguments = QString::fromUtf8(command).split(u'|');
        arguments.insert(1, path("main.tex"));
        const PLCliRun run = runCli(arguments);
        ASSERT_EQ(run.exitCode, 0) << run.standardError.toStdString();
        EXPECT_EQ(run.standardOutput.toStdString(), run.json().toJson(QJsonDocument::Indented).toStdString());
    }
}

}
