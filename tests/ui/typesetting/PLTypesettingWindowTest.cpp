#include "../../core/typesetting/PLTypesettingTestSupport.h"
#include "core/typesetting/PLLatexTransformer.h"
#include "core/typesetting/PLLogItem.h"
#include "ui/typesetting/PLPdfPrinter.h"
#include "ui/typesetting/PLPdfTransformationConsolePanelController.h"
#include "ui/window/PLTitleBarButton.h"
#include "ui/window/PLTypesettingLogParserResultsTableViewController.h"
#include "ui/typesetting/PLTypesetterProgressViewController.h"
#include "PLUiTestSupport.h"

#include <QAction>
#include <QFile>
#include <QLabel>
#include <QProgressBar>
#include <QPdfDocument>
#include <QPlainTextEdit>
#include <QPrinter>
#include <QPushButton>
#include <QScrollBar>
#include <QSplitter>
#include <QTreeWidget>

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

// A fixture, the summary and what the strip says beside it; a PDF is written when it says nothing.
using TypesettingOutcome = PLTest::WithParam<TypesettingWindow, std::tuple<const char *, const char *, const char *>>;

// The strip goes away after a clean job and otherwise keeps the summary until the next job.
TEST_P(TypesettingOutcome, TheStripShowsWhatTheJobFound)
{
    const auto [fixture, expectedSummary, outcome] = GetParam();
    const bool stripStays = *expectedSummary;
    open(QString::fromLatin1(fixture));
    EXPECT_FALSE(stripShown());
    // The pane's title-bar button is the mouse's way to typeset.
    editor->selectedSplitViewController()->titleBarButtonTypeset()->click();
    EXPECT_TRUE(stripShown());
    EXPECT_EQ(started, 1);
    ASSERT_TRUE(waitForFinish());
    QCoreApplication::processEvents();
    EXPECT_EQ(stripShown(), stripStays);
    EXPECT_EQ(summary(), QString::fromLatin1(expectedSummary));
    if (stripStays) {
        EXPECT_EQ(progress->transformationFileLabel()->text(), QString::fromLatin1(outcome));
    }
    EXPECT_EQ(QFile::exists(project.path(QStringLiteral("main.pdf"))), !*outcome);
    EXPECT_EQ(progress->progressMaximum(), document->filesInDocument().size());
    EXPECT_GE(progress->progressValue(), 1);
}

INSTANTIATE_TEST_SUITE_P(Fixtures, TypesettingOutcome,
                         // The engine ends with status 1 after errors: the errors say enough, the status would only
                         // repeat them. The error list's test has the subfolder project's summary.
                         ::testing::Values(std::tuple{"clean", "", ""},
                                           std::tuple{"missing-input", "2 errors found", "No PDF was written"}));

// An engine in an endless loop is ended from the menu, and the strip says so. Regression guard: a
// second Ctrl+T during the job must not start a second engine, yet it still announces a start; the
// menu offers Stop instead of Typeset while the job runs.
TEST_F(TypesettingWindow, StopEndsALoopingDocumentAndASecondRequestStartsNoSecondEngine)
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
}

TEST_F(TypesettingWindow, ClosingTheWindowStopsTheJob)
{
    ASSERT_NO_FATAL_FAILURE(startLoopingJob());
    const std::shared_ptr<PLFile> mainFile = document->mainFile();
    ASSERT_TRUE(windowController->close());
    // The log appears once the engine has been ended and the job is over.
    EXPECT_TRUE(QTest::qWaitFor([&] { return QFile::exists(project.path(QStringLiteral("main.log"))); }, kJobTimeout));
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
    ASSERT_TRUE(QTest::qWaitFor([&] { return (alert = window->findChild<QMessageBox *>(QStringLiteral("PLCouldNotLocateEngineAlert"))); }, kJobTimeout));
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
// of the last job until the next one starts.
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
    EXPECT_EQ(summary(), QString());
    EXPECT_TRUE(list->adviceTextField()->isHidden());
    EXPECT_TRUE(output().contains(QStringLiteral("Output written on main.pdf")));
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

// Printing before typesetting says there is no PDF; the typeset PDF goes to the printer page by
// page, within the chosen range.
TEST_F(TypesettingWindow, PrintsThePagesOfTheTypesetPdf)
{
    open(QStringLiteral("clean"), QStringLiteral("\\documentclass{article}\\begin{document}One\\newpage Two\\newpage "
                                                 "\\pdfpagewidth=11in \\pdfpageheight=8.5in Three\\end{document}\n"));
    QString text;
    PLTest::answerNextMessageBox(QMessageBox::Ok, &text);
    menuItem(PLAction::PrintDocument)->trigger();
    EXPECT_EQ(text, QStringLiteral("PDF file not found"));
    typeset();
    ASSERT_TRUE(waitForFinish());
    QPdfDocument pdf;
    pdf.load(document->mainFile()->pdfPath());
    ASSERT_EQ(pdf.pageCount(), 3);
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
    EXPECT_EQ(printedPages(0, 0), 3);
    EXPECT_EQ(printedPages(2, 3), 2);
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
    EXPECT_EQ(list->itemAtIndex(0)->type(), PLLogItem::Error);
    EXPECT_EQ(table->topLevelItem(0)->text(1), QStringLiteral("one.tex"));
    EXPECT_EQ(table->topLevelItem(0)->text(2), QStringLiteral("4"));
    for (int row = 1; row < 5; ++row)
        EXPECT_EQ(list->itemAtIndex(row)->type(), PLLogItem::Warning) << row;
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

}
