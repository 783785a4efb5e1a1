#include "core/latex/PLDocumentOutlineViewDataSource.h"
#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "core/latex/PLLatexStringParser.h"
#include "PLOutlineTestSupport.h"
#include "core/editor/PLTextContentBuffer.h"

#include <QUndoStack>

using namespace PLTest;

namespace {

class PLIncludeCycleTest : public ProjectTest
{
protected:
    std::shared_ptr<PLFile> open(const QString &relative)
    {
        return PLFile::fileWithPath(path(relative), std::make_shared<PLLatexFileContentOutlineParser>());
    }

    QStringList projectNames(const std::shared_ptr<PLFile> &file)
    {
        QStringList names;
        for (const auto &member : file->allFilesInDocument())
            names.append(member->name());
        return names;
    }

    // Every node below the root, following includes: a looping include with a child never ends.
    int nodesReachable(const std::shared_ptr<PLOutlineNode> &root)
    {
        int count = 0;
        for (const auto &child : root->children())
            count += 1 + nodesReachable(child);
        return count;
    }

    // The sidebar asks for all of an item's rows in one walk; that must answer what asking row by
    // row does, looping includes and bibliography rows included.
    void expectRowsAgree(const PLDocumentOutlineViewDataSource &source, const PLOutlineNode *item, int depth)
    {
        std::vector<std::shared_ptr<PLOutlineNode>> walked;
        source.appendChildrenOfItem(item, walked);
        std::vector<std::shared_ptr<PLOutlineNode>> asked;
        for (int index = 0; index < source.numberOfChildrenOfItem(item); ++index) {
            if (auto row = source.childOfItem(index, item))
                asked.push_back(std::move(row));
        }
        EXPECT_EQ(walked, asked);
        for (const auto &row : walked) {
            if (depth < 8)
                expectRowsAgree(source, row.get(), depth + 1);
        }
    }
};

TEST_F(PLIncludeCycleTest, everyFileOpensOnceAndTheLoopingIncludeStaysEmpty)
{
    // The files, the first one opened, and the project it makes: a self include, two files, a
    // chain of three, a bibliography naming its includer, a shared file (no loop); spellings of one
    // path are one file: without cleaning, each spelling opened a new copy and the outline grew
    // without end.
    const std::pair<std::vector<std::pair<const char *, const char *>>, QStringList> cases[] = {
        {{{"a.tex", "\\input{a}"}}, {QStringLiteral("a.tex")}},
        {{{"a.tex", "\\input{b}"}, {"b.tex", "\\section{B}\\input{a}"}}, {QStringLiteral("a.tex"), QStringLiteral("b.tex")}},
        {{{"a.tex", "\\input{b}"}, {"b.tex", "\\input{c}"}, {"c.tex", "\\include{a}\\input{b}"}},
         {QStringLiteral("a.tex"), QStringLiteral("b.tex"), QStringLiteral("c.tex")}},
        {{{"a.tex", "\\bibliography{r}"}, {"r.bib", "\\input{a}"}}, {QStringLiteral("a.tex"), QStringLiteral("r.bib")}},
        {{{"a.tex", "\\input{b}\\input{c}"}, {"b.tex", "\\input{d}"}, {"c.tex", "\\input{d}"}, {"d.tex", "d"}},
         {QStringLiteral("a.tex"), QStringLiteral("b.tex"), QStringLiteral("d.tex"), QStringLiteral("c.tex")}},
        {{{"two.tex", "\\input{./two}\\input{.//two}"}}, {QStringLiteral("two.tex")}},
        {{{"a.tex", "\\input{b}\\input{./b}\\input{sub/../b.tex}\\bibliography{./r,r}"}, {"b.tex", "\\input{sub//../a}"}, {"r.bib", ""}},
         {QStringLiteral("a.tex"), QStringLiteral("b.tex"), QStringLiteral("r.bib")}}};
    for (const auto &[files, expectedProject] : cases) {
        for (const auto &[name, text] : files)
            write(QString::fromUtf8(name), QString::fromUtf8(text));
        const auto main = open(QString::fromUtf8(files.front().first));
        EXPECT_EQ(projectNames(main), expectedProject);
        EXPECT_EQ(pool.filesOpened().size(), expectedProject.size());
        for (const auto &file : main->allFilesInDocument())
            EXPECT_EQ(outlineText(file->outlineRootNode()), file->content());
        EXPECT_GT(nodesReachable(main->outlineRootNode()), 0);
        expectRowsAgree(PLDocumentOutlineViewDataSource(main), nullptr, 0);
        main->close();
        EXPECT_TRUE(pool.filesOpened().isEmpty());
    }
}

// A chain deeper than the parser follows ends in an include without a child instead of a stack
// overflow; a fresh open of the next file carries on from there.
TEST_F(PLIncludeCycleTest, aChainDeeperThanTheBoundStopsAtTheBound)
{
    const int length = PLLatexStringParser::maximumIncludeDepth + 3;
    for (int i = 0; i < length; ++i)
        write(QStringLiteral("f%1.tex").arg(i), i + 1 < length ? QStringLiteral("\\input{f%1}").arg(i + 1) : QString());
    const auto first = open(QStringLiteral("f0.tex"));
    EXPECT_EQ(first->allFilesInDocument().size(), PLLatexStringParser::maximumIncludeDepth);
    const QString lastName = QStringLiteral("f%1.tex").arg(PLLatexStringParser::maximumIncludeDepth - 1);
    const auto last = pool.fileForPath(path(lastName));
    ASSERT_NE(last, nullptr);
    EXPECT_TRUE(last->filesInDocument().isEmpty());
    const std::string unresolved = "input |\\\\input{f" + std::to_string(PLLatexStringParser::maximumIncludeDepth) + "}|";
    EXPECT_EQ(toLines(dumpOutline(last->outlineRootNode())), (Lines{"text ||", unresolved, "text ||"}));
    const auto next = open(QStringLiteral("f%1.tex").arg(PLLatexStringParser::maximumIncludeDepth));
    EXPECT_EQ(next->allFilesInDocument().size(), length - PLLatexStringParser::maximumIncludeDepth);
    next->close();
    first->close();
}

TEST_F(PLIncludeCycleTest, typingAnIncludeThatWouldLoopOpensNothing)
{
    write(QStringLiteral("a.tex"), QStringLiteral("\\input{b}\n"));
    write(QStringLiteral("b.tex"), QStringLiteral("\\section{B}\n"));
    const auto a = open(QStringLiteral("a.tex"));
    const auto b = pool.fileForPath(path(QStringLiteral("b.tex")));
    b->replaceContentStringInRange(PLRange{b->content().size(), 0}, QStringLiteral("\\input{a}"));
    b->replaceContentStringInRange(PLRange{b->content().size(), 0}, QStringLiteral("\\input{b}"));
    EXPECT_EQ(b->content(), QStringLiteral("\\section{B}\n\\input{a}\\input{b}"));
    EXPECT_TRUE(b->filesInDocument().isEmpty());
    EXPECT_EQ(a->openCount(), 1u);
    EXPECT_EQ(outlineText(b->outlineRootNode()), b->content());
    a->outlineRootNode()->fixTree();
    EXPECT_EQ(projectNames(a), (QStringList{QStringLiteral("a.tex"), QStringLiteral("b.tex")}));

    // Once a no longer includes b, b may include a.
    ASSERT_TRUE(b->save());
    // Saved, as the document marks it, so nothing keeps it open once its include goes.
    b->contentBuffer()->undoManager()->setClean();
    a->replaceContentStringInRange(PLRange{0, 9}, QString());
    EXPECT_EQ(pool.fileForPath(path(QStringLiteral("b.tex"))), nullptr);
    const auto reopened = open(QStringLiteral("b.tex"));
    EXPECT_EQ(reopened->filesInDocument(), QList<std::shared_ptr<PLFile>>{a});
}

}
