#include "PLOutlineTestSupport.h"
#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "core/latex/PLOutlineNodeTreeChangesHandler.h"
#include "core/latex/PLOutlineTreeHelper.h"
#include "core/editor/PLTextContentBuffer.h"

using namespace PLTest;

namespace {

std::shared_ptr<PLOutlineNode> node(quint32 type, const QString &content, const QString &name = QStringLiteral("text"))
{
    return PLOutlineNode::create(name, type, content, nullptr);
}

std::shared_ptr<PLOutlineNode> root()
{
    return node(PLOutlineNode::FileRoot, QString(), QStringLiteral("root"));
}

TEST(PLOutlineNodeTest, childrenHaveOneParentButRootsKeepNone)
{
    const auto parent = node(PLOutlineNode::Section, QStringLiteral("\\section{A}"), QStringLiteral("A"));
    const auto other = node(PLOutlineNode::Section, QStringLiteral("\\section{B}"), QStringLiteral("B"));
    const auto text = node(PLOutlineNode::Text, QStringLiteral("t"));
    const auto included = root();
    parent->addChild(text);
    parent->addChild(text);
    other->addChild(text);
    EXPECT_EQ(std::tuple(parent->childCount(), other->childCount(), text->parent()), std::tuple(0, 1, other));
    // Added below includes a root keeps no parent (the include tests show it); only insertion gives it one.
    parent->insertChild(included, 0);
    EXPECT_EQ(included->parent(), parent);
    parent->removeChild(included);
    EXPECT_EQ(included->parent(), nullptr);
    for (const auto &none : {other->childAtIndex(1), other->childAtIndex(-1), text->leftSibling(), text->rightSibling()})
        EXPECT_EQ(none, nullptr);
}

TEST(PLOutlineNodeTest, walksStayInsideTheirFile)
{
    // main: section(text, include(root of a: text, section(text))), text
    const auto main = root();
    const auto section = node(PLOutlineNode::Section, QStringLiteral("\\section{A}"), QStringLiteral("A"));
    const auto firstText = node(PLOutlineNode::Text, QStringLiteral("1"));
    const auto include = PLOutlineNode::createFileIncludeNode(QStringLiteral("\\input{a}"), nullptr);
    const auto last = node(PLOutlineNode::Text, QStringLiteral("4"));
    const auto included = root();
    const auto includedText = node(PLOutlineNode::Text, QStringLiteral("2"));
    const auto includedSection = node(PLOutlineNode::Section, QStringLiteral("\\section{B}"), QStringLiteral("B"));
    const auto includedLast = node(PLOutlineNode::Text, QStringLiteral("3"));
    for (const auto &[parent, child] : {std::pair{main, section}, {main, last}, {section, firstText}, {section, include},
                                        {include, included}, {included, includedText}, {included, includedSection},
                                        {includedSection, includedLast}})
        parent->addChild(child);
    QStringList next;
    for (auto n = main->nextNode(); n; n = n->nextNode())
        next.append(n->content());
    EXPECT_EQ(next.join(u','), QStringLiteral(",2,\\section{B},3").prepend(QStringLiteral("\\section{A},1,\\input{a},")));
    EXPECT_EQ(includedLast->nextNode(), nullptr);
    EXPECT_EQ(outlineText(main) + u'|' + outlineText(included), QStringLiteral("\\section{A}1\\input{a}4|2\\section{B}3"));
    EXPECT_EQ(last->previousNode(), included->childAtIndex(1)->childAtIndex(0));
    EXPECT_EQ(firstText->previousNode(), section);
    EXPECT_EQ(section->traverseLeft(), nullptr);
}

// Which heading an edited node becomes is pinned by the seeded outline digests; here, the nodes
// whose kind an edit leaves alone.
TEST(PLOutlineNodeTest, contentEditsKeepIncludesAndRootsWhatTheyAre)
{
    const auto include = PLOutlineNode::createFileIncludeNode(QStringLiteral("\\input{a}"), nullptr);
    EXPECT_FALSE(include->replaceContentInRange(9, 1, QStringLiteral("x")));
    EXPECT_EQ(include->name(), QStringLiteral("input"));
    EXPECT_TRUE(include->replaceContentInRange(9, 0, QStringLiteral("x")));
    EXPECT_EQ(include->name(), QStringLiteral("text"));
    EXPECT_EQ(include->textNodeSubType(), quint32(PLOutlineNode::FileInclude));
    const auto fileRoot = root();
    fileRoot->replaceContentInRange(0, 0, QStringLiteral("\\section{A}"));
    EXPECT_EQ(fileRoot->type(), quint32(PLOutlineNode::FileRoot));
}

TEST(PLOutlineNodeTest, escapedNameDropsSimpleCommands)
{
    const std::pair<const char *, const char *> cases[] = {
        {"Intro to \\emph{sets}", "Intro to sets"}, {"\\LaTeX{} basics", " basics"}, {"plain", "plain"}, {"a \\alpha b", "a alpha b"},
        {"\\textbf{x}\\textit{y}", "xy"}, {"end \\", "end "}, {"\\}{", "}{"},
        // Markup with nothing to show in a list of titles.
        {"$W$-types", "W-types"}, {"Models of $\\mathsf{HoTT}$", "Models of HoTT"}, {"Introduction\\label{sec:intro}", "Introduction"},
        {"Results\\footnote[2]{Joint work.} and \\index{x}more", "Results and more"},
        {"\\texorpdfstring{$\\mathcal{O}(n)$ bounds}{O(n) bounds}", "O(n) bounds"}, {"\\protect\\texorpdfstring{$W$}{W}-types", "W-types"},
        {"A\\\\B~C \\(x\\) 100\\% \\$5", "A B C x 100% $5"}, {"\\label{unclosed", "label{unclosed"},
        {"{\\bf Bold} and {\\em it\\/} in 10\\,km", "Bold and it in 10 km"}};
    for (const auto &[name, escaped] : cases)
        EXPECT_EQ(node(PLOutlineNode::Section, QString(), QString::fromUtf8(name))->escapedName().toStdString(), escaped);
    // A file's name is shown as it is.
    EXPECT_EQ(node(PLOutlineNode::FileRoot, QString(), QStringLiteral("a$b~.tex"))->escapedName(), QStringLiteral("a$b~.tex"));
}

// Edits of a long list of children: each child must know its place, and locating by subtree
// lengths must agree with adding up the children one by one, however far apart the edits are and
// however many of them land in one place.
TEST(PLOutlineNodeChildEditTest, placesAndLocationsFollowEveryEdit)
{
    // The number of children and the edits (kind, child, times; the kind one of 'i'nsert before,
    // 'a'ppend, 'r'emove, re'p'lace and 'g'row the content): a run of insertions at one place, edits
    // far apart, removals from the front then appends, growth on both sides of the last edit, emptied
    // and filled.
    const std::pair<int, std::vector<std::tuple<char, int, int>>> cases[] = {
        {20, {{'i', 10, 40}, {'r', 10, 40}}},
        {60, {{'i', 5, 1}, {'r', 50, 2}, {'i', 30, 1}, {'p', 0, 1}, {'r', 0, 1}, {'g', 56, 1}, {'p', 40, 1}}},
        {30, {{'r', 0, 10}, {'a', 0, 25}, {'g', 3, 2}, {'i', 0, 3}}},
        {40, {{'i', 20, 1}, {'g', 35, 1}, {'g', 2, 1}, {'p', 21, 1}, {'r', 39, 1}}},
        {3, {{'r', 0, 3}, {'a', 0, 20}, {'i', 20, 2}}}};
    for (const auto &[children, edits] : cases) {
        const auto fileRoot = root();
        int made = 0;
        // Lengths 0 to 2, so that empty children sit between the others.
        const auto fresh = [&] {
            ++made;
            return node(PLOutlineNode::Text, QString(made % 3, QChar(u'a' + made % 26)));
        };
        for (int i = 0; i < children; ++i)
            fileRoot->addChild(fresh());
        const auto check = [&](const std::string &step) {
            qsizetype end = 0;
            for (qsizetype i = 0; i < fileRoot->childCount(); ++i) {
                const auto child = fileRoot->childAtIndex(i);
                ASSERT_EQ(std::pair(child->indexInParent(), child->rightSibling()), std::pair(i, fileRoot->childAtIndex(i + 1))) << step;
                end += child->contentLength();
            }
            ASSERT_EQ(fileRoot->subtreeLength(), end) << step;
            for (qsizetype location = 0; location <= end + 1; ++location) {
                qsizetype start = 0;
                qsizetype expectedStart = 0;
                qsizetype expected = 0;
                while (expected + 1 < fileRoot->childCount()
                       && expectedStart + fileRoot->childAtIndex(expected)->contentLength() < location)
                    expectedStart += fileRoot->childAtIndex(expected++)->contentLength();
                const PLOutlineNode *found = fileRoot->nodeAtLocation(location, &start);
                ASSERT_EQ(std::tuple(found, start), std::tuple(fileRoot->childAtIndex(expected).get(), expectedStart))
                    << step << " at " << location;
            }
        };
        check("before the edits");
        for (const auto &[kind, at, times] : edits) {
            for (int t = 0; t < times; ++t) {
                const auto target = fileRoot->childAtIndex(at);
                if (kind == 'i')
                    fileRoot->insertChild(fresh(), at);
                else if (kind == 'a')
                    fileRoot->addChild(fresh());
                else if (kind == 'r')
                    fileRoot->removeChild(target);
                else if (kind == 'p')
                    fileRoot->replaceChild(target, node(PLOutlineNode::Text, QStringLiteral("replaced")));
                else
                    target->setContent(target->content() + QStringLiteral("grown"));
                check(std::string(1, kind) + std::to_string(at) + " #" + std::to_string(t));
            }
        }
    }
}

class PLOutlineNodeTreeChangesHandlerTest : public ProjectTest
{
protected:
    void SetUp() override
    {
        write({{"a.tex", "in a"}, {"refs.bib", ""}, {"more.bib", ""}});
    }
    std::shared_ptr<PLFile> open(const QString &text) { return ProjectTest::open(QStringLiteral("main.tex"), text); }
};

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
    // Untitled files include untitled files by name, and nothing goes to disk.
    untitled->replaceContentStringInRange(PLRange{0, 0}, QStringLiteral("\\input{x}\\bibliography{refs}"));
    ASSERT_NE(pool.untitledFileWithName(QStringLiteral("refs")), nullptr);
    EXPECT_TRUE(pool.filesOpened().isEmpty());
    const auto x = pool.untitledFileWithName(QStringLiteral("x"));
    ASSERT_NE(x, nullptr);
    x->replaceContentStringInRange(PLRange{0, 0}, QStringLiteral("kept text"));
    untitled->replaceContentStringInRange(PLRange{9, 0}, QStringLiteral("\n"));
    EXPECT_EQ(x->openCount(), 1u);
    untitled->replaceContentStringInRange(PLRange{7, 1}, QStringLiteral("y"));
    const auto include = untitled->outlineRootNode()->childAtIndex(1);
    ASSERT_EQ(include->childCount(), 1);
    const auto root = include->childAtIndex(0);
    EXPECT_EQ(std::tuple(root->name(), root->file(), x->name(), x->content()),
              std::tuple(QStringLiteral("y"), x, QStringLiteral("y"), QStringLiteral("kept text")));
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
