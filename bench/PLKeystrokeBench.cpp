#include "PLProjectModelBenchSupport.h"

#include "core/project/PLFile.h"
#include "core/project/PLFilePool.h"
#include "core/latex/PLOutlineNode.h"
#include "core/editor/PLTextContentBuffer.h"


#include <benchmark/benchmark.h>

namespace {

// One file of the given number of lines with sections, subsections, paragraphs and includes,
// opened through a fresh pool.
class KeystrokeFixture
{
public:
    // With dense, every other line of the file is an include of one of the twenty files.
    explicit KeystrokeFixture(int lines, bool dense = false)
    {
        PLProjectModelBench::useTemporarySettings(m_folder);
        const QStringList includes = PLProjectModelBench::writeTwentyParts(m_folder);
        const QString path = QDir(m_folder.path()).filePath(QStringLiteral("main.tex"));
        QString text;
        if (dense) {
            for (int i = 0; i < lines / 2; ++i)
                text += QStringLiteral("Words of line %1\n\\input{%2}\n").arg(i).arg(includes[i % includes.size()]);
        } else {
            text = PLProjectModelBench::structuredText(lines, includes);
        }
        PLProjectModelBench::writeText(path, text);
        m_file = PLFile::fileWithPath(path, std::make_shared<PLLatexFileContentOutlineParser>());
    }

    PLTextContentBuffer *buffer() const { return m_file->contentBuffer(); }
    qsizetype nodes() const
    {
        qsizetype count = 0;
        for (auto node = m_file->outlineRootNode()->traverseRight(); node; node = node->traverseRight())
            ++count;
        return count;
    }

private:
    QTemporaryDir m_folder;
    PLFilePool m_pool;
    std::shared_ptr<PLFile> m_file;
};

// Types one character at the place and deletes it again: two replacements per iteration, each with
// the typing filters, an undo step, the outline update and the engine check.
void typeAndDelete(benchmark::State &state, const KeystrokeFixture &fixture, qsizetype at)
{
    PLTextContentBuffer *buffer = fixture.buffer();
    for (auto _ : state) {
        buffer->replaceCharactersInRange(PLRange{at, 0}, QStringLiteral("x"));
        buffer->replaceCharactersInRange(PLRange{at, 1}, QString());
        if (buffer->undoManager()->count() > 10000) {
            state.PauseTiming();
            buffer->undoManager()->clear();
            state.ResumeTiming();
        }
    }
    state.SetItemsProcessed(state.iterations() * 2);
    state.counters["lines"] = double(state.range(0));
    state.counters["nodes"] = double(fixture.nodes());
}

void BM_KeystrokeInSectionTitle(benchmark::State &state)
{
    const KeystrokeFixture fixture(int(state.range(0)));
    const QString &text = fixture.buffer()->string();
    // A title in the middle of the file.
    const qsizetype at = text.indexOf(QStringLiteral("\\section{Section "), text.size() / 2) + 12;
    typeAndDelete(state, fixture, at);
}
BENCHMARK(BM_KeystrokeInSectionTitle)->Unit(benchmark::kMicrosecond)->Arg(2000)->Arg(20000)->Arg(80000)->Arg(200000);

void BM_KeystrokeInPlainText(benchmark::State &state)
{
    const KeystrokeFixture fixture(int(state.range(0)));
    const QString &text = fixture.buffer()->string();
    const qsizetype at = text.indexOf(QStringLiteral("plain words"), text.size() / 2) + 3;
    typeAndDelete(state, fixture, at);
}
BENCHMARK(BM_KeystrokeInPlainText)->Unit(benchmark::kMicrosecond)->Arg(2000)->Arg(20000)->Arg(80000)->Arg(200000);

void BM_KeystrokeInInputDenseFile(benchmark::State &state)
{
    const KeystrokeFixture fixture(int(state.range(0)), true);
    const QString &text = fixture.buffer()->string();
    const qsizetype at = text.indexOf(QStringLiteral("Words"), text.size() / 2) + 2;
    typeAndDelete(state, fixture, at);
}
BENCHMARK(BM_KeystrokeInInputDenseFile)->Unit(benchmark::kMicrosecond)->Arg(2000)->Arg(20000)->Arg(200000);

}

BENCHMARK_MAIN();
