#include "PLFuzzSupport.h"
#include "core/editor/PLTextContentBuffer.h"
#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "core/latex/PLOutlineNode.h"
#include "core/project/PLFile.h"

#include <algorithm>
#include <array>
#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    PLFuzz::initialise(argc, argv);
    return 0;
}

namespace {

// What an edit types: the pieces that make, break and renest headings, includes and comments.
const std::array<QString, 16> kPieces = {
    QStringLiteral(""), QStringLiteral("x"), QStringLiteral("\n"), QStringLiteral("\r\n"),
    QStringLiteral("%"), QStringLiteral("\\"), QStringLiteral("{"), QStringLiteral("}"),
    QStringLiteral("\\part{"), QStringLiteral("\\chapter{"), QStringLiteral("\\section*{"),
    QStringLiteral("\\subsection{"), QStringLiteral("\\paragraph{"), QStringLiteral("\\input{a}"),
    QStringLiteral("\\include{b}\n"), QStringLiteral("\\bibliography{c,d}"),
};

// Whether each child below the node is where its parent says it is.
bool placed(const PLOutlineNode &node)
{
    for (qsizetype i = 0; i < node.childCount(); ++i) {
        const auto child = node.childAtIndex(i);
        if (child->type() == PLOutlineNode::FileRoot)
            continue;
        if (child->parent().get() != &node || child->indexInParent() != i || !placed(*child))
            return false;
    }
    return true;
}

// The outline after every edit: its nodes, read left to right, hold the buffer's text.
void check(const PLFile &file)
{
    const auto &root = file.outlineRootNode();
    QString text;
    for (auto node = root->traverseRight(); node; node = node->traverseRight())
        text += node->content();
    if (text != file.contentBuffer()->string() || !placed(*root))
        std::abort();
}

}

// The first byte says how much of the input, in eights of bytes, is the starting text; every three
// bytes after it are an edit: where, how much goes, and what comes in.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const size_t textSize = std::min<size_t>(size - 1, size_t(data[0]) * 8);
    const auto file = PLFile::untitledFileWithName(QStringLiteral("fuzz"),
                                                   std::make_shared<PLLatexFileContentOutlineParser>());
    PLTextContentBuffer &buffer = *file->contentBuffer();
    buffer.setString(PLFuzz::text(data + 1, textSize));
    check(*file);
    for (size_t at = 1 + textSize; at + 3 <= size; at += 3) {
        const qsizetype length = buffer.length();
        const qsizetype location = qsizetype(data[at] | data[at + 1] << 8) % (length + 1);
        const qsizetype removed = std::min<qsizetype>(data[at + 2] & 0x0f, length - location);
        buffer.replaceCharactersInRange(PLRange{location, removed}, kPieces[data[at + 2] >> 4]);
        check(*file);
    }
    file->close();
    return 0;
}
