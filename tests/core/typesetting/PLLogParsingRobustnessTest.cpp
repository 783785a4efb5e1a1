#include "PLFile.h"
#include "PLFilePool.h"
#include "PLLogStringParser.h"
#include "PLTypesettingLogFileParser.h"
#include "PLTypesettingTestSupport.h"

#include <QRandomGenerator>

#include <gtest/gtest.h>

#include <ctime>

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

}
