#include "PLBenchSupport.h"
#include "PLLatexSyntaxHighlighterDelegate.h"
#include "PLNotificationCenter.h"
#include "PLNotificationNameConstants.h"
#include "PLStringLineCalculations.h"
#include "PLSyntaxHighlighter.h"
#include "PLTextStorage.h"
#include "PLUserDefaults.h"
#include "PLUserDefaultsConstants.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

namespace {

class BenchTextStorage : public PLTextStorage
{
public:
    explicit BenchTextStorage(const QString &text) : PLTextStorage(text.size()), m_text(text) {}
    const QString &string() const override { return m_text; }
    void replaceCharactersInRange(PLRange range, const QString &string)
    {
        m_text.replace(range.location, range.length, string);
        edited(range, string.size() - range.length);
    }

private:
    QString m_text;
};

QString latexLines(int count)
{
    const QString text = PLBenchLatexText(qsizetype(count) * 40);
    return text.left(PLStringLineCalculations::locationOfLineStart(text, count + 1));
}

// The whole file re-coloured after a change of the text style, as the preferences cause.
void BM_RecolourWholeFileAfterStyleChange(benchmark::State &state)
{
    BenchTextStorage storage(latexLines(20000));
    PLSyntaxHighlighter highlighter(&storage, std::make_unique<PLLatexSyntaxHighlighterDelegate>());
    highlighter.userDefaultsDidChangeEditorTextColor();
    for (auto _ : state)
        PLNotificationCenter::defaultCenter().post(PLNotificationEditorTextStyleDidChange);
    state.counters["lines"] = 20000;
    state.counters["runs"] = double(storage.attributeRunCount());
}
BENCHMARK(BM_RecolourWholeFileAfterStyleChange)->Unit(benchmark::kMillisecond);

// One keystroke in the middle of a coloured file of so many lines: the edit and the colouring of
// its line. The time should not grow with the file.
void BM_TypeInOneLine(benchmark::State &state)
{
    const int lines = int(state.range(0));
    BenchTextStorage storage(latexLines(lines));
    PLSyntaxHighlighter highlighter(&storage, std::make_unique<PLLatexSyntaxHighlighterDelegate>());
    highlighter.userDefaultsDidChangeEditorTextColor();
    const qsizetype line = PLStringLineCalculations::locationOfLineStart(storage.string(), lines / 2 + 1);
    bool insert = true;
    for (auto _ : state) {
        if (insert)
            storage.replaceCharactersInRange(PLRange{line + 3, 0}, QStringLiteral("\\"));
        else
            storage.replaceCharactersInRange(PLRange{line + 3, 1}, QString());
        insert = !insert;
    }
}
BENCHMARK(BM_TypeInOneLine)->Arg(2000)->Arg(20000)->Arg(200000)->Unit(benchmark::kMicrosecond);


// Colouring one line of a coloured file of so many lines, without the edit.
void BM_ColourOneLine(benchmark::State &state)
{
    const int lines = int(state.range(0));
    BenchTextStorage storage(latexLines(lines));
    PLSyntaxHighlighter highlighter(&storage, std::make_unique<PLLatexSyntaxHighlighterDelegate>());
    highlighter.userDefaultsDidChangeEditorTextColor();
    const qsizetype line = PLStringLineCalculations::locationOfLineStart(storage.string(), lines / 2 + 1);
    for (auto _ : state)
        highlighter.highlightTextInRange(PLRange{line, 1});
}
BENCHMARK(BM_ColourOneLine)->Arg(2000)->Arg(20000)->Arg(200000)->Unit(benchmark::kMicrosecond);

}

int main(int argc, char **argv)
{
    QTemporaryDir configHome;
    qputenv("XDG_CONFIG_HOME", configHome.path().toLocal8Bit());
    QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("plumeo.notifications=false"));
    PLUserDefaults::resetStandardUserDefaults();
    PLUserDefaults::standardUserDefaults().registerDefaults(PLRegisteredUserDefaults());
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
