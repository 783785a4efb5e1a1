#include "core/document/PLDocument.h"
#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "core/latex/PLOutlineSettler.h"
#include "PLOutlineTestSupport.h"
#include "core/latex/PLQuickOpenManager.h"
#include "core/editor/PLTextContentBuffer.h"

#include <QFile>
#include <QTest>

#include <random>

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

}
