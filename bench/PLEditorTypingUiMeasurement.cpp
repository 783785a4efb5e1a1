// Times the editor the way a user meets it: a project window on one long file, split into two
// panes that show the same place, typing in one of them and scrolling the other with the wheel.
// Each step is timed from the key press (or wheel turn) until both panes have taken the edit and
// everything the event loop owes for it has run: buffer, outline, colours, mirrors, rulers,
// bands, spell checking and the painting of both panes. Prints median, 95th percentile and worst,
// of the wall-clock time and of the main thread's processor time, which a busy machine's other
// programs do not inflate.
//
// PLEditorTypingUiMeasurement [lines] [keys] [wheel steps]

#include "core/document/PLDocument.h"
#include "ui/app/PLDocumentController.h"
#include "ui/window/PLDocumentSplitViewController.h"
#include "ui/app/PLDocumentWindowController.h"
#include "ui/window/PLMainAreaViewController.h"
#include "ui/editor/PLSpellChecker.h"
#include "ui/window/PLSplitViewContentViewController.h"
#include "ui/window/PLSplitViewController.h"
#include "core/foundation/PLStringLineCalculations.h"
#include "core/editor/PLTextContentBuffer.h"
#include "ui/editor/PLTextView.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLoggingCategory>
#include <QMainWindow>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QWheelEvent>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <vector>

namespace {

// Prose with headings, commands, mathematics, comments and a few misspelt words, one line each.
QString projectText(int lines)
{
    const QString prose[] = {
        QStringLiteral("The results of the \\emph{second} experiment are shown in Table~\\ref{tab:%1}."),
        QStringLiteral("We assume that $x_{%1} \\leq y^2$ holds for every element of the set."),
        QStringLiteral("Paragraph %1 is writen with a few mispelt words to keep the checker busy."),
        QStringLiteral("% a comment about line %1 that the colouring paints in its own colour"),
        QStringLiteral("\\begin{itemize} \\item point %1 \\item another point \\end{itemize}"),
        QStringLiteral("Further work will adress the open questions raised in Section %1."),
    };
    QString text;
    text.reserve(qsizetype(lines) * 72);
    text += QStringLiteral("\\documentclass{article}\n\\begin{document}\n");
    for (int i = 2; i < lines - 1; ++i) {
        if (i % 40 == 2)
            text += QStringLiteral("\\section{Section %1}\n").arg(i / 40);
        else
            text += prose[i % 6].arg(i) + u'\n';
    }
    text += QStringLiteral("\\end{document}\n");
    return text;
}

void settle()
{
    for (int i = 0; i < 3; ++i)
        QCoreApplication::processEvents();
}

struct Summary
{
    double median;
    double p95;
    double worst;
};

Summary summarise(std::vector<double> times)
{
    std::sort(times.begin(), times.end());
    return Summary{times[times.size() / 2], times[std::min(times.size() - 1, times.size() * 95 / 100)], times.back()};
}

double threadMilliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

// Times one step on the wall clock and in processor time.
struct Timings
{
    std::vector<double> wall;
    std::vector<double> processor;

    template<class Step>
    void time(Step step)
    {
        QElapsedTimer timer;
        const double started = threadMilliseconds();
        timer.start();
        step();
        wall.push_back(double(timer.nsecsElapsed()) / 1e6);
        processor.push_back(threadMilliseconds() - started);
    }

