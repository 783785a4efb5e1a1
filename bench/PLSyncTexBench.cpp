#include "core/typesetting/PLSyncTexSearch.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <sys/resource.h>

namespace {

// A 100-page document typeset once with SyncTeX: a page per section, thirty source lines each.
class HundredPages
{
public:
    HundredPages()
    {
        QString text = QStringLiteral("\\documentclass{article}\n\\begin{document}\n");
        for (int page = 1; page <= 100; ++page) {
            text += QStringLiteral("\\section{Section %1}\n").arg(page);
            for (int line = 1; line <= 30; ++line)
                text += QStringLiteral("Line %1 of page %2 holds enough words to fill most of a printed line.\n").arg(line).arg(page);
            text += QStringLiteral("\\newpage\n");
        }
        text += QStringLiteral("\\end{document}\n");
        QFile file(m_dir.filePath(QStringLiteral("main.tex")));
        if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0)
            std::abort();
        file.close();
        run(QStringLiteral("pdflatex"), {QStringLiteral("-synctex=1"), QStringLiteral("-interaction"),
                                         QStringLiteral("nonstopmode"), QStringLiteral("main")});
        if (!QFile::exists(pdfPath()))
            std::abort();
    }

    QString folder() const { return m_dir.path(); }
    QString pdfPath() const { return m_dir.filePath(QStringLiteral("main.pdf")); }
    QString mainPath() const { return m_dir.filePath(QStringLiteral("main.tex")); }

    QByteArray run(const QString &program, const QStringList &arguments) const
    {
        QProcess process;
        process.setWorkingDirectory(m_dir.path());
        process.start(program, arguments);
        process.waitForFinished(-1);
        return process.readAllStandardOutput();
    }

private:
    QTemporaryDir m_dir;
};

const HundredPages &document()
{
    static const HundredPages pages;
    return pages;
}

// A line of section 80, near the end of the document.
constexpr int kLine = 2 + 79 * 32 + 10;

void BM_ForwardSearch(benchmark::State &state)
{
    const PLSyncTexSearch search(document().pdfPath());
    for (auto _ : state) {
        const auto results = search.forwardSearch(document().mainPath(), kLine, 0);
        if (results.isEmpty() || results.first().page != 80)
            state.SkipWithError("no result on page 80");
        benchmark::DoNotOptimize(results.size());
    }
}
BENCHMARK(BM_ForwardSearch)->Unit(benchmark::kMicrosecond);

void BM_BackwardSearch(benchmark::State &state)
{
    const PLSyncTexSearch search(document().pdfPath());
    const PLSyncTexForwardResult place = search.forwardSearch(document().mainPath(), kLine, 0).value(0);
    for (auto _ : state) {
        const auto results = search.backwardSearch(place.page, place.h, place.v, document().folder() + u'/');
        if (results.isEmpty() || results.first().line != kLine)
            state.SkipWithError("not back on the line");
        benchmark::DoNotOptimize(results.size());
    }
}
BENCHMARK(BM_BackwardSearch)->Unit(benchmark::kMicrosecond);

// Processor time spent by finished child processes so far, in milliseconds.
double childProcessorMilliseconds()
{
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e3 + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e3;
}

// The same questions asked of the synctex command-line tool, one process per question; the
// tool's own processor time is the counter tool_cpu_ms.
void BM_SyncTexToolView(benchmark::State &state)
{
    const QStringList arguments{QStringLiteral("view"), QStringLiteral("-i"),
                                QStringLiteral("%1:0:main.tex").arg(kLine), QStringLiteral("-o"), QStringLiteral("main.pdf")};
    const double before = childProcessorMilliseconds();
    for (auto _ : state) {
        if (!document().run(QStringLiteral("synctex"), arguments).contains("Page:80"))
            state.SkipWithError("no result on page 80");
    }
    state.counters["tool_cpu_ms"] = (childProcessorMilliseconds() - before) / double(state.iterations());
}
BENCHMARK(BM_SyncTexToolView)->Unit(benchmark::kMillisecond);

void BM_SyncTexToolEdit(benchmark::State &state)
{
    const PLSyncTexForwardResult place = PLSyncTexSearch(document().pdfPath()).forwardSearch(document().mainPath(), kLine, 0).value(0);
    const QStringList arguments{QStringLiteral("edit"), QStringLiteral("-o"),
                                QStringLiteral("%1:%2:%3:main.pdf").arg(place.page).arg(place.h).arg(place.v)};
    const double before = childProcessorMilliseconds();
    for (auto _ : state) {
        if (!document().run(QStringLiteral("synctex"), arguments).contains(QByteArray(QByteArray("Line:") + QByteArray::number(kLine))))
            state.SkipWithError("not back on the line");
    }
    state.counters["tool_cpu_ms"] = (childProcessorMilliseconds() - before) / double(state.iterations());
}
BENCHMARK(BM_SyncTexToolEdit)->Unit(benchmark::kMillisecond);

}

BENCHMARK_MAIN();
