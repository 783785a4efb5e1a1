#include "core/project/PLFile.h"
#include "core/project/PLFilePool.h"
#include "core/typesetting/PLLogItem.h"
#include "core/typesetting/PLLogStringParser.h"
#include "core/typesetting/PLTypesettingLogFileParser.h"
#include "PLTypesettingTestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

using namespace PLTypesettingTest;

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
