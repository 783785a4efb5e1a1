// The PDF pane's view on a typeset 500-page book, on the offscreen platform: from new PDF bytes
// to the visible page drawn, one page's rendering, and scrolling at a steady frame rate.
#include "ui/typesetting/PLPDFView.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QPdfDocument>
#include <QProcess>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QThreadPool>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <map>
#include <vector>

namespace {

constexpr int kBookPages = 500;
constexpr qreal kDpi = 150;
constexpr int kFrameMilliseconds = 16;

// The UI thread's own processor time: the machine may be busy with other work, which wall-clock
// time would count.
qint64 threadNanoseconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return qint64(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

// A book of full text pages typeset once: a heading and forty lines of prose per page.
class Book
{
public:
    explicit Book(int pages)
    {
        QString text = QStringLiteral("\\documentclass{article}\n\\begin{document}\n");
        for (int page = 1; page <= pages; ++page) {
            text += QStringLiteral("\\section*{Page %1}\n").arg(page);
            for (int line = 1; line <= 40; ++line)
                text += QStringLiteral("Line %1 carries enough ordinary words to fill most of a printed line of the book.\\\\\n").arg(line);
            text += QStringLiteral("\\newpage\n");
        }
        text += QStringLiteral("\\end{document}\n");
        QFile file(m_dir.filePath(QStringLiteral("book.tex")));
        if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0)
            std::abort();
        file.close();
        QProcess engine;
        engine.setWorkingDirectory(m_dir.path());
        engine.start(QStringLiteral("pdflatex"), {QStringLiteral("-interaction=batchmode"), QStringLiteral("book")});
        engine.waitForFinished(-1);
        QFile pdf(m_dir.filePath(QStringLiteral("book.pdf")));
        if (!pdf.open(QIODevice::ReadOnly))
            std::abort();
        m_bytes = pdf.readAll();
    }

    static const Book &withPages(int pages)
    {
        static std::map<int, Book> books;
        return books.try_emplace(pages, pages).first->second;
    }

    const QByteArray &bytes() const { return m_bytes; }

private:
    QTemporaryDir m_dir;
    QByteArray m_bytes;
};

// A shown view at 150 dpi on the book, its first visible page rendered.
class ShownBook
{
public:
    explicit ShownBook(int pages = kBookPages)
    {
        m_view.resize(1000, 1200);
        m_view.show();
        m_view.loadData(Book::withPages(pages).bytes());
        m_view.setZoomFactor(kDpi / m_view.logicalDpiY());
        waitUntilVisiblePageIsRendered();
    }

    PLPDFView &view() { return m_view; }

    int visiblePage() const { return m_view.pageAt(m_view.scrollOrigin() + QPoint(0, m_view.viewport()->height() / 2)); }

    void waitUntilVisiblePageIsRendered()
    {
        while (!m_view.isPageRendered(visiblePage()))
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }

private:
    PLPDFView m_view;
};

// The finish notification's work, timed on the wall clock from the notification until the paint
// that shows the new document's page in view at 150 dpi has completed: the pane reads the PDF
// file, loads it, and the page is rendered and painted, the old pages standing in meanwhile.
// The argument is the book's length in pages; the counters give the fastest and the median reload.
void finishToVisiblePageDrawn(benchmark::State &state)
{
    const int pages = int(state.range(0));
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("book.pdf"));
    QFile written(path);
    if (!written.open(QIODevice::WriteOnly) || written.write(Book::withPages(pages).bytes()) < 0)
        std::abort();
    written.close();
    ShownBook shown(pages);
    shown.view().goToPage(2);
    shown.waitUntilVisiblePageIsRendered();
    std::vector<double> milliseconds;
    for (auto _ : state) {
        QElapsedTimer sinceNotification;
        sinceNotification.start();
        QFile pdf(path);
        if (!pdf.open(QIODevice::ReadOnly) || !shown.view().loadData(pdf.readAll()))
            std::abort();
        shown.waitUntilVisiblePageIsRendered();
        shown.view().viewport()->repaint();
        const qint64 elapsed = sinceNotification.nsecsElapsed();
        state.SetIterationTime(double(elapsed) / 1e9);
        milliseconds.push_back(double(elapsed) / 1e6);
        // A job takes far longer than the pages ahead of the view take to render, so each reload
        // starts with the view idle rather than queued behind the last one's pages ahead.
        do {
            QThreadPool::globalInstance()->waitForDone();
            QCoreApplication::processEvents();
        } while (QThreadPool::globalInstance()->activeThreadCount() > 0);
    }
    std::sort(milliseconds.begin(), milliseconds.end());
    state.counters["min_ms"] = milliseconds.front();
    state.counters["median_ms"] = milliseconds.at(milliseconds.size() / 2);
}
BENCHMARK(finishToVisiblePageDrawn)->Arg(10)->Arg(kBookPages)->Iterations(15)->Unit(benchmark::kMillisecond)->UseManualTime();

// One text page rendered at 150 dpi by itself: the worker's share of the reload and of scrolling.
void renderOnePage(benchmark::State &state)
{
    ShownBook shown;
    QPdfDocument *document = shown.view().document();
    const QSize size = (document->pagePointSize(0) * kDpi / 72.0).toSize();
    int page = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(document->render(page, size));
        page = (page + 7) % kBookPages;
    }
}
BENCHMARK(renderOnePage)->Unit(benchmark::kMillisecond);

// Scrolling down the book by the given pixels per frame at 60 frames per second: the processor
// time the UI thread spends on a frame (scroll and paint, which must stay well under 16 ms),
// the share of frames that show a page not yet rendered, and the render cache at the end.
void scrollingAt60Fps(benchmark::State &state)
{
    ShownBook shown;
    PLPDFView &view = shown.view();
    const int step = int(state.range(0));
    qint64 frames = 0;
    qint64 blankFrames = 0;
    qint64 uiNanoseconds = 0;
    QElapsedTimer frame;
    for (auto _ : state) {
        frame.start();
        const qint64 frameStart = threadNanoseconds();
        if (view.verticalScrollBar()->value() >= view.verticalScrollBar()->maximum())
            view.setScrollOrigin(QPoint(0, 0));
        view.setScrollOrigin(view.scrollOrigin() + QPoint(0, step));
        view.viewport()->repaint();
        uiNanoseconds += threadNanoseconds() - frameStart;
        const QRect visible(view.scrollOrigin(), view.viewport()->size());
        for (int page = shown.visiblePage() - 1; page <= shown.visiblePage() + 1; ++page) {
            if (view.pageRect(page).intersects(visible) && !view.isPageRendered(page)) {
                ++blankFrames;
                break;
            }
        }
        ++frames;
        // The rest of the frame goes to the event loop, where rendered pages arrive.
        while (frame.elapsed() < kFrameMilliseconds)
            QCoreApplication::processEvents(QEventLoop::AllEvents, int(kFrameMilliseconds - frame.elapsed()));
    }
    state.counters["ui_cpu_ms_per_frame"] = double(uiNanoseconds) / frames / 1e6;
    state.counters["blank_frames_percent"] = 100.0 * blankFrames / frames;
    state.counters["pages_per_second"] = 60.0 * step / view.pageRect(0).height();
    state.counters["cache_mb"] = double(view.renderCacheBytes()) / (1 << 20);
    state.counters["cache_budget_mb"] = double(view.renderCacheBudget()) / (1 << 20);
}
BENCHMARK(scrollingAt60Fps)->Arg(20)->Arg(60)->Arg(150)->Iterations(600)->Unit(benchmark::kMillisecond)->UseRealTime();

}
