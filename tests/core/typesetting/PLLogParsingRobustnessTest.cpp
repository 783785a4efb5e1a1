#include "core/project/PLFile.h"
#include "core/project/PLFilePool.h"
#include "core/typesetting/PLLogItem.h"
#include "core/typesetting/PLLogStringParser.h"
#include "core/typesetting/PLTypesettingLogFileParser.h"
#include "PLTypesettingTestSupport.h"

#include <QRandomGenerator>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <ctime>
#include <sys/stat.h>

namespace {

using namespace PLTypesettingTest;

// Output of a given size in one of the shapes that have made log parsers slow or crash: real
// output repeated (with and without file openings), binary garbage, and megabyte lines of what the
// expressions start with.
QString hostileOutput(const std::string &kind, qsizetype size)
{
    if (kind == "real" || kind == "no-openings") {
        const QString one = capturedOutput(QStringLiteral("subfolder")) + capturedOutput(QStringLiteral("missing-package"));
        QString text;
        while (text.size() < size)
            text += one;
        return kind == "real" ? text : text.replace(QStringLiteral("(./"), QStringLiteral("(/"));
    }
    if (kind == "garbage") {
        QByteArray bytes(size, Qt::Uninitialized);
        QRandomGenerator random(1);
        for (char &byte : bytes)
            byte = char(random.bounded(256));
        return QString::fromLatin1(bytes);
    }
    const QString piece = QString::fromStdString(kind);
    QString line;
    while (line.size() < std::min<qsizetype>(size, 1024 * 1024))
        line += piece;
    QString text;
    while (text.size() < size)
        text += line + u'\n';
    // The last line of a piece is never read by the strategies: end with a short one.
    return text + QStringLiteral("end\n");
}

double threadSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

// Processor time of both parsers on the text.
double parseTime(const QString &text)
{
    PLFilePool pool;
    const auto root = PLFile::fileWithPath(QStringLiteral("/project/main.tex"), nullptr);
    const double start = threadSeconds();
    PLLogStringParser parser(root);
    parser.parseLogString(text);
    PLTypesettingLogFileParser strategies(root);
    strategies.parseLogString(text);
    return threadSeconds() - start;
}

struct HostileCase
{
    std::string kind;
    qsizetype size;
};

class LogParsingOfHostileOutput : public ::testing::TestWithParam<HostileCase>
{
};

// Regression: a search that tried the expressions at every position of a line took quadratic time
// on long lines; four times the output must take about four times as long.
TEST_P(LogParsingOfHostileOutput, TakesTimeInProportionToItsSize)
{
    const HostileCase &c = GetParam();
    const double small = std::min(parseTime(hostileOutput(c.kind, c.size)), parseTime(hostileOutput(c.kind, c.size)));
    const double large = parseTime(hostileOutput(c.kind, 4 * c.size));
    EXPECT_LT(large, 8 * small + 0.05) << "small: " << small << " s, four times as large: " << large << " s";
}

constexpr qsizetype kMegabyte = 1024 * 1024;

INSTANTIATE_TEST_SUITE_P(
    Shapes, LogParsingOfHostileOutput,
    ::testing::Values(HostileCase{"real", kMegabyte}, HostileCase{"no-openings", kMegabyte},
                      HostileCase{"garbage", kMegabyte}, HostileCase{".", kMegabyte}, HostileCase{"./", kMegabyte},
                      HostileCase{"(./", kMegabyte}, HostileCase{"./a.tex:1: ", kMegabyte},
                      HostileCase{"./a.tex:1:", kMegabyte}, HostileCase{"LaTeX Warning: ", kMegabyte},
                      HostileCase{"! LaTeX Error: File `a.sty", kMegabyte},
                      HostileCase{"! Undefined control sequence.", kMegabyte}, HostileCase{"((((", kMegabyte},
                      HostileCase{"))))", kMegabyte},
                      // A line per character: the cost per line counts here.
                      HostileCase{"\r", kMegabyte / 4}, HostileCase{"\f\v", kMegabyte / 4}),
    [](const ::testing::TestParamInfo<HostileCase> &info) {
        std::string name;
        for (const char c : info.param.kind)
            name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
        return name + "_" + std::to_string(info.index);
    });

TEST(LogParsingOfHostileOutput, RepeatedRealOutputGivesRepeatedResults)
{
    PLFilePool pool;
    const auto root = PLFile::fileWithPath(QStringLiteral("/project/main.tex"), nullptr);
    const QString once = capturedOutput(QStringLiteral("subfolder"));
    PLLogStringParser parser(root);
    parser.parseLogString(once + once + once);
    EXPECT_EQ(parser.warningsFound().size(), 12);
    EXPECT_EQ(parser.errorsFound().size(), 3);
}

// Regression: the parsers opened every file the output named, and the document being typeset
// writes that output (\typeout): a name that led to /dev/zero read until memory ran out, a FIFO
// blocked the job. Items name their files by path, and nothing named is opened.
TEST(LogParsingOfHostileOutput, FilesNamedByTheOutputAreNeitherOpenedNorRead)
{
    QTemporaryDir dir;
    PLTest::writeFile(dir.filePath(QStringLiteral("plain.tex")), "text\n");
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/zero"), dir.filePath(QStringLiteral("zero.tex"))));
    ASSERT_EQ(::mkfifo(QFile::encodeName(dir.filePath(QStringLiteral("fifo.tex"))).constData(), 0600), 0);
    PLFilePool pool;
    const auto root = PLFile::fileWithPath(dir.filePath(QStringLiteral("main.tex")), nullptr);
    const QString folder = root->directoryOfFile();
    // The first name is a plain file, so that a parser that opens files fails here before it
    // reaches the ones that would hang it.
    for (const QString &name : {QStringLiteral("plain.tex"), QStringLiteral("zero.tex"), QStringLiteral("fifo.tex"),
                                QStringLiteral("../../../../../../../../../../dev/zero")}) {
        SCOPED_TRACE(name.toStdString());
        const QString output = QStringLiteral("(./") + name + QStringLiteral("\nLaTeX Warning: w on input line 2.\n\n./") + name +
                               QStringLiteral(":3: LaTeX Error: e.\n\nl.3 x\n\n");
        PLLogStringParser parser(root);
        parser.parseLogString(output);
        PLTypesettingLogFileParser strategies(root);
        strategies.parseLogString(output);
        ASSERT_EQ(pool.filesOpened().keys(), QStringList{root->stringPath()});

        ASSERT_EQ(parser.errorsFound().size(), 1);
        EXPECT_EQ(parser.errorsFound().first()->filePath(), folder + name);
        EXPECT_EQ(parser.errorsFound().first()->line(), 3);
        if (name.endsWith(QStringLiteral(".tex"))) {
            EXPECT_EQ(parser.currentFilePath(), folder + name);
            EXPECT_EQ(strategies.currentFilePath(), folder + name);
            ASSERT_EQ(parser.warningsFound().size(), 1);
            EXPECT_EQ(parser.warningsFound().first()->filePath(), folder + name);
            EXPECT_EQ(parser.warningCountForFilePath(folder + name), 1);
            ASSERT_EQ(strategies.itemCount(), 1);
            EXPECT_EQ(strategies.items().first().filename(), QStringLiteral("./") + name);
        }
    }
}

}
