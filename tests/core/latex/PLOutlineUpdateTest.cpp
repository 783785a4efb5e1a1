#include "core/document/PLDocument.h"
#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "core/latex/PLOutlineSettler.h"
#include "PLOutlineTestSupport.h"
#include "core/latex/PLQuickOpenManager.h"
#include "core/editor/PLTextContentBuffer.h"
#include "core/latex/PLOutlineTreeHelper.h"

#include <QCryptographicHash>
#include <QFile>
#include <QTest>

#include <map>
#include <random>
#include <set>

using namespace PLTest;

namespace {

class PLOutlineSettlerTest : public ProjectTest
{
protected:
    std::shared_ptr<PLFile> open(const QString &relative, const QString &text)
    {
        document = std::make_unique<PLDocument>();
        PLError error;
        EXPECT_TRUE(document->readFromURL(write(relative, text), QStringLiteral("tex"), &error)) << error.message.toStdString();
        return document->mainFile();
    }
    // The outline a fresh open of the text gives, parsed by the whole-file parser beside the file,
    // so that its includes resolve to the same pooled files.
    QStringList freshOutline(const std::shared_ptr<PLFile> &file)
    {
        const auto fresh = ProjectTest::open(QStringLiteral("oracle-") + file->name(), file->content());
        QStringList lines = dumpOutline(fresh->outlineRootNode());
        fresh->close();
        QFile::remove(fresh->stringPath());
        return lines;
    }
    static QStringList includeSet(const std::shared_ptr<PLFile> &file)
    {
        QStringList names;
        for (const auto &included : file->filesInDocument())
            names.append(included->name());
        names.sort();
        return names;
    }
    std::unique_ptr<PLDocument> document;
};

// Each edit is a location, a length and a text; a location of -1 undoes one step. Then the settled
// include set; the outline must be the fresh parse's.
TEST_F(PLOutlineSettlerTest, settlesToTheFreshParse)
{
    write({{"b.tex", "\\section{In B}\n"}, {"intro.tex", "Intro text\n"}});
    const std::tuple<const char16_t *, std::vector<std::tuple<qsizetype, qsizetype, const char16_t *>>, Lines> cases[] = {
        // Deleting from inside an include across the line end.
        {u"x\n\\input{b}\ny\n", {{3, 10, u""}}, {}},
        // Include after a commented heading on its line.
        {u"x\n", {{2, 0, u"%\\chapter{Intro}\\input{intro}"}}, {}},
        // Commented heading typed in front of a chapter.
        {u"\\chapter{C}\\input{b}\n", {{0, 0, u"%"}, {1, 0, u" "}, {2, 0, u"\\section"}, {10, 0, u"{Hid"}}, {}},
        // Undo of a deletion across nodes.
        {u"a\n\\section{A}\nb\\input{b}\n\\section{B}\n", {{1, 30, u""}, {-1, 0, u""}}, {"b.tex"}},
        {u"x\n", {{2, 0, u"\\chapter[Short]{Long title}\n"}}, {}}};
    for (const auto &[text, edits, included] : cases) {
        const auto file = open(QStringLiteral("main.tex"), QString::fromUtf16(text));
        for (const auto &[location, length, replacement] : edits) {
            if (location < 0)
                file->contentBuffer()->undoManager()->undo();
            else
                file->contentBuffer()->replaceCharactersInRange(PLRange{location, length}, QString::fromUtf16(replacement));
        }
        document->settleOutlines();
        EXPECT_EQ(dumpOutline(file->outlineRootNode()), freshOutline(file));
        EXPECT_EQ(toLines(includeSet(file)), included);
        document->close();
    }
}

TEST_F(PLOutlineSettlerTest, announcesOnlyWhatChangesAndKeepsTheNodesThatAgree)
{
    const auto file = open(QStringLiteral("main.tex"), QStringLiteral("\\section{A}\nx\\input{b}\n\\section{B}\n"));
    {
        OutlineNotificationRecorder recorder;
        EXPECT_FALSE(PLOutlineSettler::settleFile(file));
        EXPECT_EQ(recorder.summary(), Lines{});
    }
    const auto sectionA = file->outlineRootNode()->childAtIndex(1);
    // A comment sign in place of the line end after the include comments out the next heading,
    // which the update of the keystroke leaves half done.
    file->contentBuffer()->replaceCharactersInRange(PLRange{22, 1}, QStringLiteral("%"));
    {
        OutlineNotificationRecorder recorder;
        EXPECT_TRUE(PLOutlineSettler::settleFile(file));
        EXPECT_EQ(recorder.summary(), (Lines{"removed input \"text\" |\\\\input{b}%|", "removed text \"B\" |\\\\section{B}\\n|",
                                             "added input |\\\\input{b}|", "added text |%\\\\section{B}\\n|", "changed"}));
        for (const auto &n : recorder.notifications)
            EXPECT_EQ(n.object, file->outlineRootNode().get());
    }
    EXPECT_EQ(dumpOutline(file->outlineRootNode()), freshOutline(file));
    EXPECT_EQ(file->outlineRootNode()->childAtIndex(1), sectionA);
    EXPECT_EQ(includeSet(file), QStringList{QStringLiteral("b.tex")});
}

TEST_F(PLOutlineSettlerTest, quickOpenSearchesTheSettledOutline)
{
    const auto file = open(QStringLiteral("main.tex"), QStringLiteral("x\n\\section{A}\n"));
    // A replacement across the text and the heading leaves one node named by the narrow rule of
    // an edit, "Shown}\nsection{A".
    file->contentBuffer()->replaceCharactersInRange(PLRange{0, 3}, QStringLiteral("\\chapter{Shown}\n"));
    QStringList names;
    for (const auto &node : document->quickOpenManager()->searchForString(QString()))
        names.append(node->name());
    EXPECT_EQ(names, (QStringList{QStringLiteral("Shown"), QStringLiteral("main.tex")}));
    EXPECT_EQ(dumpOutline(file->outlineRootNode()), freshOutline(file));
}

TEST_F(PLOutlineSettlerTest, settlesOnceTypingPausesAndBeforeASave)
{
    const auto file = open(QStringLiteral("main.tex"), QStringLiteral("x\n\\input{b}\ny\n"));
    file->contentBuffer()->replaceCharactersInRange(PLRange{3, 10}, QString());
    EXPECT_NE(dumpOutline(file->outlineRootNode()), freshOutline(file));
    EXPECT_TRUE(QTest::qWaitFor([&] { return file->filesInDocument().isEmpty(); }));
    EXPECT_EQ(dumpOutline(file->outlineRootNode()), freshOutline(file));
    file->contentBuffer()->undoManager()->undo();
    file->contentBuffer()->replaceCharactersInRange(PLRange{3, 10}, QString());
    ASSERT_EQ(includeSet(file), QStringList{QStringLiteral("b.tex")});
    ASSERT_TRUE(document->saveDocument());
    EXPECT_EQ(includeSet(file), QStringList());
    EXPECT_EQ(dumpOutline(file->outlineRootNode()), freshOutline(file));
}

// Random editing of a project: typing, deleting across nodes, undo and redo, comment signs, braces
// and includes, in the main file and in an included one. After every settle each file's outline
// must be what a fresh parse of its text gives, and an included file must still hold its edits.
class PLOutlineSettlerRandomTest : public PLOutlineSettlerTest, public ::testing::WithParamInterface<unsigned>
{
protected:
    QString randomText()
    {
        static const char16_t *const pieces[] = {
            u"x", u"word ", u"\n", u"\r\n", u"%", u"% ", u"\\%", u"{", u"}", u"[", u"]", u"\\", u"\\section{S}",
            u"\\section{", u"\\subsection{Sub}\n", u"\\chapter{Ch}", u"\\chapter[Short]{Long}", u"\\part{P}",
            u"\\paragraph{Q}", u"\\subsubsection*{R}", u"\\input{a}", u"\\input{b}", u"\\include{a}", u"\\input{",
            u"\\bibliography{refs}", u"\\section{T}\n\\input{b}\n", u"%\\chapter{I}\\input{a}",
        };
        return QString::fromUtf16(pieces[std::uniform_int_distribution<std::size_t>(0, std::size(pieces) - 1)(random)]);
    }
    // An included file never includes itself here: that loop is left without a child in the file
    // but not in a fresh parse beside it.
    void editRandomly(PLTextContentBuffer *buffer, bool included)
    {
        PLUndoManager *undo = buffer->undoManager();
        const int action = std::uniform_int_distribution<int>(0, 9)(random);
        if (action == 0 && undo->canUndo()) {
            undo->undo();
        } else if (action == 1 && undo->canRedo()) {
            undo->redo();
        } else {
            const qsizetype size = buffer->length();
            const qsizetype location = std::uniform_int_distribution<qsizetype>(0, size)(random);
            const qsizetype longest = action < 6 ? 0 : action < 8 ? 4 : 50;
            const qsizetype length = std::uniform_int_distribution<qsizetype>(0, std::min(longest, size - location))(random);
            QString text = action == 9 ? QString() : randomText();
            if (included)
                text.replace(QStringLiteral("{b}"), QStringLiteral("{a}"));
            buffer->replaceCharactersInRange(PLRange{location, length}, text);
        }
    }
    std::mt19937 random{GetParam()};
};

TEST_P(PLOutlineSettlerRandomTest, everySettleGivesTheFreshParse)
{
    write({{"a.tex", "\\section{In A}\nA text\n"}, {"b.tex", "B\n\\subsection{In B}\n\\input{a}\n"}, {"refs.bib", "@book{x}\n"}});
    const auto main = open(QStringLiteral("main.tex"),
                           QStringLiteral("Intro % note \\input{a}\n\\section{One}\ntext\\input{b}\n"
                                          "\\subsection{Two}\n50\\% done\n\\bibliography{refs}\n\\section*{Three}\nend"));
    QString editedB;
    for (int settle = 0; settle < 40; ++settle) {
        const int edits = std::uniform_int_distribution<int>(1, 8)(random);
        for (int i = 0; i < edits; ++i) {
            const auto b = PLFilePool::sharedFilePool().fileForPath(path(QStringLiteral("b.tex")));
            const bool inB = b && b->openCount() > 0 && std::uniform_int_distribution<int>(0, 4)(random) == 0;
            editRandomly(inB ? b->contentBuffer() : main->contentBuffer(), inB);
            if (inB)
                editedB = b->content();
        }
        document->settleOutlines();
        SCOPED_TRACE(testing::Message() << "settle " << settle);
        ASSERT_EQ(toLines(dumpOutline(main->outlineRootNode())), toLines(freshOutline(main)));
        ASSERT_EQ(visible(outlineText(main->outlineRootNode())), visible(main->content()));
        for (const auto &included : main->allFilesInDocument()) {
            if (included == main || included->name() == u"refs.bib")
                continue;
            ASSERT_EQ(toLines(dumpOutline(included->outlineRootNode())), toLines(freshOutline(included))) << included->name().toStdString();
            if (included->name() == u"b.tex" && !editedB.isNull()) {
                ASSERT_EQ(included->content(), editedB);
            }
        }
    }
    document->close();
    EXPECT_EQ(pool.filesOpened().keys(), QStringList());
}

INSTANTIATE_TEST_SUITE_P(Seeds, PLOutlineSettlerRandomTest, ::testing::Range(1u, 17u));

// The paths of the files whose roots hang below the file's own nodes, and of its include set.
std::set<QString> includedPaths(const PLOutlineNode &node)
{
    std::set<QString> paths;
    for (const auto &child : node.children()) {
        if (child->type() == PLOutlineNode::FileRoot)
            paths.insert(child->file()->stringPath());
        else
            paths.merge(includedPaths(*child));
    }
    return paths;
}

std::set<QString> includeSetPaths(const PLFile &file)
{
    std::set<QString> paths;
    for (const auto &included : file.filesInDocument())
        paths.insert(included->stringPath());
    return paths;
}

// Whether every node below the root is where its parent says it is, and roots hang only under
// include and bibliography nodes.
QString treeFault(const PLOutlineNode &node)
{
    for (qsizetype i = 0; i < node.childCount(); ++i) {
        const auto child = node.childAtIndex(i);
        if (child->type() == PLOutlineNode::FileRoot) {
            if (!node.isFileReference())
                return QStringLiteral("root below a node that is no include: ") + nodeLine(node);
            continue;
        }
        if (child->parent().get() != &node || child->indexInParent() != i)
            return QStringLiteral("misplaced child: ") + nodeLine(*child);
        if (const QString fault = treeFault(*child); !fault.isEmpty())
            return fault;
    }
    return QString();
}

// Names each node by the order in which it was first seen, so two runs that build and replace the
// same node objects in the same order give the same names.
class NodeNames
{
public:
    int operator()(const std::shared_ptr<PLOutlineNode> &node)
    {
        auto &[weak, name] = m_names[node.get()];
        if (weak.expired()) {
            weak = node;
            name = ++m_last;
        }
        return name;
    }

private:
    std::map<const PLOutlineNode *, std::pair<std::weak_ptr<PLOutlineNode>, int>> m_names;
    int m_last = 0;
};

// The whole project's tree, included files' nodes too, with every node's name, so that a change of
// which object stands where shows as well as a change of shape or text.
void dumpProject(const std::shared_ptr<PLOutlineNode> &node, int depth, NodeNames &names, QStringList &lines)
{
    lines.append(QStringLiteral("%1#%2 %3").arg(QString(depth, u' ')).arg(names(node)).arg(nodeLine(*node)));
    for (const auto &child : node->children())
        dumpProject(child, depth + 1, names, lines);
}

using Records = std::vector<std::pair<const PLOutlineNode *, qsizetype>>;

// The nodes covering the range found by walking the file from its first node, which the helper's
// steps down by subtree lengths must agree with.
Records walkedRecords(const PLOutlineNode &root, PLRange range)
{
    Records records;
    const PLOutlineNode *node = root.childAtIndex(0).get();
    qsizetype offset = 0;
    for (; node->traverseRightNode() && node->contentLength() + offset < range.location; node = node->traverseRightNode())
        offset += node->contentLength();
    records.emplace_back(node, offset);
    for (; node->traverseRightNode() && node->contentLength() + offset < range.end(); records.emplace_back(node, offset)) {
        offset += node->contentLength();
        node = node->traverseRightNode();
    }
    return records;
}

Records locatedRecords(const std::shared_ptr<PLOutlineNode> &root, PLRange range)
{
    Records records;
    const auto found = PLOutlineTreeHelper(root).locateNodesInRange(range.location, range.length);
    for (const auto &record : found->nodes())
        records.emplace_back(record.node().get(), record.location());
    return records;
}

// The digests of seeds 1 to 20: the updates' exact trees and notifications, pinned so that any
// change to them is a deliberate one (recorded again when short titles and whole-line comments
// on includes changed what the parser finds).
const char *const expectedDigests[] = {
    "a48ff75f855f", "c7d958e5b9cc", "fd5a766a8d78", "c6feace5b2e5", "8a933f631d97", "e9e62d9ae209", "cbf0bc5bfbaa",
    "0344791e0285", "f6252002ef3b", "0b891c4d3417", "7ac757b1ed04", "67fc8ba2af7b", "339dbad04e89", "8ed952445661",
    "b3c390f297f2", "53d0299fa65b", "53401e20501b", "623af10902cb", "acc9f6e39259", "03e1cafd7aa1",
};

class PLOutlineInvariantTest : public ProjectTest, public ::testing::WithParamInterface<unsigned>
{
protected:
    void SetUp() override
    {
        write({{"a.tex", "\\section{In A}\nA text\n"}, {"b.tex", "B\r\n\\subsection{In B}\r\n"}, {"refs.bib", "@book{x}\n"}});
    }
    QString randomReplacement(const QString &text)
    {
        static const char *const pieces[] = {
            "", "", "x", "y z", "\n", "\r\n", "\r", "%", "% ", "\\%", "{", "}", "(", "\"", "\\", "\t", "\n\t",
            "\\section{S}", "\\section{", "\\subsection{Sub}\n", "\\chapter{Ch}", "\\part{P}", "\\paragraph{Q}",
            "\\subsubsection*{R}", "\\input{a}", "\\input{b}", "\\include{a}", "\\input{missing}",
            "\\bibliography{refs}", "\\bibliography{refs,refs}", "\\input{", "\\section{T}\n\\input{b}\n",
        };
        std::uniform_int_distribution<int> choice(0, int(std::size(pieces)));
        const int picked = choice(random);
        if (picked < int(std::size(pieces)))
            return QString::fromUtf8(pieces[picked]);
        // A paste of some of the text itself.
        std::uniform_int_distribution<qsizetype> at(0, text.size());
        const qsizetype from = at(random);
        return text.mid(from, std::uniform_int_distribution<qsizetype>(0, 40)(random));
    }
    PLRange randomRange(qsizetype size)
    {
        std::uniform_int_distribution<qsizetype> at(0, size);
        const qsizetype location = at(random);
        // Mostly typing, sometimes a selection across several nodes.
        const int kind = std::uniform_int_distribution<int>(0, 9)(random);
        const qsizetype longest = kind < 5 ? 0 : kind < 8 ? 3 : 60;
        const qsizetype length = std::uniform_int_distribution<qsizetype>(0, std::min(longest, size - location))(random);
        return PLRange{location, length};
    }
    std::mt19937 random{GetParam()};
};

TEST_P(PLOutlineInvariantTest, nodesHoldTheTextAfterEveryReplacement)
{
    const auto file = open(QStringLiteral("main.tex"),
                           QStringLiteral("Intro % note \\input{a}\n\\section{One}\ntext\\input{a}\r\n"
                                          "\\subsection{Two}\n50\\% done\n\\bibliography{refs}\n\\section*{Three}\nend"));
    PLTextContentBuffer *buffer = file->contentBuffer();
    PLUndoManager *undo = buffer->undoManager();
    // Every step's project tree and notifications, folded into one digest per seed: the tree
    // updates must keep giving exactly the results recorded when they were first written.
    NodeNames names;
    QStringList record;
    PLNotificationCenter::defaultCenter().addObserver(&record, QString(), nullptr, [&](const PLNotification &n) {
        if (!n.name().startsWith(u"PLNotificationOutline") && n.name() != PLNotificationNameNodeDidChangeChildren)
            return;
        QVariant subject = n.userInfo().value(PLDictionaryKeyOutlineNodeAdded);
        if (!subject.isValid())
            subject = n.userInfo().value(PLDictionaryKeyOutlineNodeRemoved);
        const auto node = subject.value<std::shared_ptr<PLOutlineNode>>();
        record.append(n.name() + (n.object() == file->outlineRootNode().get() ? QStringLiteral(" root") : QString())
                     + (node ? QStringLiteral(" #%1 %2").arg(names(node)).arg(nodeLine(*node)) : QString()));
    });
    QCryptographicHash digest(QCryptographicHash::Sha1);
    bool editedIncludedFile = false;
    std::mt19937 probes{GetParam()};
    for (int step = 0; step < 400; ++step) {
        SCOPED_TRACE(testing::Message() << "step " << step);
        const QString before = buffer->string();
        const int action = std::uniform_int_distribution<int>(0, 19)(random);
        if (action == 0 && undo->canUndo()) {
            undo->undo();
        } else if (action == 1 && undo->canRedo()) {
            undo->redo();
        } else if (const auto included = file->filesInDocument(); action < 5 && !included.isEmpty()) {
            // An edit in an included file, whose tree the next edit of this one walks into.
            const auto &other = included[std::uniform_int_distribution<qsizetype>(0, included.size() - 1)(random)];
            PLTextContentBuffer *otherBuffer = other->contentBuffer();
            const PLRange range = randomRange(otherBuffer->length());
            const QString replacement = randomReplacement(otherBuffer->string());
            otherBuffer->replaceCharactersInRange(range, replacement);
            editedIncludedFile = true;
            ASSERT_EQ(visible(outlineText(other->outlineRootNode())).toStdString(), visible(otherBuffer->string()).toStdString());
        } else {
            const PLRange range = randomRange(before.size());
            const QString replacement = randomReplacement(before);
            buffer->replaceCharactersInRange(range, replacement);
        }
        const auto &root = file->outlineRootNode();
        ASSERT_EQ(visible(outlineText(root)).toStdString(), visible(buffer->string()).toStdString());
        ASSERT_EQ(treeFault(*root).toStdString(), "");
        ASSERT_EQ(includeSetPaths(*file), includedPaths(*root));
        if (root->childCount() > 0) {
            // Drawn apart from the edits, so the recorded digests keep their sequence of edits.
            std::uniform_int_distribution<qsizetype> at(0, buffer->length() + 2);
            const qsizetype from = at(probes);
            const PLRange probe{from, std::uniform_int_distribution<qsizetype>(0, 50)(probes)};
            ASSERT_EQ(locatedRecords(root, probe), walkedRecords(*root, probe));
        }
        dumpProject(root, 0, names, record);
        digest.addData(record.join(u'\n').toUtf8());
        record.clear();
    }
    PLNotificationCenter::defaultCenter().removeObserver(&record);
    EXPECT_EQ(digest.result().toHex().left(12).toStdString(), expectedDigests[GetParam() - 1]);
    file->close();
    // Files with unsaved edits stay open after the project closes.
    if (!editedIncludedFile) {
        EXPECT_EQ(pool.filesOpened().keys(), QStringList());
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, PLOutlineInvariantTest, ::testing::Range(1u, 21u));

}
