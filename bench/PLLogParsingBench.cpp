#include "core/project/PLFile.h"
#include "core/project/PLFilePool.h"
#include "core/typesetting/PLLogStringParser.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/typesetting/PLTypesettingLogFileParser.h"

#include <QDirIterator>
#include <QFile>
#include <QRandomGenerator>

#include <benchmark/benchmark.h>

namespace {

// Engine output of about the given number of characters, made of what a long document's first
// run prints: chapter files opened and closed, packages and fonts loaded, pages shipped, boxes
// reported, warnings and errors in the -file-line-error form.
QString engineOutput(qsizetype size)
{
    QString text = QStringLiteral(
        "This is pdfTeX, Version 3.141592653-2.6-1.40.24 (TeX Live 2022/Debian) (preloaded format=pdflatex)\n"
        " \\write18 enabled.\nentering extended mode\n(./thesis.tex\nLaTeX2e <2022-11-01> patch level 1\n"
        "(/usr/share/texlive/texmf-dist/tex/latex/base/report.cls\n"
        "Document Class: report 2022/07/02 v1.4n Standard LaTeX document class\n"
        "(/usr/share/texlive/texmf-dist/tex/latex/base/size11.clo))\n");
    for (int n = 0; text.size() < size; ++n) {
        text += QStringLiteral(
                    "(./chapters/chapter%1.tex\nChapter %1.\n[%2] [%3]\n"
                    "Overfull \\hbox (12.3pt too wide) in paragraph at lines 40--42\n"
                    "[]\\OT1/cmr/m/n/10 Some text that is too wide for the line in chapter %1 and so on|\n \n\n"
                    "LaTeX Warning: Reference `fig:%1' on page %3 undefined on input line 57.\n\n"
                    "./chapters/chapter%1.tex:88: Undefined control sequence.\nl.88 \\foo\n         \n"
                    "(/usr/share/texlive/texmf-dist/tex/latex/base/omsenc.dfu)\n"
                    "Underfull \\hbox (badness 10000) in paragraph at lines 90--91\n\n"
                    " [%4{/var/lib/texmf/fonts/enc/dvips/cm-super/cm-super-ts1.enc}])\n")
                    .arg(n)
                    .arg(3 * n + 1)
                    .arg(3 * n + 2)
                    .arg(3 * n + 3);
    }
    return text + QStringLiteral("\nLaTeX Warning: There were undefined references.\n\n )\nOutput written on thesis.pdf.\n");
}

// What the robustness requirements name: a log with no file opening, binary garbage decoded as
// Latin-1, and megabyte lines of the characters the patterns start with.
QString pathologicalOutput(const char *kind, qsizetype size)
{
    const QByteArrayView which(kind);
    if (which == "garbage") {
        QByteArray bytes(size, Qt::Uninitialized);
        QRandomGenerator random(42);
        for (char &byte : bytes)
            byte = char(random.bounded(256));
        return QString::fromLatin1(bytes);
    }
    if (which == "no-openings")
        return engineOutput(size).replace(QStringLiteral("(./"), QStringLiteral("(/"));
    const QString piece = QString::fromLatin1(which.sliced(which.indexOf(':') + 1));
    QString line;
    while (line.size() < 1024 * 1024)
        line += piece;
    QString text;
    while (text.size() < size)
        text += line + u'\n';
    return text;
}

// Real engine output repeated to about the given size: every captured output of the test
// documents, and the file named by PLUMEO_BENCH_LOG (a book's first run, say) when it is set.
QString realOutput(qsizetype size)
{
    QString logs;
    QDirIterator it(QStringLiteral(PLUMEO_BENCH_REAL_LOGS), {QStringLiteral("output.txt")}, QDir::Files,
                    QDirIterator::Subdirectories);
    QStringList paths;
    while (it.hasNext())
        paths.append(it.next());
    if (const QString extra = qEnvironmentVariable("PLUMEO_BENCH_LOG"); !extra.isEmpty())
        paths = {extra};
    paths.sort();
    for (const QString &path : paths) {
        QFile file(path);
        if (file.open(QIODevice::ReadOnly))
            logs += QString::fromUtf8(file.readAll());
    }
    QString text;
    while (!logs.isEmpty() && text.size() < size)
        text += logs;
    return text;
}

// A log that opens the given number of files, each with a warning and a located error, as a
// project of that many chapters gives: the time must grow linearly with the number.
QString manyOpenings(int files)
{
    QString text = QStringLiteral("This is pdfTeX\n(./main.tex\n");
    for (int n = 0; n < files; ++n) {
        text += QStringLiteral("(./chapters/c%1.tex\nLaTeX Warning: Reference `r%1' on page 1 undefined on input line 3.\n\n"
                               "./chapters/c%1.tex:4: Undefined control sequence.\nl.4 \\foo\n\n)\n")
                    .arg(n);
    }
    return text + QStringLiteral(")\n");
}

// One parser over the same text again and again; the benchmarks below differ in parser and text.
template <typename Parser>
void parseRepeatedly(benchmark::State &state, const QString &text, const QString &rootPath)
{
    PLFilePool pool;
    const auto root = PLFile::fileWithPath(rootPath, nullptr);
    for (auto _ : state) {
        Parser parser(root);
        parser.parseLogString(text);
        benchmark::DoNotOptimize(parser);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * text.size());
}

void BM_LogStringParser(benchmark::State &state)
{
    parseRepeatedly<PLLogStringParser>(state, engineOutput(10 * 1024 * 1024), QStringLiteral("/bench/thesis.tex"));
}
BENCHMARK(BM_LogStringParser)->Unit(benchmark::kMillisecond);

void BM_TypesettingLogFileParser(benchmark::State &state)
{
    parseRepeatedly<PLTypesettingLogFileParser>(state, engineOutput(10 * 1024 * 1024), QStringLiteral("/bench/thesis.tex"));
}
BENCHMARK(BM_TypesettingLogFileParser)->Unit(benchmark::kMillisecond);

void BM_LogStringParserOnRealOutput(benchmark::State &state)
{
    parseRepeatedly<PLLogStringParser>(state, realOutput(10 * 1024 * 1024), QStringLiteral("/bench/main.tex"));
}
BENCHMARK(BM_LogStringParserOnRealOutput)->Unit(benchmark::kMillisecond);

void BM_TypesettingLogFileParserOnRealOutput(benchmark::State &state)
{
    parseRepeatedly<PLTypesettingLogFileParser>(state, realOutput(10 * 1024 * 1024), QStringLiteral("/bench/main.tex"));
}
BENCHMARK(BM_TypesettingLogFileParserOnRealOutput)->Unit(benchmark::kMillisecond);

// Compare the times of 8,000 and 32,000 openings: linear is 4 times, quadratic 16.
void BM_BothParsersOnFileOpenings(benchmark::State &state)
{
    PLFilePool pool;
    const QString text = manyOpenings(int(state.range(0)));
    const auto root = PLFile::fileWithPath(QStringLiteral("/bench/main.tex"), nullptr);
    for (auto _ : state) {
        PLLogStringParser parser(root);
        parser.parseLogString(text);
        PLTypesettingLogFileParser strategies(root);
        strategies.parseLogString(text);
        benchmark::DoNotOptimize(parser.errorsFound().size() + strategies.itemCount());
    }
    state.counters["openings"] = double(state.range(0));
}
BENCHMARK(BM_BothParsersOnFileOpenings)->Arg(8000)->Arg(32000)->Unit(benchmark::kMillisecond);

// Registering and then removing one observer per file, as the files of a large project do when
// it opens and closes: linear is 4 times from 8,000 to 32,000.
void BM_NotificationCenterObserversComeAndGo(benchmark::State &state)
{
    const int count = int(state.range(0));
    std::vector<int> observers(count);
    const QString name = QStringLiteral("PLBenchNotification");
    for (auto _ : state) {
        PLNotificationCenter center;
        for (int &observer : observers)
            center.addObserver(&observer, name, &observer, [](const PLNotification &) {});
        for (int &observer : observers)
            center.post(name, &observer);
        for (int &observer : observers)
            center.removeObserver(&observer);
    }
}
BENCHMARK(BM_NotificationCenterObserversComeAndGo)->Arg(8000)->Arg(32000)->Unit(benchmark::kMillisecond);

// Both parsers on 10 MB of each hostile shape; the time must stay of the order of a real log's
// (a search that tried the expressions at every position of a line once made long lines quadratic).
void BM_BothParsersOnHostileOutput(benchmark::State &state, const char *kind)
{
    PLFilePool pool;
    const QString text = pathologicalOutput(kind, 10 * 1024 * 1024);
    const auto root = PLFile::fileWithPath(QStringLiteral("/bench/thesis.tex"), nullptr);
    for (auto _ : state) {
        PLLogStringParser parser(root);
        parser.parseLogString(text);
        PLTypesettingLogFileParser strategies(root);
        strategies.parseLogString(text);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * text.size());
}
BENCHMARK_CAPTURE(BM_BothParsersOnHostileOutput, no_openings, "no-openings")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_BothParsersOnHostileOutput, garbage, "garbage")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_BothParsersOnHostileOutput, dots, "line:.")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_BothParsersOnHostileOutput, paths, "line:./")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_BothParsersOnHostileOutput, openings, "line:(./")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_BothParsersOnHostileOutput, located, "line:./a.tex:1: ")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_BothParsersOnHostileOutput, warnings, "line:LaTeX Warning: ")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_BothParsersOnHostileOutput, located_unspaced, "line:./a.tex:1:")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_BothParsersOnHostileOutput, missing_file, "line:! LaTeX Error: File `a.sty")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_BothParsersOnHostileOutput, undefined, "line:! Undefined control sequence.")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_BothParsersOnHostileOutput, opening_brackets, "line:((((")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_BothParsersOnHostileOutput, closing_brackets, "line:))))")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_BothParsersOnHostileOutput, carriage_returns, "line:\r")->Unit(benchmark::kMillisecond);

}

BENCHMARK_MAIN();
