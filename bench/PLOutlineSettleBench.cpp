#include "PLProjectModelBenchSupport.h"

#include "core/project/PLFile.h"
#include "core/project/PLFilePool.h"
#include "core/latex/PLLatexStringParser.h"
#include "core/latex/PLOutlineNode.h"
#include "core/latex/PLOutlineSettler.h"
#include "core/editor/PLTextContentBuffer.h"


#include <benchmark/benchmark.h>

namespace {

// One file of the given number of lines with headings and includes, opened through a fresh pool.
class SettleFixture
{
public:
    explicit SettleFixture(int lines)
    {
        PLProjectModelBench::useTemporarySettings(m_folder);
        const QStringList includes = PLProjectModelBench::writeTwentyParts(m_folder);
        const QString path = QDir(m_folder.path()).filePath(QStringLiteral("main.tex"));
        PLProjectModelBench::writeText(path, PLProjectModelBench::structuredText(lines, includes));
        m_file = PLFile::fileWithPath(path, std::make_shared<PLLatexFileContentOutlineParser>());
    }

    const std::shared_ptr<PLFile> &file() const { return m_file; }

private:
    QTemporaryDir m_folder;
    PLFilePool m_pool;
    std::shared_ptr<PLFile> m_file;
};

// The part of a settle that any fresh parse costs: the text cut into nodes without opening files,
// then nested; the settle is measured against it.
void BM_ParseWithoutOpeningFiles(benchmark::State &state)
{
    const SettleFixture fixture(int(state.range(0)));
    PLLatexStringParser parser(fixture.file());
    parser.setOpensIncludedFiles(false);
    for (auto _ : state) {
        const auto root = PLOutlineNode::create(QString(), PLOutlineNode::FileRoot, QString(), fixture.file());
        for (const auto &node : parser.parseString(fixture.file()->content()))
            root->addChild(node);
        root->fixTree();
        benchmark::DoNotOptimize(root->childCount());
    }
    state.counters["lines"] = double(state.range(0));
}
BENCHMARK(BM_ParseWithoutOpeningFiles)->Unit(benchmark::kMillisecond)->Arg(5000)->Arg(20000)->Arg(80000);

// The settle after a pause in which the outline kept up: a parse and a comparison, nothing swapped.
void BM_SettleAgreeingOutline(benchmark::State &state)
{
    const SettleFixture fixture(int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(PLOutlineSettler::settleFile(fixture.file()));
    state.SetBytesProcessed(state.iterations() * fixture.file()->content().size() * 2);
    state.counters["lines"] = double(state.range(0));
}
BENCHMARK(BM_SettleAgreeingOutline)->Unit(benchmark::kMillisecond)->Arg(5000)->Arg(20000)->Arg(80000);

// A deletion across an include and the line after it in the middle of the file, which the update
// of the keystroke leaves holding the include, settled; then its undo, settled.
void BM_SettleAfterEditAcrossAnInclude(benchmark::State &state)
{
    const SettleFixture fixture(int(state.range(0)));
    PLTextContentBuffer *buffer = fixture.file()->contentBuffer();
    const qsizetype include = buffer->string().indexOf(QStringLiteral("\\input{"), buffer->string().size() / 2);
    for (auto _ : state) {
        state.PauseTiming();
        buffer->replaceCharactersInRange(PLRange{include + 1, buffer->string().indexOf(u'\n', include) + 2 - include - 1}, QString());
        state.ResumeTiming();
        benchmark::DoNotOptimize(PLOutlineSettler::settleFile(fixture.file()));
        state.PauseTiming();
        buffer->undoManager()->undo();
        state.ResumeTiming();
        benchmark::DoNotOptimize(PLOutlineSettler::settleFile(fixture.file()));
    }
    state.SetItemsProcessed(state.iterations() * 2);
    state.counters["lines"] = double(state.range(0));
}
BENCHMARK(BM_SettleAfterEditAcrossAnInclude)->Unit(benchmark::kMillisecond)->Arg(5000)->Arg(20000)->Arg(80000);

}

BENCHMARK_MAIN();
