#include "PLBenchSupport.h"
#include "core/editor/PLLineIndices.h"
#include "core/foundation/PLStringLineCalculations.h"

#include <benchmark/benchmark.h>

namespace {

QString textOfLines(int lines)
{
    const QString text = PLBenchLatexText(qsizetype(lines) * 40);
    return text.left(PLStringLineCalculations::locationOfLineStart(text, lines + 1));
}

// What the ruler does after a keystroke in the middle of the file: note the edit, then bring the
// list up to date when it draws. The edit of the text itself is not timed.
void BM_LineIndicesAfterKeystroke(benchmark::State &state)
{
    QString text = textOfLines(int(state.range(0)));
    PLLineIndices lines;
    lines.indicesForText(text);
    const qsizetype middle = text.indexOf(QStringLiteral("Plain words"), text.size() / 2);
    bool insert = true;
    for (auto _ : state) {
        state.PauseTiming();
        if (insert)
            text.insert(middle, u'\n');
        else
            text.remove(middle, 1);
        state.ResumeTiming();
        lines.noteReplacement(PLRange{middle, insert ? 1 : 0}, insert ? 1 : -1);
        benchmark::DoNotOptimize(lines.indicesForText(text).size());
        insert = !insert;
    }
}
BENCHMARK(BM_LineIndicesAfterKeystroke)->Arg(2000)->Arg(20000)->Arg(200000)->Unit(benchmark::kMicrosecond);

// The list scanned from scratch, as a ruler that rebuilt it after every edit would.
void BM_LineIndicesFullScan(benchmark::State &state)
{
    const QString text = textOfLines(int(state.range(0)));
    PLLineIndices lines;
    for (auto _ : state) {
        lines.invalidate();
        benchmark::DoNotOptimize(lines.indicesForText(text).size());
    }
}
BENCHMARK(BM_LineIndicesFullScan)->Arg(2000)->Arg(20000)->Arg(200000)->Unit(benchmark::kMicrosecond);

// The line of a location, as the ruler asks for the first line in view.
void BM_LineNumberLookup(benchmark::State &state)
{
    const QString text = textOfLines(int(state.range(0)));
    PLLineIndices lines;
    const std::vector<qsizetype> &indices = lines.indicesForText(text);
    qsizetype location = 0;
    for (auto _ : state) {
        location = (location + 7919) % text.size();
        benchmark::DoNotOptimize(PLLineIndices::lineNumberForCharacterIndex(indices, location));
    }
}
BENCHMARK(BM_LineNumberLookup)->Arg(20000)->Arg(200000);

}

BENCHMARK_MAIN();
