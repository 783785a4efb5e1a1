#include "PLHighlighterFuzzing.h"

#include "PLSyntaxHighlighter.h"
#include "PLTextStorage.h"

#include <cstdlib>

namespace {

class PlainTextStorage : public PLTextStorage
{
public:
    explicit PlainTextStorage(const QString &text) : PLTextStorage(text.size()), m_text(text) {}

    const QString &string() const override { return m_text; }

    void replaceCharactersInRange(PLRange range, const QString &string)
    {
        m_text.replace(range.location, range.length, string);
        edited(range, string.size() - range.length);
    }

private:
    QString m_text;
};

void checkRunsCoverTheText(const PlainTextStorage &storage)
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
    PlainTextStorage storage(text);
    PLSyntaxHighlighter highlighter(&storage, std::move(rules));
    highlighter.userDefaultsDidChangeEditorTextColor();
    checkRunsCoverTheText(storage);
    const qsizetype middle = text.size() / 2;
    storage.replaceCharactersInRange(PLRange{middle, std::min<qsizetype>(3, text.size() - middle)}, text.left(16));
    checkRunsCoverTheText(storage);
}

}
