// Typing into editor panes and opening project windows, on the offscreen platform.
#include "PLBenchSupport.h"
#include "ui/app/PLDocumentController.h"
#include "core/project/PLFile.h"
#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "core/editor/PLSyntaxHighlighter.h"
#include "core/editor/PLTextContentBuffer.h"
#include "ui/editor/PLTextView.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QHBoxLayout>
#include <QTemporaryDir>
#include <QTest>

#include <benchmark/benchmark.h>

namespace {

void writeText(const QString &path, const QString &text)
{
    QFile file(path);
    file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    file.write(text.toUtf8());
}

// One keystroke in the middle of a file of the given size, shown in two panes side by side: the
// buffer's edit, the outline update, the colouring and both mirrors following it.
void typingInTwoPanes(benchmark::State &state)
{
    QTemporaryDir folder;
    const QString path = QDir(folder.path()).filePath(QStringLiteral("chapter.tex"));
    writeText(path, PLBenchLatexText(state.range(0)));
    const auto file = PLFile::fileWithPath(path, std::make_shared<PLLatexFileContentOutlineParser>());
    {
        QWidget window;
        auto *layout = new QHBoxLayout(&window);
        auto *typing = new PLTextView(file);
        layout->addWidget(typing);
        layout->addWidget(new PLTextView(file));
        window.resize(1200, 800);
        window.show();
        typing->setSelectedRange(PLRange{file->content().size() / 2, 0});
        for (auto _ : state)
            QTest::keyClick(typing, Qt::Key_A);
    }
    file->close();
}
BENCHMARK(typingInTwoPanes)->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMicrosecond);

// One pane on a book, shown and painted once.
struct BookWindow
{
    explicit BookWindow(const std::shared_ptr<PLFile> &file)
    {
        auto *layout = new QHBoxLayout(&window);
        auto *view = new PLTextView(file);
        layout->addWidget(view);
        window.resize(1200, 800);
        window.show();
        view->viewport()->repaint();
    }
    QWidget window;
};

// A book of about 1.5 MB opened in a shown pane, until the lines on screen are coloured (the
// rest is left to the event loop's idle slices).
void openingABookToItsScreenColoured(benchmark::State &state)
{
    QTemporaryDir folder;
    const QString path = QDir(folder.path()).filePath(QStringLiteral("book.tex"));
    writeText(path, PLBenchLatexText(1'500'000));
    for (auto _ : state) {
        const auto file = PLFile::fileWithPath(path, std::make_shared<PLLatexFileContentOutlineParser>());
        {
            const BookWindow shown(file);
            state.PauseTiming();
        }
        file->close();
        state.ResumeTiming();
    }
}
BENCHMARK(openingABookToItsScreenColoured)->Unit(benchmark::kMillisecond);

// The lines on screen of a shown 1.5 MB book taking a change of the text style.
void recolouringABooksScreen(benchmark::State &state)
{
    QTemporaryDir folder;
    const QString path = QDir(folder.path()).filePath(QStringLiteral("book.tex"));
    writeText(path, PLBenchLatexText(1'500'000));
    const auto file = PLFile::fileWithPath(path, std::make_shared<PLLatexFileContentOutlineParser>());
    {
        const BookWindow shown(file);
        for (auto _ : state)
            file->contentBuffer()->syntaxHighlighter()->userDefaultsDidChangeEditorTextColor();
    }
    file->close();
}
BENCHMARK(recolouringABooksScreen)->Unit(benchmark::kMicrosecond);

// A project of a main file and chapters of about 30 KB each, from the open call to a window
// with its sidebar and one pane, and closed again.
void openingAProjectWindow(benchmark::State &state)
{
    QTemporaryDir folder;
    QString main = QStringLiteral("\\documentclass{book}\n\\begin{document}\n");
    for (int chapter = 0; chapter < state.range(0); ++chapter) {
        main += QStringLiteral("\\include{ch%1}\n").arg(chapter);
        writeText(QDir(folder.path()).filePath(QStringLiteral("ch%1.tex").arg(chapter)), PLBenchLatexText(30'000));
    }
    main += QStringLiteral("\\end{document}\n");
    const QString path = QDir(folder.path()).filePath(QStringLiteral("main.tex"));
    writeText(path, main);
    PLDocumentController documents;
    for (auto _ : state) {
        documents.openDocumentWithContentsOfURL(QUrl::fromLocalFile(path), true);
        QCoreApplication::processEvents();
        documents.closeAllDocuments();
    }
}
BENCHMARK(openingAProjectWindow)->Arg(10)->Arg(60)->Unit(benchmark::kMillisecond);

}
