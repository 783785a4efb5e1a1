#include "core/project/PLFile.h"
#include "PLTestSupport.h"
#include "core/project/PLTextViewHistoryHandler.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

constexpr PLRange a{1, 0};
constexpr PLRange b{5, 2};
constexpr PLRange c{9, 0};
constexpr PLRange d{12, 3};

class PLTextViewHistoryHandlerTest : public ::testing::Test
{
protected:
    std::shared_ptr<PLFile> open(const QString &name) { return files.emplace_back(PLFile::fileWithPath(folder.filePath(name), nullptr)); }
    std::shared_ptr<PLFile> untitled(const QString &name) { return files.emplace_back(PLFile::untitledFileWithName(name, nullptr)); }
    QTemporaryDir folder;
    PLTest::OpenedFiles files;
    PLTextViewHistoryHandler history;
};

// Walking the ranges is the editor pane's test; here, what the trail keeps.
TEST_F(PLTextViewHistoryHandlerTest, aRangePushedTwiceIsKeptOnceAndAPushStartsANewBranch)
{
    history.switchToFile(open(QStringLiteral("a.tex")));
    for (PLRange range : {a, b, b, c})
        history.pushRangeToHistoryStack(range);
    const auto back = [this] { return history.getRangeInDirection(PLHistoryDirectionBackwards); };
    EXPECT_EQ((std::array{back(), back(), back()}), (std::array{b, a, PLNotFoundRange}));
    history.pushRangeToHistoryStack(d);
    EXPECT_FALSE(history.hasMoreRangesInDirection(PLHistoryDirectionForwards));
    EXPECT_EQ((std::array{back(), history.getRangeInDirection(PLHistoryDirectionForwards)}), (std::array{a, d}));
}

TEST_F(PLTextViewHistoryHandlerTest, theFileTrailGoesBackAndForwardAndBranchesOnANewFile)
{
    const auto first = open(QStringLiteral("a.tex"));
    // An untitled file is tracked by its name.
    const auto second = untitled(QStringLiteral("Untitled 3"));
    const auto third = open(QStringLiteral("c.tex"));
    for (const auto &file : {first, second, third})
        history.switchToFile(file);
    EXPECT_FALSE(history.hasMoreFilesInDirection(PLHistoryDirectionForwards));
    EXPECT_EQ(history.getFileInDirection(PLHistoryDirectionBackwards), second);
    // The pane then shows the file, which is current already: the forward trail stays.
    history.switchToFile(second);
    const auto back = [this] { return history.getFileInDirection(PLHistoryDirectionBackwards); };
    EXPECT_EQ((std::tuple{back(), history.hasMoreFilesInDirection(PLHistoryDirectionBackwards), back(),
                          history.getFileInDirection(PLHistoryDirectionForwards), history.currentFile()}),
              (std::tuple{first, false, nullptr, second, second}));
    history.switchToFile(first);
    EXPECT_FALSE(history.hasMoreFilesInDirection(PLHistoryDirectionForwards));
    EXPECT_EQ(history.getFileInDirection(PLHistoryDirectionBackwards), second);
}

TEST_F(PLTextViewHistoryHandlerTest, aFileWithNeitherPathNorNameIsNotTracked)
{
    const auto named = open(QStringLiteral("a.tex"));
    history.switchToFile(named);
    history.pushRangeToHistoryStack(a);
    EXPECT_EQ(history.switchToFile(untitled(QString())), PLNotFoundRange);
    EXPECT_EQ(history.currentFile(), named);
    EXPECT_FALSE(history.hasMoreFilesInDirection(PLHistoryDirectionBackwards));
    EXPECT_EQ(history.switchToFile(nullptr), PLNotFoundRange);
}

}
