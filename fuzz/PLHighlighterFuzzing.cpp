#include "PLHighlighterFuzzing.h"

#include "core/editor/PLSyntaxHighlighter.h"
#include "PLSyntaxHighlighterTestSupport.h"
#include "core/editor/PLTextStorage.h"

#include <cstdlib>

namespace {

void checkRunsCoverTheText(const PLPlainTextStorage &storage)
{
    qsizetype covered = 0;
    storage.enumerateAttributes(PLRange{0, storage.string().size()}, [&](const PLTextAttributes &, PLRange run) {
        if (run.location != covered || run.length <= 0)
            std::abort();
        covered = run.end();
    });
    if (covered != storage.string().size())
        std::abort();
}

}

namespace PLFuzz {

void colourAndEdit(std::unique_ptr<PLSyntaxHighlighterDelegate> rules, const QString &text)
{
    PLPlainTextStorage storage(text);
    PLSyntaxHighlighter highlighter(&storage, std::move(rules));
    highlighter.userDefaultsDidChangeEditorTextColor();
    checkRunsCoverTheText(storage);
    const qsizetype middle = text.size() / 2;
    storage.replaceCharactersInRange(PLRange{middle, std::min<qsizetype>(3, text.size() - middle)}, text.left(16));
    checkRunsCoverTheText(storage);
}

}