    void print(const char *what) const
    {
        // Zero steps asked for (to profile one part alone): nothing to summarise.
        if (wall.empty())
            return;
        const Summary w = summarise(wall);
        const Summary p = summarise(processor);
        std::printf("%s: wall median %.2f ms, 95%% %.2f ms, worst %.2f ms; processor median %.2f ms, 95%% %.2f ms, worst %.2f ms\n",
                    what, w.median, w.p95, w.worst, p.median, p.p95, p.worst);
    }
};

bool inStep(const PLTextView *view)
{
    return view->document()->characterCount() - 1 == view->contentBuffer()->length();
}

}

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir configHome;
    qputenv("XDG_CONFIG_HOME", configHome.path().toLocal8Bit());
    QApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("plumeo.*.debug=false\nplumeo.*.info=false"));
    PLUserDefaults::resetStandardUserDefaults();
    PLUserDefaults::standardUserDefaults().registerDefaults(PLRegisteredUserDefaults());
    const int lines = argc > 1 ? std::atoi(argv[1]) : 20000;
    const int keys = argc > 2 ? std::atoi(argv[2]) : 600;
    const int wheelSteps = argc > 3 ? std::atoi(argv[3]) : 1500;

    QTemporaryDir folder;
    const QString path = QDir(folder.path()).filePath(QStringLiteral("main.tex"));
    QFile out(path);
    if (!out.open(QIODevice::WriteOnly))
        qFatal("cannot write the project file");
    out.write(projectText(lines).toUtf8());
    out.close();

    QElapsedTimer opening;
    opening.start();
    PLDocumentController documents;
    PLError error;
    PLDocument *document = documents.openDocumentWithContentsOfURL(QUrl::fromLocalFile(path), true, &error);
    if (!document)
        qFatal("cannot open the project: %s", qPrintable(error.message));
    PLDocumentWindowController *windowController = documents.windowControllerForDocument(document);
    QMainWindow *window = windowController->documentWindow();
    window->resize(1400, 900);
    window->show();
    window->activateWindow();
    if (!QTest::qWaitForWindowActive(window))
        qFatal("the window did not become active");
    PLSplitViewController *editor = windowController->splitViewController()->mainAreaViewController()->editorSplitViewController();
    editor->splitViewContentControllerAtIndex(0)->splitView(Qt::NoModifier);
    PLSpellChecker::sharedSpellChecker().waitUntilReady();
    settle();
    std::printf("%d lines: window with two panes ready in %lld ms\n", lines, qint64(opening.elapsed()));

    PLTextView *typing = editor->splitViewContentControllerAtIndex(0)->textContentView();
    PLTextView *other = editor->splitViewContentControllerAtIndex(1)->textContentView();
    PLTextContentBuffer *buffer = typing->contentBuffer();
    const qsizetype middle = PLStringLineCalculations::locationOfLineStart(buffer->string(), lines / 2);
    typing->setFocus();
    typing->setSelectedRange(PLRange{middle, 0});
    typing->scrollRangeToVisible(PLRange{middle, 0});
    other->scrollRangeToVisible(PLRange{middle, 0});
    settle();

    const QString script = QStringLiteral("The quick brown fox jumps over the lazy dgo (again) while the \"editor\" keeps up. ");
    Timings typed;
    for (int i = 0; i < keys; ++i) {
        typed.time([&] {
            if (i % 70 == 69)
                QTest::keyClick(typing, Qt::Key_Return);
            else
                QTest::keyClick(typing, script.at(i % script.size()).toLatin1());
            settle();
        });
        if (!inStep(typing) || !inStep(other))
            qFatal("a pane fell behind the buffer");
    }
    typed.print(qPrintable(QStringLiteral("typing, %1 keys").arg(keys)));

    other->verticalScrollBar()->setValue(0);
    settle();
    Timings scrolled;
    const QPoint inside = other->viewport()->rect().center();
    for (int i = 0; i < wheelSteps; ++i) {
        scrolled.time([&] {
            QWheelEvent wheel(inside, other->viewport()->mapToGlobal(inside), QPoint(), QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
                              Qt::NoScrollPhase, false);
            QApplication::sendEvent(other->viewport(), &wheel);
            settle();
        });
    }
    scrolled.print(qPrintable(QStringLiteral("scrolling, %1 wheel steps down to line %2")
                                  .arg(wheelSteps)
                                  .arg(other->cursorForPosition(QPoint(0, 0)).blockNumber() + 1)));

    // The typing is thrown away with the window; nothing is saved.
    return 0;
}
