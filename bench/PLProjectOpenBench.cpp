#include "PLProjectModelBenchSupport.h"

#include "core/project/PLFile.h"
#include "core/project/PLFilePool.h"
#include "core/latex/PLOutlineNode.h"
#include "core/editor/PLTextContentBuffer.h"

#include <QFileInfo>

#include <benchmark/benchmark.h>

namespace {

// A project of 200 files and about 5 MB: the root includes 33 chapters and a bibliography, every
// chapter includes five section files.
class GeneratedProject
{
public:
    GeneratedProject()
    {
        PLProjectModelBench::useTemporarySettings(m_folder);
        QStringList chapters;
        for (int c = 0; c < 33; ++c) {
            QStringList sections;
            for (int s = 0; s < 5; ++s) {
                const QString name = QStringLiteral("chapter%1/section%2").arg(c).arg(s);
                write(name + QStringLiteral(".tex"), PLProjectModelBench::structuredText(430, {}, c * 10 + s));
                sections.append(QStringLiteral("section%1").arg(s));
            }
            const QString name = QStringLiteral("chapter%1/chapter").arg(c);
            write(name + QStringLiteral(".tex"), QStringLiteral("\\chapter{Chapter %1}\n").arg(c)
                                                     + PLProjectModelBench::structuredText(430, sections, c));
            chapters.append(name);
        }
        QString bibliography;
        for (int k = 0; bibliography.size() < 25000; ++k)
            bibliography += QStringLiteral("@book{key%1,\n  author = {Some Author},\n  title = {A Title %1},\n  year = {19%2}\n}\n\n")
                                .arg(k)
                                .arg(k % 100, 2, 10, QLatin1Char('0'));
        write(QStringLiteral("refs.bib"), bibliography);
        QString main = QStringLiteral("\\documentclass{book}\n\\begin{document}\n");
        for (const QString &chapter : chapters)
            main += QStringLiteral("\\include{%1}\n").arg(chapter);
        main += PLProjectModelBench::structuredText(430, {}, 1000) + QStringLiteral("\\bibliography{refs}\n\\end{document}\n");
        write(QStringLiteral("main.tex"), main);
    }

    QString mainPath() const { return path(QStringLiteral("main.tex")); }
    qint64 bytes() const { return m_bytes; }
    int files() const { return m_files; }

private:
    QString path(const QString &relative) const { return QDir(m_folder.path()).filePath(relative); }
    void write(const QString &relative, const QString &text)
    {
        PLProjectModelBench::writeText(path(relative), text);
        m_bytes += text.toUtf8().size();
        ++m_files;
    }

    QTemporaryDir m_folder;
    qint64 m_bytes = 0;
    int m_files = 0;
};

const GeneratedProject &project()
{
    static const GeneratedProject generated;
    return generated;
}

// Until every file is read and its outline built, through the pool as a document opens its root.
void BM_OpenProject(benchmark::State &state)
{
    const GeneratedProject &generated = project();
    qsizetype opened = 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto pool = std::make_unique<PLFilePool>();
        state.ResumeTiming();
        const auto root = PLFile::fileWithPath(generated.mainPath(), std::make_shared<PLLatexFileContentOutlineParser>());
        benchmark::DoNotOptimize(root.get());
        state.PauseTiming();
        opened = pool->filesOpened().size();
        pool.reset();
        state.ResumeTiming();
    }
    state.counters["files"] = double(opened);
    state.counters["MB"] = double(generated.bytes()) / 1e6;
    state.SetBytesProcessed(state.iterations() * generated.bytes());
}
BENCHMARK(BM_OpenProject)->Unit(benchmark::kMillisecond)->MinTime(3.0);

// One file of the given number of top-level headings, each followed by text, a subsection and a
// paragraph heading that it takes in when the outline is nested: items per second stay flat when
// opening is linear in the number of headings.
void BM_OpenFileWithManyHeadings(benchmark::State &state)
{
    QTemporaryDir folder;
    PLProjectModelBench::useTemporarySettings(folder);
    const QString path = QDir(folder.path()).filePath(QStringLiteral("headings.tex"));
    QString text;
    for (qint64 i = 0; i < state.range(0); ++i)
        text += QStringLiteral("\\section{Heading %1}\nSome words.\n\\subsection{Detail %1}\nMore words.\n"
                               "\\paragraph{Remark}\nThe end of it.\n")
                    .arg(i);
    PLProjectModelBench::writeText(path, text);
    for (auto _ : state) {
        state.PauseTiming();
        auto pool = std::make_unique<PLFilePool>();
        state.ResumeTiming();
        const auto file = PLFile::fileWithPath(path, std::make_shared<PLLatexFileContentOutlineParser>());
        benchmark::DoNotOptimize(file->outlineRootNode()->childCount());
        state.PauseTiming();
        pool.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["headings"] = double(state.range(0));
}
BENCHMARK(BM_OpenFileWithManyHeadings)->Unit(benchmark::kMillisecond)->Arg(5000)->Arg(20000);

// Typing and removing one character in the root file's text: the whole project's outline is
// renested after each replacement, since included roots hang below the root's include nodes.
void BM_KeystrokeInProjectRoot(benchmark::State &state)
{
    PLFilePool pool;
    const auto root = PLFile::fileWithPath(project().mainPath(), std::make_shared<PLLatexFileContentOutlineParser>());
    PLTextContentBuffer *buffer = root->contentBuffer();
    const qsizetype at = buffer->string().indexOf(QStringLiteral("plain words")) + 3;
    for (auto _ : state) {
        buffer->replaceCharactersInRange(PLRange{at, 0}, QStringLiteral("x"));
        buffer->replaceCharactersInRange(PLRange{at, 1}, QString());
    }
    state.SetItemsProcessed(state.iterations() * 2);
}
BENCHMARK(BM_KeystrokeInProjectRoot)->Unit(benchmark::kMicrosecond);

}

BENCHMARK_MAIN();
