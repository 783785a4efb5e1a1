#include "PLBenchSupport.h"
#include "core/foundation/PLRegularExpressionHelper.h"

#include <benchmark/benchmark.h>

namespace {

const QString &tenMegabytes()
{
    static const QString text = PLBenchLatexText(10 * 1024 * 1024 / 2);
    return text;
}

// Every match of a pattern over the whole 10 MB text.
void BM_EnumerateMatches(benchmark::State &state, const char *pattern)
{
    const QString &text = tenMegabytes();
    const QString expression = QString::fromLatin1(pattern);
    qsizetype matches = 0;
    for (auto _ : state) {
        matches = 0;
        PLRegularExpressionHelper::enumerateMatches(expression, text, PLRange{0, text.size()}, [&](const PLRegexMatch &) {
            ++matches;
            return true;
        });
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * text.size() * 2);
    state.counters["matches"] = double(matches);
}
BENCHMARK_CAPTURE(BM_EnumerateMatches, headings, "\\\\(part|chapter|section|subsection|subsubsection|paragraph)(\\*)?\\{")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_EnumerateMatches, commands, "\\\\[A-Za-z]+")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_EnumerateMatches, includes, "\\\\(input|include|bibliography)\\{(.+?)(\\.tex|\\.bib)?\\}")
    ->Unit(benchmark::kMillisecond);

// The colouring pattern: one short line at a time, as the highlighter searches.
void BM_FirstMatchPerLine(benchmark::State &state)
{
    const QString &text = tenMegabytes();
    const QString expression = QStringLiteral("\\\\[A-Za-z]+");
    const qsizetype lineLength = 60;
    for (auto _ : state) {
        for (qsizetype at = 0; at + lineLength < text.size(); at += lineLength)
            benchmark::DoNotOptimize(PLRegularExpressionHelper::firstMatchInRange(expression, text, PLRange{at, lineLength}));
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * text.size() * 2);
}
BENCHMARK(BM_FirstMatchPerLine)->Unit(benchmark::kMillisecond);

}

BENCHMARK_MAIN();
