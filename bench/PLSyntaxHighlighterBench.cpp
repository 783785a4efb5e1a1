#include "PLBenchSupport.h"
#include "core/project/PLFile.h"
#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "core/foundation/PLStringLineCalculations.h"
#include "core/editor/PLBIBSyntaxHightlighterDelegate.h"
#include "core/editor/PLSyntaxHighlighter.h"
#include "core/editor/PLTextContentBuffer.h"
#include "core/editor/PLTextStorage.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

namespace {

// A project file of so many lines, opened the way the editor opens it and coloured once.
class ColouredFile
{
public:
    explicit ColouredFile(int lines)
    {
        // Every include names the same small chapter, so opening does not create thousands of files.
        QString text = PLBenchLatexText(qsizetype(lines) * 40);
        text.replace(QRegularExpression(QStringLiteral("chapters/part[0-9]+")), QStringLiteral("chapter"));
        const QString path = QDir(m_folder.path()).filePath(QStringLiteral("bench.tex"));
        QFile out(path);
        if (!out.open(QIODevice::WriteOnly))
            qFatal("cannot write the benchmark file");
        out.write(text.left(PLStringLineCalculations::locationOfLineStart(text, lines + 1)).toUtf8());
        out.close();
        QFile chapter(QDir(m_folder.path()).filePath(QStringLiteral("chapter.tex")));
        if (!chapter.open(QIODevice::WriteOnly))
            qFatal("cannot write the benchmark chapter");
        chapter.write("\\chapter{Included}\n");
        chapter.close();
        m_file = PLFile::fileWithPath(path, std::make_shared<PLLatexFileContentOutlineParser>());
        colourWhole();
    }
    void colourWhole() const
    {
        buffer()->syntaxHighlighter()->highlightTextInRange(PLRange{0, buffer()->string().size()});
    }
    ~ColouredFile() { m_file->close(); }

    PLTextContentBuffer *buffer() const { return m_file->contentBuffer(); }
    // A line near the middle with a command, mathematics, an escaped percent sign and a comment.
    qsizetype middleLineStart() const
    {
        const QString &text = buffer()->string();
        return text.indexOf(QStringLiteral("Some text"), text.size() / 2);
    }

private:
    QTemporaryDir m_folder;
    std::shared_ptr<PLFile> m_file;
};

// The whole file coloured again in one go, as readers of its attributes get it after a change of
// the text style in the preferences.
void BM_RecolourWholeFile(benchmark::State &state)
{
    const ColouredFile file(int(state.range(0)));
    for (auto _ : state)
        file.colourWhole();
    state.counters["runs"] = double(file.buffer()->attributeRunCount());
    state.counters["characters"] = double(file.buffer()->string().size());
    // Characters per second of processor time, which other programs on a busy machine do not inflate.
    state.counters["MB/s"] = benchmark::Counter(double(file.buffer()->string().size()) / 1e6,
                                                benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_RecolourWholeFile)->Arg(20000)->Arg(40000)->Unit(benchmark::kMillisecond);

// Colouring the line of one edit in the middle of the file; it should not grow with the file.
void BM_ColourOneLine(benchmark::State &state)
{
    const ColouredFile file(int(state.range(0)));
    const qsizetype line = file.middleLineStart();
    for (auto _ : state)
        file.buffer()->syntaxHighlighter()->highlightTextInRange(PLRange{line, 1});
}
BENCHMARK(BM_ColourOneLine)->Arg(2000)->Arg(20000)->Arg(200000)->Unit(benchmark::kMicrosecond);

// One keystroke in the middle of the file through the buffer: filters, undo step, outline update,
// attribute shift and the colouring of its line.
void BM_TypeInOneLine(benchmark::State &state)
{
    const ColouredFile file(int(state.range(0)));
    const qsizetype line = file.middleLineStart();
    bool insert = true;
    for (auto _ : state) {
        if (insert)
            file.buffer()->replaceCharactersInRange(PLRange{line + 3, 0}, QStringLiteral("x"));
        else
            file.buffer()->replaceCharactersInRange(PLRange{line + 3, 1}, QString());
        insert = !insert;
    }
}
BENCHMARK(BM_TypeInOneLine)->Arg(2000)->Arg(20000)->Unit(benchmark::kMicrosecond);

// A text held in a plain string, coloured with the bibliography rules (which run the LaTeX rules too).
class BibliographyText : public PLTextStorage
{
public:
    explicit BibliographyText(const QString &text)
        : PLTextStorage(text.size()), m_text(text),
          m_highlighter(this, std::make_unique<PLBIBSyntaxHightlighterDelegate>())
    {
    }
    const QString &string() const override { return m_text; }
    void colour() { m_highlighter.userDefaultsDidChangeEditorTextColor(); }

private:
    QString m_text;
    PLSyntaxHighlighter m_highlighter;
};

// An entry whose abstract wraps after 24 words: once exponential in the spaces of the wrapped line.
void BM_ColourWrappedBibliographyEntry(benchmark::State &state)
{
    const QString words = QStringLiteral("word ").repeated(24);
    BibliographyText text(QStringLiteral("@article{key,\n  author = {A. Author},\n  abstract = {") + words
                          + QStringLiteral("\n") + words + QStringLiteral("\nmore},\n  year = {2024},\n}\n"));
    for (auto _ : state)
        text.colour();
}
BENCHMARK(BM_ColourWrappedBibliographyEntry)->Unit(benchmark::kMicrosecond);

// One line of 20,000 characters without a field: once quadratic in its length.
void BM_ColourLongLine(benchmark::State &state)
{
    BibliographyText text(QStringLiteral("a").repeated(20000) + QStringLiteral("\n"));
    for (auto _ : state)
        text.colour();
}
BENCHMARK(BM_ColourLongLine)->Unit(benchmark::kMicrosecond);

}

int main(int argc, char **argv)
{
    QTemporaryDir configHome;
    qputenv("XDG_CONFIG_HOME", configHome.path().toLocal8Bit());
    QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("plumeo.notifications=false\nplumeo.file=false\nplumeo.outline=false"));
    PLUserDefaults::resetStandardUserDefaults();
    PLUserDefaults::standardUserDefaults().registerDefaults(PLRegisteredUserDefaults());
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
