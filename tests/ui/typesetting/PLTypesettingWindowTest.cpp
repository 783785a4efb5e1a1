#include "../../core/typesetting/PLTypesettingTestSupport.h"
#include "core/latex/PLOutlineNode.h"
#include "core/typesetting/PLLatexTransformer.h"
#include "core/typesetting/PLLogItem.h"
#include "ui/typesetting/PLNoPDFFoundView.h"
#include "ui/typesetting/PLPdfPrinter.h"
#include "ui/typesetting/PLPdfTransformationConsolePanelController.h"
#include "ui/typesetting/PLPDFView.h"
#include "ui/typesetting/PLTypesetterProgressViewController.h"
#include "ui/window/PLTitleBarButton.h"
#include "ui/window/PLTypesettingLogParserResultsTableViewController.h"
#include "PLUiTestSupport.h"

#include <QFile>
#include <QLabel>
#include <QPdfDocument>
#include <QPlainTextEdit>
#include <QPrinter>
#include <QPushButton>
#include <QScrollBar>
#include <QSplitter>
#include <QTreeWidget>
#include <QClipboard>
#include <QPainter>
#include <QSignalSpy>

namespace {

// Generous: the engine's first run on a cold machine loads its format file.
constexpr int kJobTimeout = 60000;

// A project window on a copy of a fixture document (or on a text of the test's own), shown, with
// the window's typesetting notifications counted.
class TypesettingWindow : public PLTest::ProjectWindowTest
{
protected:
    void SetUp() override
    {
        ProjectWindowTest::SetUp();
        PLNotificationCenter::defaultCenter().addObserver(this, PLNotificationPdfTransformationWillStart, nullptr,
                                                          [this](const PLNotification &) { ++started; });
        PLNotificationCenter::defaultCenter().addObserver(this, PLNotificationPdfTransformationDidFinish, nullptr,
                                                          [this](const PLNotification &) { ++finished; });
    }
    void TearDown() override
    {
        PLNotificationCenter::defaultCenter().removeObserver(this);
        ProjectWindowTest::TearDown();
    }
    void open(const QString &fixture, const QString &mainText = QString())
    {
        PLTypesettingTest::copyDocument(fixture, project.path(QString()));
        if (!mainText.isEmpty())
            project.write(QStringLiteral("main.tex"), mainText);
        openWindow(project.path(QStringLiteral("main.tex")), QSize(900, 500), false);
        window->show();
        progress = windowController->typesetterProgressViewController();
    }
    // Typesets a document whose engine never ends, once the engine is under way.
    void startLoopingJob()
    {
        open(QStringLiteral("clean"), QStringLiteral("\\documentclass{article}\\begin{document}\\def\\a{\\a}\\a\\end{document}\n"));
        typeset();
        ASSERT_TRUE(QTest::qWaitFor([this] { return progress->progressValue() >= 1; }, kJobTimeout));
    }
    void typeset() const { menuItem(PLAction::Typeset)->trigger(); }
    bool waitForFinish(int count = 1) const
    {
        return QTest::qWaitFor([this, count] { return finished >= count; }, kJobTimeout);
    }
    bool stripShown() const { return progress->view()->isVisible(); }
    QString summary() const
    {
        return progress->errorWarningCountButton()->isVisible() ? progress->errorWarningCountButton()->text() : QString();
    }
    PLTypesetterProgressViewController *progress = nullptr;
    int started = 0;
    int finished = 0;
};

// The pane's title-bar button is the mouse's way to typeset. After errors the strip keeps the
// summary until the next job (a clean job's strip goes away: the console's test). The engine ends
// with status 1 after errors: the errors say enough, the status would only repeat them.
TEST_F(TypesettingWindow, TheStripShowsWhatTheJobFound)
{
    open(QStringLiteral("missing-input"));
    EXPECT_FALSE(stripShown());
    editor->selectedSplitViewController()->titleBarButtonTypeset()->click();
    EXPECT_TRUE(stripShown());
    EXPECT_EQ(started, 1);
    ASSERT_TRUE(waitForFinish());
    QCoreApplication::processEvents();
    EXPECT_TRUE(stripShown());
    EXPECT_EQ(summary(), QStringLiteral("2 errors found"));
    EXPECT_EQ(progress->transformationFileLabel()->text(), QStringLiteral("No PDF was written"));
    EXPECT_FALSE(QFile::exists(project.path(QStringLiteral("main.pdf"))));
    EXPECT_EQ(progress->progressMaximum(), document->filesInDocument().size());
    EXPECT_GE(progress->progressValue(), 1);
}

// An engine in an endless loop is ended from the menu, and the strip says so, or by closing the
// window. Regression guard: a second Ctrl+T during the job must not start a second engine, yet it
// still announces a start; the menu offers Stop instead of Typeset while the job runs.
TEST_F(TypesettingWindow, StopOrClosingEndsALoopingDocumentAndASecondRequestStartsNoSecondEngine)
{
    ASSERT_NO_FATAL_FAILURE(startLoopingJob());
    const std::shared_ptr<PLLatexTransformer> job = progress->transformer();
    EXPECT_FALSE(isEnabled(PLAction::Typeset));
    EXPECT_TRUE(isEnabled(PLAction::StopTypesetting));
    progress->transformToPDF();
    EXPECT_EQ(started, 2);
    EXPECT_EQ(progress->transformer(), job);
    menuItem(PLAction::StopTypesetting)->trigger();
    ASSERT_TRUE(waitForFinish());
    EXPECT_EQ(finished, 1);
    EXPECT_FALSE(progress->isTransforming());
    EXPECT_TRUE(isEnabled(PLAction::Typeset));
    EXPECT_FALSE(isEnabled(PLAction::StopTypesetting));
    EXPECT_TRUE(stripShown());
    EXPECT_EQ(progress->transformationFileLabel()->text(), QStringLiteral("Typesetting stopped"));
    // The log appears once the engine has been ended and the job is over.
    const QString log = project.path(QStringLiteral("main.log"));
    ASSERT_TRUE(QFile::remove(log));
    typeset();
    ASSERT_TRUE(QTest::qWaitFor([this] { return progress->progressValue() >= 1; }, kJobTimeout));
    // The file outlives the window: nothing may call back into the closed window.
    const std::shared_ptr<PLFile> mainFile = document->mainFile();
    ASSERT_TRUE(windowController->close());
    EXPECT_TRUE(QTest::qWaitFor([&] { return QFile::exists(log); }, kJobTimeout));
}

// A missing engine is told in an alert and the job still ends. An engine that fails without a word
// must not pass for a clean job: the strip stays and says so.
TEST_F(TypesettingWindow, AMissingOrSilentlyFailingEngineIsReported)
{
    const QString texFolder = project.path(QStringLiteral("tex"));
    PLUserDefaults::standardUserDefaults().setObject(QVariant(texFolder), PLUserDefaultsTexLocation);
    open(QStringLiteral("clean"));
    typeset();
    ASSERT_TRUE(waitForFinish());
    QMessageBox *alert = nullptr;
    const auto findAlert = [&] { return (alert = window->findChild<QMessageBox *>(QStringLiteral("PLCouldNotLocateEngineAlert"))); };
    ASSERT_TRUE(QTest::qWaitFor(findAlert, kJobTimeout));
    EXPECT_EQ(alert->text(), QStringLiteral("Could not locate pdflatex with path: %1/pdflatex").arg(texFolder));
    alert->buttons().first()->click();
    project.write(QStringLiteral("tex/pdflatex"), QStringLiteral("#!/bin/sh\nexit 3\n"));
    QFile::setPermissions(texFolder + QStringLiteral("/pdflatex"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    typeset();
    ASSERT_TRUE(waitForFinish(2));
    EXPECT_TRUE(stripShown());
    EXPECT_EQ(summary(), QString());
    EXPECT_EQ(progress->transformationFileLabel()->text(), QStringLiteral("pdflatex ended with exit status 3"));
}

// Typeset saves first: the engine must see the text the user sees. The advice names a missing
// package ("Emergency stop" alone does not) and a clean job has none. The console keeps the output
// of the last job until the next one starts; after the clean job the strip goes away.
TEST_F(TypesettingWindow, TypesetSavesFirstAdvisesOnTheErrorAndTheConsoleShowsTheLastJob)
{
    open(QStringLiteral("missing-package"));
    PLPdfTransformationConsolePanelController *console = progress->transformationConsolePanelController();
    menuItem(PLAction::DisplayTransformationConsole)->trigger();
    EXPECT_TRUE(console->window()->isVisible());
    const auto output = [console] {
        EXPECT_TRUE(QTest::qWaitFor([console] { return !console->hasPendingOutput(); }, kJobTimeout));
        return console->console()->toPlainText();
    };
    typeset();
    ASSERT_TRUE(waitForFinish());
    auto *list = mainArea()->errorsAndWarningsViewController();
    const QString advice = QStringLiteral("Did you spell the package name ('nosuchpackage') correctly?");
    EXPECT_EQ(list->adviceTextField()->text(), advice);
    ASSERT_EQ(list->itemAtIndex(0)->message(), QStringLiteral("Emergency stop."));
    list->errorOutlineTableView()->setCurrentItem(list->errorOutlineTableView()->topLevelItem(0));
    EXPECT_EQ(list->adviceTextField()->text(), advice);
    EXPECT_FALSE(list->adviceTextField()->isHidden());
    EXPECT_TRUE(output().startsWith(QStringLiteral("This is pdfTeX")));
    PLTextContentBuffer *buffer = document->mainFile()->contentBuffer();
    buffer->replaceCharactersInRange(PLRange{0, buffer->length()},
                                     QStringLiteral("\\documentclass{article}\\begin{document}Fine.\\end{document}\n"));
    ASSERT_TRUE(document->isDocumentEdited());
    typeset();
    EXPECT_TRUE(console->console()->toPlainText().isEmpty());
    ASSERT_TRUE(waitForFinish(2));
    EXPECT_FALSE(document->isDocumentEdited());
    QCoreApplication::processEvents();
    EXPECT_FALSE(stripShown());
    EXPECT_EQ(summary(), QString());
    EXPECT_TRUE(list->adviceTextField()->isHidden());
    EXPECT_TRUE(output().contains(QStringLiteral("Output written on main.pdf")));
    EXPECT_TRUE(QFile::exists(project.path(QStringLiteral("main.pdf"))));
    EXPECT_TRUE(console->console()->isReadOnly());
}

// A flooding engine: the console keeps only the newest output, says that older output went, and
// follows the end only while the user has not scrolled up.
TEST(ConsolePanel, KeepsTheNewestOutputAndFollowsTheEndUnlessScrolledUp)
{
    PLPdfTransformationConsolePanelController console;
    console.window()->resize(400, 200);
    console.showWindow();
    const qsizetype maximum = PLPdfTransformationConsolePanelController::kMaximumCharacters;
    const QString line = QString(99, u'x') + u'\n';
    const QString chunk = line.repeated(int(maximum / 4 / line.size()));
    for (int i = 0; i < 3; ++i)
        console.appendStringToConsole(chunk);
    console.flush();
    EXPECT_TRUE(console.droppedOutputLabel()->isHidden());
    QScrollBar *scrollBar = console.console()->verticalScrollBar();
    EXPECT_EQ(scrollBar->value(), scrollBar->maximum());
    scrollBar->setValue(0);
    for (int i = 0; i < 3; ++i)
        console.appendStringToConsole(chunk);
    console.appendStringToConsole(QStringLiteral("the end"));
    console.flush();
    EXPECT_FALSE(console.droppedOutputLabel()->isHidden());
    EXPECT_LE(console.console()->document()->characterCount(), maximum + 1);
    EXPECT_TRUE(console.console()->toPlainText().endsWith(QStringLiteral("x\nthe end")));
    EXPECT_EQ(scrollBar->value(), 0);
    // One burst larger than everything kept.
    console.appendStringToConsole(chunk.repeated(5) + QStringLiteral("last"));
    console.flush();
    EXPECT_LE(console.console()->document()->characterCount(), maximum + 1);
    EXPECT_TRUE(console.console()->toPlainText().endsWith(QStringLiteral("last")));
    console.clearConsole();
    EXPECT_TRUE(console.console()->toPlainText().isEmpty());
    EXPECT_TRUE(console.droppedOutputLabel()->isHidden());
}

// The subfolder project has an error in chapters/one.tex and warnings in both files: errors come
// first. Regression guard: the finish of another window's job must not reload this list (which
// would drop the user's selection). The summary button and the menu item open the list; the menu
// item and the close button hide it; the height the user gave it comes back, and it never appears
// shorter than its minimum. Clicking a row opens a file in a subfolder that no pane showed, at the
// start of the line; a second click on the same, still selected, row goes there again.
TEST_F(TypesettingWindow, TheErrorListReloadsForItsOwnJobKeepsItsHeightAndOpensAClickedRow)
{
    open(QStringLiteral("subfolder"));
    typeset();
    ASSERT_TRUE(waitForFinish());
    EXPECT_EQ(summary(), QStringLiteral("1 error and 4 warnings found"));
    auto *list = mainArea()->errorsAndWarningsViewController();
    QTreeWidget *table = list->errorOutlineTableView();
    ASSERT_EQ(table->topLevelItemCount(), 5);
    const QTreeWidgetItem *first = table->topLevelItem(0);
    EXPECT_EQ(QStringList({first->text(1), first->text(2)}), QStringList({QStringLiteral("one.tex"), QStringLiteral("4")}));
    for (int row = 0; row < 5; ++row)
        EXPECT_EQ(list->itemAtIndex(row)->type(), row == 0 ? PLLogItem::Error : PLLogItem::Warning) << row;
    table->setCurrentItem(table->topLevelItem(1));
    PLDocument other;
    for (QObject *of : {static_cast<QObject *>(&other), static_cast<QObject *>(document)}) {
        EXPECT_EQ(table->currentItem(), table->topLevelItem(1));
        postJobFinished(of);
    }
    EXPECT_EQ(table->currentItem(), nullptr);
    const auto listShown = [list] { return !list->view()->isHidden(); };
    EXPECT_FALSE(listShown());
    progress->errorWarningCountButton()->click();
    EXPECT_TRUE(listShown());
    QCoreApplication::processEvents();
    EXPECT_GE(list->view()->height(), PLTypesettingLogParserResultsTableViewController::minimumHeight);
    auto *splitter = qobject_cast<QSplitter *>(list->view()->parentWidget());
    const int total = splitter->sizes().value(0) + splitter->sizes().value(1);
    splitter->setSizes({total - 200, 200});
    menuItem(PLAction::DisplayErrorsAndWarnings)->trigger();
    EXPECT_FALSE(listShown());
    menuItem(PLAction::DisplayErrorsAndWarnings)->trigger();
    QCoreApplication::processEvents();
    EXPECT_EQ(list->view()->height(), 200);
    PLSplitViewContentViewController *shownPane = editor->selectedSplitViewController();
    const auto clickRow = [table, shownPane] {
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, table->visualItemRect(table->topLevelItem(0)).center());
        return shownPane->textContentView()->selectedRange().location;
    };
    const qsizetype lineFour = PLTest::readFile(project.path(QStringLiteral("chapters/one.tex"))).indexOf("Here is an error");
    EXPECT_EQ(clickRow(), lineFour);
    // Regression: the pane's old text view, deleted later, used itself after its deletion.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(shownPane->file()->name(), QStringLiteral("one.tex"));
    shownPane->textContentView()->setSelectedRange(PLRange{0, 0});
    EXPECT_EQ(clickRow(), lineFour);
    list->closeButton()->click();
    EXPECT_FALSE(listShown());
    list->setSavedHeight(20);
    EXPECT_EQ(list->savedHeight(), PLTypesettingLogParserResultsTableViewController::minimumHeight);
}

// The generated documents: a 500-page book with one page that holds a needle, a page with a drawn
// rule and no text, and one page for each quarter turn, its objects packed into object streams as
// pdfTeX writes them by default, each page with its own word.
QString generatedSource(const QString &name)
{
    if (name == QStringLiteral("book")) {
        QString book = QStringLiteral("\\documentclass{article}\n\\begin{document}\n");
        for (int page = 1; page <= 500; ++page)
            book += QStringLiteral("Page %1 of the book.%2\n\\newpage\n")
                        .arg(page)
                        .arg(page == 400 ? QStringLiteral(" A Needle here.") : QString());
        return book + QStringLiteral("\\end{document}\n");
    }
    if (name == QStringLiteral("drawing"))
        return QStringLiteral("\\documentclass{article}\n\\pagestyle{empty}\n\\begin{document}\n"
                              "\\noindent\\rule{5cm}{3cm}\n\\end{document}\n");
    if (name == QStringLiteral("turned"))
        return QStringLiteral("\\pdfobjcompresslevel=2\n\\documentclass{article}\n\\pagestyle{empty}\n"
                              "\\pdfpagewidth=6in \\pdfpageheight=4in\n\\begin{document}\n"
                              "\\pdfpageattr{/Rotate 0}Zero turns here.\n\\newpage\n"
                              "\\pdfpageattr{/Rotate 90}Ninety degrees here.\n\\newpage\n"
                              "\\pdfpageattr{/Rotate 180}Upside down here.\n\\newpage\n"
                              "\\pdfpageattr{/Rotate 270}Three quarters here.\n\\end{document}\n");
    return QString();
}

// How many pixels of the image's area are opaque and darker than the threshold.
int darkPixels(const QImage &image, const QRect &area, int threshold)
{
    int dark = 0;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            dark += qAlpha(image.pixel(x, y)) > 128 && qGray(image.pixel(x, y)) < threshold;
    return dark;
}

class PDFPane : public PLTest::ProjectWindowTest
{
protected:
    // The folder of a fixture or generated document, typeset once for the whole run.
    static QString typesetFolder(const QString &name)
    {
        static QTemporaryDir folder;
        const QString target = folder.filePath(name);
        if (!QFileInfo::exists(target)) {
            if (const QString source = generatedSource(name); source.isEmpty())
                PLTypesettingTest::copyDocument(name, target);
            else
                PLTest::writeFile(target + QStringLiteral("/main.tex"), source.toUtf8());
            PLTypesettingTest::typeset(target);
        }
        return target;
    }
    static QByteArray typeset(const QString &name, const QString &file = QStringLiteral("main.pdf"))
    {
        return PLTest::readFile(QDir(typesetFolder(name)).filePath(file));
    }
    // A window on the four-page project, its PDF written beside it or not, its first pane
    // switched to the PDF.
    void open(bool withPdf)
    {
        for (const QString &file : {QStringLiteral("main.tex"), QStringLiteral("chapters/third.tex")})
            PLTest::writeFile(project.path(file), typeset(QStringLiteral("pages"), file));
        if (withPdf)
            PLTest::writeFile(project.path(QStringLiteral("main.pdf")), typeset(QStringLiteral("pages")));
        openAt(project.path(QStringLiteral("main.tex")));
    }
    void openAt(const QString &mainPath)
    {
        // Running events before the window shows kept Ctrl+C from the PDF view.
        openWindow(mainPath, QSize(900, 500), false, false);
        window->show();
        shownPane = editor->selectedSplitViewController();
        shownPane->toggleDocumentPDF();
    }
    PLPDFView *pdfView() const { return shownPane->pdfView(); }
    QRect visibleArea() const { return QRect(pdfView()->scrollOrigin(), pdfView()->viewport()->size()); }
    // Where a point of the page is in the viewport.
    QPoint viewportPoint(int page, const QPointF &point) const
    {
        const qreal scale = pdfView()->pageRect(page).width() / pdfView()->document()->pagePointSize(page).width();
        return pdfView()->pageRect(page).topLeft() + (pdfView()->pageToDrawn(page).map(point) * scale).toPoint()
               - pdfView()->scrollOrigin();
    }
    // True when the PDF view shows some dark pixel: text drawn, not blank pages.
    bool showsInk() const
    {
        const QImage shown = pdfView()->viewport()->grab().toImage();
        return darkPixels(shown, shown.rect(), 64) > 0;
    }
    PLSplitViewContentViewController *shownPane = nullptr;
};

// Zooms by keys and Ctrl+wheel render at the new size.
TEST_F(PDFPane, AnExistingPdfIsShownAtOnceRenderedOffTheUiThreadZoomedAndSearched)
{
    open(true);
    ASSERT_NE(pdfView()->document(), nullptr);
    EXPECT_EQ(pdfView()->pageCount(), 4);
    EXPECT_EQ(shownPane->noPDFFoundView(), nullptr);
    EXPECT_TRUE(pdfView()->isVisibleTo(window));
    WAIT_UNTIL(pdfView()->isPageRendered(0));
    // Pages far below the viewport are not rendered before they are scrolled near.
    EXPECT_FALSE(pdfView()->isPageRendered(3));
    pdfView()->setScrollOrigin(pdfView()->pageRect(3).topLeft());
    WAIT_UNTIL(pdfView()->isPageRendered(3));
    // The last page is landscape: a column of mixed sizes keeps each page's own shape.
    const QRect portrait = pdfView()->pageRect(0);
    EXPECT_NEAR(qreal(pdfView()->pageRect(3).width()) / pdfView()->pageRect(3).height(), 11.0 / 8.5, 0.01);
    pdfView()->goToPage(0);
    pdfView()->setFocus();
    QTest::keyClick(pdfView(), Qt::Key_Plus, Qt::ControlModifier);
    EXPECT_GT(pdfView()->pageRect(0).width(), portrait.width());
    WAIT_UNTIL(pdfView()->isPageRendered(0));
    QTest::keyClick(pdfView(), Qt::Key_0, Qt::ControlModifier);
    EXPECT_EQ(pdfView()->pageRect(0).size(), portrait.size());
    QTest::keyClick(pdfView(), Qt::Key_Minus, Qt::ControlModifier);
    EXPECT_LT(pdfView()->pageRect(0).width(), portrait.width());
    const QPointF centre = pdfView()->viewport()->rect().center();
    QWheelEvent wheel(centre, pdfView()->viewport()->mapToGlobal(centre), QPoint(), QPoint(0, 120), Qt::NoButton,
                      Qt::ControlModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(pdfView()->viewport(), &wheel);
    EXPECT_EQ(pdfView()->pageRect(0).size(), portrait.size());
    WAIT_UNTIL(pdfView()->isPageRendered(0));
    // The widest page, the landscape one, fills the width.
    pdfView()->zoomToFitWidth();
    EXPECT_NEAR(pdfView()->pageRect(3).width(), pdfView()->viewport()->width() - 16, 2);
    EXPECT_EQ(pdfView()->horizontalScrollBar()->maximum(), 0);
    // Find ignores case and wraps both ways; "page" is on pages 0, 1, 2 and 3 (in "fills the third page").
    const auto walk = [this](bool forwards, int steps) {
        QList<int> pages;
        for (int step = 0; step < steps; ++step) {
            shownPane->findAndHighlightString(QStringLiteral("PAGE"), forwards ? 1 : 0);
            pages.append(pdfView()->highlightedPage());
        }
        return pages;
    };
    EXPECT_EQ(walk(true, 5), (QList<int>{0, 1, 2, 3, 0}));
    EXPECT_EQ(walk(false, 2), (QList<int>{3, 2}));
    EXPECT_TRUE(visibleArea().intersects(pdfView()->pageRect(2)));
    EXPECT_FALSE(pdfView()->findString(QStringLiteral("nowhere in this document"), true));
    EXPECT_EQ(pdfView()->highlightedPage(), 2);
}

// Pages are drawn from images of the screen's own pixels: what the view shows equals a rendering
// of the page at that density, not an enlarged one. CTest runs this once more with
// QT_SCALE_FACTOR=2.
TEST_F(PDFPane, PagesAreSharpAtTheScreensPixelRatio)
{
    open(true);
    const qreal ratio = pdfView()->devicePixelRatioF();
    EXPECT_EQ(ratio, qEnvironmentVariableIsSet("QT_SCALE_FACTOR") ? qEnvironmentVariable("QT_SCALE_FACTOR").toDouble() : 1.0);
    WAIT_UNTIL(pdfView()->isPageRendered(0));
    const QImage shown = pdfView()->viewport()->grab().toImage();
    const QRect page = pdfView()->pageRect(0);
    const QRect visible = page.translated(-pdfView()->scrollOrigin()).intersected(pdfView()->viewport()->rect());
    ASSERT_FALSE(visible.isEmpty());
    // The rendering on the white of paper, as the view shows it.
    QImage sharp(page.size() * ratio, QImage::Format_RGB32);
    sharp.fill(Qt::white);
    QPainter(&sharp).drawImage(0, 0, pdfView()->document()->render(0, sharp.size()));
    const QPoint shownCorner = visible.topLeft() * ratio;
    const QPoint pageCorner = (visible.topLeft() - page.topLeft() + pdfView()->scrollOrigin()) * ratio;
    qint64 differing = 0;
    qint64 inked = 0;
    for (int y = 0; y < int(visible.height() * ratio); ++y) {
        for (int x = 0; x < int(visible.width() * ratio); ++x) {
            const int expected = qGray(sharp.pixel(pageCorner + QPoint(x, y)));
            inked += expected < 128 ? 1 : 0;
            differing += std::abs(qGray(shown.pixel(shownCorner + QPoint(x, y))) - expected) > 32 ? 1 : 0;
        }
    }
    ASSERT_GT(inked, 100);
    EXPECT_LT(differing, inked / 20);
}

// Printing without a PDF says there is none; the PDF goes to the printer page by page, within the
// chosen range.
TEST_F(PDFPane, PrintsThePagesOfThePdf)
{
    open(false);
    QString text;
    PLTest::answerNextMessageBox(QMessageBox::Ok, &text);
    menuItem(PLAction::PrintDocument)->trigger();
    EXPECT_EQ(text, QStringLiteral("PDF file not found"));
    QPdfDocument pdf;
    pdf.load(QDir(typesetFolder(QStringLiteral("pages"))).filePath(QStringLiteral("main.pdf")));
    ASSERT_EQ(pdf.pageCount(), 4);
    const auto printedPages = [&](int from, int to) {
        QPrinter printer(QPrinter::HighResolution);
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(project.path(QStringLiteral("printed.pdf")));
        if (from > 0) {
            printer.setPrintRange(QPrinter::PageRange);
            printer.setFromTo(from, to);
        }
        EXPECT_TRUE(PLPdfPrinter::printDocument(pdf, printer));
        QPdfDocument printed;
        printed.load(project.path(QStringLiteral("printed.pdf")));
        return printed.pageCount();
    };
    EXPECT_EQ(printedPages(0, 0), 4);
    EXPECT_EQ(printedPages(2, 3), 2);
}

TEST_F(PDFPane, ThePlaceholderStaysUntilTheFirstJobOfItsOwnDocument)
{
    open(false);
    ASSERT_NE(shownPane->noPDFFoundView(), nullptr);
    EXPECT_TRUE(shownPane->noPDFFoundView()->isVisibleTo(window));
    EXPECT_EQ(pdfView()->document(), nullptr);
    PLTest::writeFile(project.path(QStringLiteral("main.pdf")), typeset(QStringLiteral("pages")));
    QObject otherDocument;
    postJobFinished(&otherDocument);
    EXPECT_EQ(pdfView()->document(), nullptr);
    EXPECT_NE(shownPane->noPDFFoundView(), nullptr);
    postJobFinished(document);
    WAIT_UNTIL(pdfView()->pageCount() == 4);
    EXPECT_EQ(shownPane->noPDFFoundView(), nullptr);
    EXPECT_TRUE(pdfView()->isVisibleTo(window));
}

// The file the next job leaves ("pages", "clean", "" for an empty file, nullptr for none), the
// pages then shown and whether the origin is clamped.
using PDFPaneReload = PLTest::WithParam<PDFPane, std::tuple<const char *, int, bool>>;

// A reload keeps the scroll origin (the bar clamps it for a shorter PDF), and a file that is no
// PDF leaves the previous document on screen with its rendered pages.
TEST_P(PDFPaneReload, KeepsTheOriginAndSurvivesBrokenFiles)
{
    const auto [replacement, pageCount, originClamped] = GetParam();
    open(true);
    pdfView()->setScrollOrigin(pdfView()->pageRect(2).topLeft());
    WAIT_UNTIL(pdfView()->isPageRendered(2));
    const QPoint origin = pdfView()->scrollOrigin();
    QPdfDocument *shown = pdfView()->document();
    const QString pdfPath = project.path(QStringLiteral("main.pdf"));
    if (!replacement)
        QFile::remove(pdfPath);
    else
        PLTest::writeFile(pdfPath, *replacement ? typeset(QString::fromLatin1(replacement)) : QByteArray());
    QSignalSpy changed(pdfView(), &PLPDFView::documentChanged);
    postJobFinished(document);
    // Before any page of the new document is rendered, the old pages stand in: no blank flash.
    EXPECT_TRUE(showsInk());
    if (replacement && *replacement)
        WAIT_UNTIL(changed.count() == 1);
    else
        EXPECT_EQ(pdfView()->document(), shown);
    EXPECT_EQ(pdfView()->pageCount(), pageCount);
    EXPECT_EQ(shownPane->noPDFFoundView(), nullptr);
    if (originClamped)
        EXPECT_EQ(pdfView()->verticalScrollBar()->value(), pdfView()->verticalScrollBar()->maximum());
    else
        EXPECT_EQ(pdfView()->scrollOrigin(), origin);
    WAIT_UNTIL(pdfView()->isPageRendered(pageCount - 1));
}

INSTANTIATE_TEST_SUITE_P(Replacements, PDFPaneReload,
                         ::testing::Values(std::tuple{"pages", 4, false}, std::tuple{"clean", 1, true}, std::tuple{"", 4, false},
                                           std::tuple{static_cast<const char *>(nullptr), 4, false}));

// The PDF pane beside a text pane: the source line's text is found on its page (0-based), and a
// Ctrl+click there brings back its file and line, also for a chapter in a subfolder.
using PDFPaneSync = PLTest::WithParam<PDFPane, std::tuple<const char *, const char *, int>>;

TEST_P(PDFPaneSync, ForwardLandsOnTheTextAndBackwardReturnsToTheLine)
{
    const auto [fileName, lineText, page] = GetParam();
    // The typeset folder itself: its SyncTeX file names the sources where the engine read them.
    const QDir folder(typesetFolder(QStringLiteral("pages")));
    openAt(folder.filePath(QStringLiteral("main.tex")));
    editor->splitViewWithController(shownPane);
    PLSplitViewContentViewController *textPane = editor->splitViewContentControllerAtIndex(1);
    std::shared_ptr<PLFile> file = document->mainFile();
    if (const QString path = folder.filePath(QString::fromLatin1(fileName)); file->stringPath() != path)
        file = file->fileInDocumentWithPath(path);
    ASSERT_NE(file, nullptr);
    textPane->setFile(file);
    const QString text = file->contentBuffer()->string();
    const qsizetype lineStart = text.indexOf(QString::fromLatin1(lineText));
    ASSERT_GE(lineStart, 0);
    textPane->textContentView()->setSelectedRange(PLRange{lineStart, 0});
    editor->focusOnSplitViewContentViewController(textPane);
    EXPECT_TRUE(isEnabled(PLAction::PerformTexSyncMenuAction, 0));
    EXPECT_FALSE(isEnabled(PLAction::PerformTexSyncMenuAction, 1));
    menuItem(PLAction::PerformTexSyncMenuAction, 0)->trigger();
    PLPDFView *view = pdfView();
    ASSERT_EQ(view->highlightedPage(), page);
    const QRectF area = view->highlightedArea();
    // The highlight sits on the line's own text.
    const QString pageText = view->document()->getAllText(page).text();
    const qsizetype index = pageText.indexOf(QString::fromLatin1(lineText));
    ASSERT_GE(index, 0) << pageText.toStdString();
    const QRectF lineArea = view->document()->getSelectionAtIndex(page, int(index), int(qstrlen(lineText))).boundingRectangle();
    EXPECT_TRUE(lineArea.intersects(area));
    EXPECT_EQ(view->selectionPage(), page);
    EXPECT_TRUE(QString::fromLatin1(lineText).contains(view->selectedText().trimmed())) << view->selectedText().toStdString();
    EXPECT_TRUE(visibleArea().intersects(view->pageRect(page)));
    // Away from the line, then back from the PDF.
    const auto landed = [&] { return std::pair(textPane->file(), textPane->textContentView()->selectedRange().location); };
    textPane->setFile(document->mainFile());
    textPane->textContentView()->setSelectedRange(PLRange{0, 0});
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::ControlModifier, viewportPoint(page, area.center()));
    EXPECT_EQ(landed(), std::pair(file, lineStart));
    // The menu's way back works from the point the last click chose.
    textPane->setFile(document->mainFile());
    editor->focusOnSplitViewContentViewController(shownPane);
    EXPECT_FALSE(isEnabled(PLAction::PerformTexSyncMenuAction, 0));
    ASSERT_TRUE(isEnabled(PLAction::PerformTexSyncMenuAction, 1));
    menuItem(PLAction::PerformTexSyncMenuAction, 1)->trigger();
    EXPECT_EQ(landed(), std::pair(file, lineStart));
    // An outline row chosen while the focused pane shows the PDF shows where its section was typeset.
    std::shared_ptr<PLOutlineNode> fourth;
    for (auto node = document->mainFile()->outlineRootNode()->childAtIndex(0); node; node = node->traverseRight()) {
        if (node->name().contains(QStringLiteral("Fourth")))
            fourth = node;
    }
    ASSERT_NE(fourth, nullptr);
    shownPane->selectOutlineNode(fourth);
    EXPECT_EQ(pdfView()->highlightedPage(), 3);
    EXPECT_TRUE(shownPane->isPdfToggled());
}

INSTANTIATE_TEST_SUITE_P(Lines, PDFPaneSync,
                         ::testing::Values(std::tuple{"chapters/third.tex", "A chapter from a subfolder", 2},
                                           std::tuple{"main.tex", "The last page.", 3}));

// A mode, the pages it lays out and whether side by side.
using PDFPaneDisplayMode = PLTest::WithParam<PDFPane, std::tuple<PLPDFView::DisplayMode, int, bool>>;

// A mode chosen in one pane is stored at once and is the mode the next PDF pane starts with; the
// modes that show one spread at a time turn to the next spread on Page Down past its end.
TEST_P(PDFPaneDisplayMode, IsStoredAtOnceAndLaysOutItsPages)
{
    const auto [mode, pagesLaidOut, sideBySide] = GetParam();
    open(true);
    EXPECT_EQ(pdfView()->displayMode(), PLPDFView::SinglePageContinuous);
    pdfView()->setDisplayMode(mode);
    EXPECT_EQ(PLUserDefaults::standardUserDefaults().integerForKey(PLUserDefaultsPDFDisplayMode), int(mode));
    int laidOut = 0;
    for (int page = 0; page < pdfView()->pageCount(); ++page)
        laidOut += pdfView()->pageRect(page).isNull() ? 0 : 1;
    EXPECT_EQ(laidOut, pagesLaidOut);
    EXPECT_EQ(pdfView()->pageRect(1).top() == pdfView()->pageRect(0).top(), sideBySide);
    WAIT_UNTIL(pdfView()->isPageRendered(0));
    editor->splitViewWithControllerAndDisplayPDF(shownPane);
    EXPECT_EQ(editor->splitViewContentControllerAtIndex(1)->pdfView()->displayMode(), mode);
    pdfView()->setFocus();
    for (int press = 0; press < 20; ++press)
        QTest::keyClick(pdfView(), Qt::Key_PageDown);
    const int lastSpreadPage = pagesLaidOut == 4 ? 0 : 4 - pagesLaidOut;
    EXPECT_EQ(pdfView()->currentPage(), lastSpreadPage);
    EXPECT_FALSE(pdfView()->pageRect(3).isNull());
    // The top of the last page holds its text. Pages off the shown spread must not have been
    // rendered ahead at no size and then shown blank.
    pdfView()->goToPage(3);
    WAIT_UNTIL(pdfView()->isPageRendered(3));
    EXPECT_TRUE(showsInk());
}

INSTANTIATE_TEST_SUITE_P(Modes, PDFPaneDisplayMode,
                         ::testing::Values(std::tuple{PLPDFView::SinglePage, 1, false},
                                           std::tuple{PLPDFView::SinglePageContinuous, 4, false}, std::tuple{PLPDFView::TwoUp, 2, true},
                                           std::tuple{PLPDFView::TwoUpContinuous, 4, true}));

// Documents typeset from generated sources.
class PDFPaneOddDocuments : public PDFPane
{
protected:
    // A window on a copy of the typeset document, its first pane showing the PDF.
    void openTypeset(const QString &name)
    {
        project.write(QStringLiteral("main.tex"), QString::fromUtf8(typeset(name, QStringLiteral("main.tex"))));
        PLTest::writeFile(project.path(QStringLiteral("main.pdf")), typeset(name));
        openAt(project.path(QStringLiteral("main.tex")));
        ASSERT_NE(pdfView()->document(), nullptr);
    }
};

// The book stays whole in memory when its file goes, finds its one needle from anywhere, renders
// wherever it is scrolled, and keeps its rendered pages within the budget, the nearest ones kept.
TEST_F(PDFPaneOddDocuments, AFiveHundredPageBookScrollsFindsAndKeepsItsCacheInBudget)
{
    openTypeset(QStringLiteral("book"));
    ASSERT_EQ(pdfView()->pageCount(), 500);
    QFile::remove(project.path(QStringLiteral("main.pdf")));
    pdfView()->goToPage(250);
    for (bool forwards : {true, false}) {
        shownPane->findAndHighlightString(QStringLiteral("needle"), forwards ? 1 : 0);
        EXPECT_EQ(pdfView()->highlightedPage(), 399);
        EXPECT_EQ(pdfView()->selectedText(), QStringLiteral("Needle"));
        EXPECT_TRUE(visibleArea().intersects(pdfView()->pageRect(399)));
    }
    pdfView()->setScrollOrigin(QPoint(0, pdfView()->verticalScrollBar()->maximum()));
    WAIT_UNTIL(pdfView()->isPageRendered(499));
    EXPECT_TRUE(showsInk());
    // A budget of three pages: walking down keeps the pages near the view, the farthest go first.
    const qint64 page = qint64(pdfView()->pageRect(0).width()) * pdfView()->pageRect(0).height() * 4;
    pdfView()->setRenderCacheBudget(3 * page);
    EXPECT_LE(pdfView()->renderCacheBytes(), 3 * page);
    for (int shown = 0; shown <= 10; ++shown) {
        pdfView()->goToPage(shown);
        WAIT_UNTIL(pdfView()->isPageRendered(shown));
        EXPECT_LE(pdfView()->renderCacheBytes(), 3 * page) << shown;
    }
    EXPECT_FALSE(pdfView()->isPageRendered(0));
    EXPECT_FALSE(pdfView()->isPageRendered(499));
    pdfView()->goToPage(0);
    WAIT_UNTIL(pdfView()->isPageRendered(0));
}

// A page of the turned document and the first word on it.
class PDFPaneTurnedPages : public PDFPane, public ::testing::WithParamInterface<std::pair<int, const char *>>
{
protected:
    // True when the page as the engine draws it has ink inside the area (points of the page).
    bool inkUnder(int page, const QRectF &area) const
    {
        const QImage drawn = pdfView()->document()->render(page, pdfView()->pageRect(page).size());
        const qreal scale = drawn.width() / pdfView()->document()->pagePointSize(page).width();
        const QRectF shown = pdfView()->pageToDrawn(page).mapRect(area);
        return darkPixels(drawn, QRectF(shown.topLeft() * scale, shown.size() * scale).toAlignedRect() & drawn.rect(), 128) > 20;
    }
};

// Find highlights the word where it is drawn; a press clears the selection, a drag along the word
// and a double click on it select it and Ctrl+C copies it; forward search lands on its line and a
// Ctrl+click there goes back to that line.
TEST_P(PDFPaneTurnedPages, FindSelectionAndSyncLandOnTheDrawnText)
{
    const auto [page, firstWord] = GetParam();
    openAt(typesetFolder(QStringLiteral("turned")) + QStringLiteral("/main.tex"));
    ASSERT_EQ(pdfView()->pageCount(), 4);
    EXPECT_EQ(pdfView()->pageRotation(page), page * 90);
    // Wider than the viewport, so that pages lie where their rectangles say.
    pdfView()->setZoomFactor(2);
    const QString word = QString::fromLatin1(firstWord);
    shownPane->findAndHighlightString(word, 1);
    ASSERT_EQ(pdfView()->highlightedPage(), page);
    const QRectF area = pdfView()->highlightedArea();
    EXPECT_TRUE(inkUnder(page, area));
    const QPoint start = viewportPoint(page, QPointF(area.left() + 1, area.center().y()));
    QTest::mousePress(pdfView()->viewport(), Qt::LeftButton, Qt::NoModifier, start);
    EXPECT_TRUE(pdfView()->selectedText().isEmpty());
    const QPoint end = viewportPoint(page, QPointF(area.right() - 1, area.center().y()));
    QMouseEvent drag(QEvent::MouseMove, end, pdfView()->viewport()->mapToGlobal(end), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(pdfView()->viewport(), &drag);
    QTest::mouseRelease(pdfView()->viewport(), Qt::LeftButton, Qt::NoModifier, end);
    EXPECT_EQ(pdfView()->selectedText(), word);
    QTest::mouseDClick(pdfView()->viewport(), Qt::LeftButton, Qt::NoModifier, viewportPoint(page, area.center()));
    EXPECT_EQ(pdfView()->selectedText(), word);
    pdfView()->setFocus();
    QTest::keyClick(pdfView(), Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), word);
    editor->splitViewWithController(shownPane);
    PLSplitViewContentViewController *textPane = editor->splitViewContentControllerAtIndex(1);
    const QString text = document->mainFile()->contentBuffer()->string();
    const qsizetype lineStart = text.indexOf(QStringLiteral("\\pdfpageattr{/Rotate %1}").arg(page * 90));
    ASSERT_GE(lineStart, 0);
    editor->syncPDFToLocationInFile(document->mainFile(), lineStart);
    ASSERT_EQ(pdfView()->highlightedPage(), page);
    const QRectF line = pdfView()->highlightedArea();
    EXPECT_TRUE(line.intersects(area));
    EXPECT_TRUE(inkUnder(page, line));
    textPane->textContentView()->setSelectedRange(PLRange{0, 0});
    QTest::mouseClick(pdfView()->viewport(), Qt::LeftButton, Qt::ControlModifier, viewportPoint(page, area.center()));
    EXPECT_EQ(textPane->textContentView()->selectedRange().location, lineStart);
}

INSTANTIATE_TEST_SUITE_P(Turns, PDFPaneTurnedPages,
                         ::testing::Values(std::pair{0, "Zero"}, std::pair{1, "Ninety"}, std::pair{2, "Upside"},
                                           std::pair{3, "Three"}));

// Without a text layer find, selection and copy find nothing, a double click asks only for the
// source of its point (a plain click not even that), and nothing is highlighted.
TEST_F(PDFPaneOddDocuments, APageWithoutTextFindsAndSelectsNothing)
{
    openTypeset(QStringLiteral("drawing"));
    WAIT_UNTIL(pdfView()->isPageRendered(0));
    EXPECT_TRUE(showsInk());
    EXPECT_FALSE(pdfView()->findString(QStringLiteral("rule"), true));
    shownPane->findAndHighlightString(QStringLiteral("rule"), 0);
    EXPECT_EQ(pdfView()->highlightedPage(), -1);
    QSignalSpy requested(pdfView(), &PLPDFView::syncRequested);
    const QPoint onTheRule = pdfView()->pageRect(0).topLeft() - pdfView()->scrollOrigin() + QPoint(200, 150);
    QTest::mouseClick(pdfView()->viewport(), Qt::LeftButton, Qt::NoModifier, onTheRule);
    EXPECT_EQ(requested.count(), 0);
    QTest::mouseDClick(pdfView()->viewport(), Qt::LeftButton, Qt::NoModifier, onTheRule);
    EXPECT_EQ(requested.count(), 1);
    EXPECT_TRUE(pdfView()->selectedText().isEmpty());
    QGuiApplication::clipboard()->setText(QStringLiteral("kept"));
    pdfView()->copy();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("kept"));
}

}
