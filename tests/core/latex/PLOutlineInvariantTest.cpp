#include "PLLatexFileContentOutlineParser.h"
#include "PLOutlineTestSupport.h"
#include "PLTextContentBuffer.h"

#include <QUndoStack>

#include <random>

using namespace PLTest;

namespace {

// The paths of the files whose roots hang below the file's own nodes, and of its include set.
QStringList includedPaths(const PLOutlineNode &node)
{
    QStringList paths;
    for (const auto &child : node.children()) {
        if (child->type() == PLOutlineNode::FileRoot)
            paths.append(child->file()->stringPath());
        else
            paths.append(includedPaths(*child));
    }
    return paths;
}

QStringList sortedUnique(QStringList paths)
{
    paths.sort();
    paths.removeDuplicates();
    return paths;
}

QStringList includeSetPaths(const PLFile &file)
{
    QStringList paths;
    for (const auto &included : file.filesInDocument())
        paths.append(included->stringPath());
    return sortedUnique(paths);
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

class PLOutlineInvariantTest : public ProjectTest, public ::testing::WithParamInterface<unsigned>
{
protected:
    void SetUp() override
    {
        write(QStringLiteral("a.tex"), QStringLiteral("\\section{In A}\nA text\n"));
        write(QStringLiteral("b.tex"), QStringLiteral("B\r\n\\subsection{In B}\r\n"));
        write(QStringLiteral("refs.bib"), QStringLiteral("@book{x}\n"));
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
    const QString main = write(QStringLiteral("main.tex"),
                               QStringLiteral("Intro % note \\input{a}\n\\section{One}\ntext\\input{a}\r\n"
                                              "\\subsection{Two}\n50\\% done\n\\bibliography{refs}\n\\section*{Three}\nend"));
    const auto file = PLFile::fileWithPath(main, std::make_shared<PLLatexFileContentOutlineParser>());
    PLTextContentBuffer *buffer = file->contentBuffer();
    QUndoStack *undo = buffer->undoManager();
    // The outline as the previous step left it, for the message of a failure.
    QString outlineBefore = dumpOutline(file->outlineRootNode()).join(u'\n');
    for (int step = 0; step < 400; ++step) {
        const QString before = buffer->string();
        const int action = std::uniform_int_distribution<int>(0, 19)(random);
        QString description;
        if (action == 0 && undo->canUndo()) {
            description = QStringLiteral("undo");
            undo->undo();
        } else if (action == 1 && undo->canRedo()) {
            description = QStringLiteral("redo");
            undo->redo();
        } else {
            const PLRange range = randomRange(before.size());
            const QString replacement = randomReplacement(before);
            description = QStringLiteral("replace %1 by \"%2\"").arg(toString(range), visible(replacement));
            buffer->replaceCharactersInRange(range, replacement);
        }
        const auto &root = file->outlineRootNode();
        const QString outline = dumpOutline(root).join(u'\n');
        // Built only when an assertion fails: most of the test's time went into these strings.
        const auto trace = [&] {
            return QStringLiteral("seed %1 step %2: %3\nbefore: %4\noutline before:\n%6\noutline:\n%5")
                .arg(GetParam())
                .arg(step)
                .arg(description, visible(before), outline, outlineBefore)
                .toStdString();
        };
        ASSERT_EQ(visible(outlineText(root)).toStdString(), visible(buffer->string()).toStdString()) << trace();
        ASSERT_EQ(treeFault(*root).toStdString(), "") << trace();
        ASSERT_EQ(includeSetPaths(*file), sortedUnique(includedPaths(*root))) << trace();
        outlineBefore = outline;
    }
    file->close();
    EXPECT_EQ(pool.filesOpened().keys(), QStringList());
}

INSTANTIATE_TEST_SUITE_P(Seeds, PLOutlineInvariantTest, ::testing::Range(1u, 21u));

}
