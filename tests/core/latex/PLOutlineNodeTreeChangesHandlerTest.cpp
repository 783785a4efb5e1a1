#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "core/latex/PLOutlineNodeTreeChangesHandler.h"
#include "PLOutlineTestSupport.h"
#include "core/latex/PLOutlineTreeHelper.h"
#include "core/editor/PLTextContentBuffer.h"

using namespace PLTest;

namespace {

class PLOutlineNodeTreeChangesHandlerTest : public ProjectTest
{
protected:
    void SetUp() override
    {
        write(QStringLiteral("a.tex"), QStringLiteral("in a"));
        write(QStringLiteral("refs.bib"), QString());
        write(QStringLiteral("more.bib"), QString());
    }

    std::shared_ptr<PLFile> open(const QString &text)
    {
        return PLFile::fileWithPath(write(QStringLiteral("main.tex"), text), std::make_shared<PLLatexFileContentOutlineParser>());
    }
};

// One replacement through the buffer: the notifications it posts, in order, and the outline after.
// The random invariant test pins both for every kind of edit; these rows show a few by name.
TEST_F(PLOutlineNodeTreeChangesHandlerTest, replacementPatchesTheTree)
{
    const std::tuple<const char16_t *, PLRange, const char16_t *, Lines, Lines> cases[] = {
        // Commenting out an include.
        {u"\\input{a}\nafter", {0, 0}, u"%", {"added text |%|", "removed text |%|", "removed root a.tex", "changed"},
         {"text |%\\\\input{a}\\nafter|"}},
        // The merged node is decided from its start.
        {u"x\\section{A}\nbody", {0, 14}, u"\\chapter{C} ", {"removed text |\\nbody|", "removed section \"A\" |\\\\section{A}|", "changed"},
         {"chapter \"C\" |\\\\chapter{C} ody|"}},
        // Children of the last covered node stay in order.
        {u"x\n\\section{A}\\subsection{B}1\\subsection{C}2", {1, 11}, u"",
         {"added text |x\\n|", "added text |x\\n|", "added text |x\\n|", "removed section \"A\" |\\\\section{A}|", "changed"},
         {"text |x}|", "subsection \"B\" |\\\\subsection{B}|", "  text |1|", "subsection \"C\" |\\\\subsection{C}|", "  text |2|"}},
        // Deleting an include closes its file.
        {u"x\\input{a}y", {0, 11}, u"z", {"removed text |y|", "removed input |\\\\input{a}|", "changed"}, {"text |z|"}}};
    for (const auto &[text, range, replacement, notifications, outline] : cases) {
        const auto file = open(QString::fromUtf16(text));
        OutlineNotificationRecorder recorder;
        file->contentBuffer()->replaceCharactersInRange(range, QString::fromUtf16(replacement));
        EXPECT_EQ(recorder.summary(), notifications);
        EXPECT_EQ(toLines(dumpOutline(file->outlineRootNode())), outline);
        EXPECT_EQ(outlineText(file->outlineRootNode()), file->content());
        // The edit names the file's root; a file that the edit opens announces its own parse.
        for (const auto &n : recorder.notifications) {
            if (*n.objectType == typeid(PLOutlineNode))
                EXPECT_EQ(n.object, file->outlineRootNode().get()) << n.name.toStdString();
            else
                EXPECT_NE(n.object, file.get()) << n.name.toStdString();
        }
        file->close();
    }
}

TEST_F(PLOutlineNodeTreeChangesHandlerTest, retypingAnIncludeGivesBackOnlyTheFileNoLongerNamed)
{
    const auto file = open(QStringLiteral("\\input{a}"));
    const auto a = pool.fileForPath(path(QStringLiteral("a.tex")));
    file->replaceContentStringInRange(PLRange{9, 0}, QStringLiteral(" "));
    EXPECT_EQ(a->openCount(), 1u);
    EXPECT_EQ(file->filesInDocument(), QList<std::shared_ptr<PLFile>>{a});
    file->replaceContentStringInRange(PLRange{7, 1}, QStringLiteral("b"));
    EXPECT_EQ(pool.fileForPath(path(QStringLiteral("a.tex"))), nullptr);
    EXPECT_EQ(file->filesInDocument(), QList<std::shared_ptr<PLFile>>{pool.fileForPath(path(QStringLiteral("b.tex")))});
}

TEST_F(PLOutlineNodeTreeChangesHandlerTest, retypingABibliographyKeepsOneOpeningPerName)
{
    const auto file = open(QStringLiteral("\\bibliography{refs}\n"));
    const auto refs = pool.fileForPath(path(QStringLiteral("refs.bib")));
    for (int i = 0; i < 3; ++i)
        file->replaceContentStringInRange(PLRange{19, 0}, QStringLiteral(" "));
    EXPECT_EQ(refs->openCount(), 1u);
    file->replaceContentStringInRange(PLRange{18, 0}, QStringLiteral(",more"));
    EXPECT_EQ(refs->openCount(), 1u);
    EXPECT_EQ(toLines(dumpOutline(file->outlineRootNode())).at(1), "bib |\\\\bibliography{refs,more}|");
    file->replaceContentStringInRange(PLRange{0, file->content().size()}, QString());
    EXPECT_TRUE(pool.filesOpened().contains(file->stringPath()));
    EXPECT_EQ(pool.filesOpened().size(), 1);
}

TEST_F(PLOutlineNodeTreeChangesHandlerTest, retypedIncludeInAnUntitledDocumentKeepsItsFile)
{
    const auto parser = std::make_shared<PLLatexFileContentOutlineParser>();
    const auto untitled = PLFile::untitledFileWithName(QStringLiteral("Untitled"), parser);
    untitled->replaceContentStringInRange(PLRange{0, 0}, QStringLiteral("\\input{x}"));
    const auto x = pool.untitledFileWithName(QStringLiteral("x"));
    ASSERT_NE(x, nullptr);
    x->replaceContentStringInRange(PLRange{0, 0}, QStringLiteral("kept text"));

    untitled->replaceContentStringInRange(PLRange{9, 0}, QStringLiteral("\n"));
    EXPECT_EQ(x->openCount(), 1u);
    untitled->replaceContentStringInRange(PLRange{7, 1}, QStringLiteral("y"));
    const auto include = untitled->outlineRootNode()->childAtIndex(1);
    ASSERT_EQ(include->childCount(), 1);
    const auto root = include->childAtIndex(0);
    EXPECT_EQ(root->name(), QStringLiteral("y"));
    EXPECT_EQ(root->file(), x);
    EXPECT_EQ(x->content(), QStringLiteral("kept text"));
    EXPECT_EQ(x->name(), QStringLiteral("y"));
}

TEST_F(PLOutlineNodeTreeChangesHandlerTest, wholeFileParseAnnouncesEachNodeWithTheFile)
{
    OutlineNotificationRecorder recorder;
    const auto file = open(QStringLiteral("a\\section{B}c"));
    EXPECT_EQ(recorder.summary(), (Lines{"added text |a|", "added section \"B\" |\\\\section{B}|", "added text |c|"}));
    for (const auto &n : recorder.notifications) {
        EXPECT_EQ(n.object, file.get());
        EXPECT_EQ(*n.objectType, typeid(PLFile));
    }
}

// Ties between nodes go to the earlier one; the random edits check the rest of the search.
TEST_F(PLOutlineNodeTreeChangesHandlerTest, includesAreFoundByTheNameAtTheRange)
{
    const auto file = open(QStringLiteral("ab\\section{C}de\\input{a}f\\bibliography{refs,more}"));
    const PLOutlineTreeHelper helper(file->outlineRootNode());
    EXPECT_EQ(helper.fileForIncludeNodeAtRange(18, 0), pool.fileForPath(path(QStringLiteral("a.tex"))));
    EXPECT_EQ(helper.fileForIncludeNodeAtRange(0, 0), nullptr);
    EXPECT_EQ(helper.fileForIncludeNodeAtRange(40, 0)->name(), QStringLiteral("refs.bib"));
    EXPECT_EQ(helper.fileForIncludeNodeAtRange(43, 3)->name(), QStringLiteral("refs.bib"));
    EXPECT_EQ(helper.fileForIncludeNodeAtRange(44, 0)->name(), QStringLiteral("more.bib"));
    EXPECT_FALSE(PLOutlineTreeHelper(PLOutlineNode::create(QString(), 0, QString(), nullptr)).locateNodesInRange(0, 0));
    EXPECT_EQ(PLOutlineNodeTreeChangesHandler(file).locateNodesInRangeRelativeFromNode(3, 0, file->outlineRootNode())
                  ->searchResultAtIndex(0).location(),
              2);
}

}
