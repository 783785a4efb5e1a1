#include "ui/typesetting/PLTypesetterProgressViewController.h"

#include "core/foundation/PLDictionaryKeys.h"
#include "core/document/PLDocument.h"
#include "core/project/PLFile.h"
#include "core/typesetting/PLLatexTransformer.h"
#include "core/typesetting/PLLogStringParser.h"
#include "core/foundation/PLLogging.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "ui/typesetting/PLPdfTransformationConsolePanelController.h"
#include "core/typesetting/PLTypesettingSummary.h"
#include "ui/window/XSWindowController.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QThread>

PLTypesetterProgressViewController::PLTypesetterProgressViewController(PLDocument *document, XSWindowController *windowController,
                                                                       QObject *parent)
    : XSViewController(QStringLiteral("PLPdfTransformationView"), windowController, parent), m_document(document),
      m_console(new PLPdfTransformationConsolePanelController(this))
{
}

PLTypesetterProgressViewController::~PLTypesetterProgressViewController()
{
    removeObservations();
}

QWidget *PLTypesetterProgressViewController::loadView()
{
    auto *view = new QFrame;
    view->setObjectName(QStringLiteral("PLPdfTransformationView"));
    view->setFrameShape(QFrame::StyledPanel);
    view->setAutoFillBackground(true);
    view->setBackgroundRole(QPalette::AlternateBase);
    auto *layout = new QHBoxLayout(view);
    layout->setContentsMargins(10, 3, 15, 3);
    layout->setSpacing(10);

    m_engineLabel = new QLabel(view);
    m_engineLabel->setObjectName(QStringLiteral("transformationEngineLabel"));
    QFont bold = m_engineLabel->font();
    bold.setBold(true);
    m_engineLabel->setFont(bold);
    layout->addWidget(m_engineLabel);

    m_progressIndicator = new QProgressBar(view);
    m_progressIndicator->setObjectName(QStringLiteral("transformationProgressIndicator"));
    m_progressIndicator->setTextVisible(false);
    m_progressIndicator->setFixedWidth(160);
    layout->addWidget(m_progressIndicator);

    m_fileLabel = new QLabel(view);
    m_fileLabel->setObjectName(QStringLiteral("transformationFileLabel"));
    m_fileLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(m_fileLabel, 1);

    m_errorWarningCountButton = new QPushButton(view);
    m_errorWarningCountButton->setObjectName(QStringLiteral("errorWarningCountButton"));
    m_errorWarningCountButton->setToolTip(tr("Show the errors and warnings"));
    m_errorWarningCountButton->hide();
    connect(m_errorWarningCountButton, &QPushButton::clicked, this, [this] { emit didRequestDisplayOfErrorOutline(this); });
    layout->addWidget(m_errorWarningCountButton);
    return view;
}

bool PLTypesetterProgressViewController::isTransforming() const
{
    return m_transformer && m_transformer->isTransforming();
}

void PLTypesetterProgressViewController::transformToPDF()
{
    QWidget *strip = view();
    m_progressIndicator->show();
    m_engineLabel->show();
    m_errorWarningCountButton->hide();
    if (strip->isHidden() || !strip->parentWidget())
        emit shouldAppear(this);
    PLNotificationCenter::defaultCenter().post(PLNotificationPdfTransformationWillStart, this,
                                               {{PLDictionaryKeyDocument, QVariant::fromValue(static_cast<QObject *>(m_document))}});

    const std::shared_ptr<PLFile> mainFile = m_document->mainFile();
    if (!mainFile || mainFile->isUntitled()) {
        qCInfo(lcTypesetting) << "this is an untitled file - display save dialog";
        return;
    }
    if (isTransforming())
        return;

    m_console->clearConsole();
    m_fileLabel->clear();
    m_engineLabel->clear();
    // Items name files by path relative to the main file's folder: a save-as that moved the main
    // file needs a reader rooted at the new place.
    if (!m_logStringParser || m_logStringParser->documentRoot() != mainFile)
        m_logStringParser = std::make_shared<PLLogStringParser>(mainFile);
    if (m_transformer)
        m_transformer->setDelegate(nullptr);
    m_transformer = PLLatexTransformer::create(m_logStringParser);
    m_transformer->setDelegate(this);
    m_engineMissing = false;
    m_progressValue = 0;
    m_progressMaximum = int(m_document->filesInDocument().size());
    m_progressIndicator->setRange(0, m_progressMaximum);
    m_progressIndicator->setValue(0);
    m_fileLabel->show();
    m_transformer->transformLatexFile(mainFile);
}

void PLTypesetterProgressViewController::displayTransformationConsole()
{
    m_console->showWindow();
}

void PLTypesetterProgressViewController::stopTransformation()
{
    if (isTransforming())
        m_transformer->stop();
}

void PLTypesetterProgressViewController::removeObservations()
{
    // The window is closing: the job must not outlive it, nor call back into it.
    if (m_transformer) {
        m_transformer->setDelegate(nullptr);
        m_transformer->stop();
    }
    XSViewController::removeObservations();
}

void PLTypesetterProgressViewController::latexTransformerDidChooseEngine(int engine)
{
    QMetaObject::invokeMethod(this, [this, engine] { showEngine(engine); }, Qt::QueuedConnection);
}

void PLTypesetterProgressViewController::showEngine(int engine)
{
    if (!isViewLoaded())
        return;
    m_engineLabel->setText(PLTypesettingSummary::latexEngineAsString(engine));
    m_engineLabel->show();
}

void PLTypesetterProgressViewController::latexTransformerDidStartWorkingOnFileWithName(const QString &fileName)
{
    Q_ASSERT(QThread::currentThread() == thread());
    // A file the log names again counts again: the value may pass the maximum, and the bar then
    // simply stays full.
    ++m_progressValue;
    m_progressIndicator->setValue(qMin(m_progressValue, m_progressMaximum));
    m_fileLabel->setText(fileName);
}

void PLTypesetterProgressViewController::latexTransformerDidOutputString(const QString &output)
{
    QMetaObject::invokeMethod(this, [this, output] { m_console->appendStringToConsole(output); }, Qt::QueuedConnection);
}

void PLTypesetterProgressViewController::latexTransformerCouldNotFindEngine(int engine, const QString &launchPath)
{
    QMetaObject::invokeMethod(
        this,
        [this, engine, launchPath] {
            m_engineMissing = true;
            showCouldNotFindEngineAlert(engine, launchPath);
        },
        Qt::QueuedConnection);
}

void PLTypesetterProgressViewController::showCouldNotFindEngineAlert(int engine, const QString &launchPath)
{
    // Window-modal and not waited for: the job's end still arrives and is shown behind it.
    auto *alert = new QMessageBox(QMessageBox::Warning, QApplication::applicationDisplayName(),
                                  PLTypesettingSummary::couldNotLocateEngineMessage(engine, launchPath), QMessageBox::Close,
                                  view()->window());
    alert->setObjectName(QStringLiteral("PLCouldNotLocateEngineAlert"));
    alert->setInformativeText(PLTypesettingSummary::couldNotLocateEngineInformativeText());
    alert->setWindowModality(Qt::WindowModal);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->open();
}

void PLTypesetterProgressViewController::latexTransformerDidFinish(PLLatexTransformer *transformer)
{
    Q_ASSERT(QThread::currentThread() == thread());
    if (transformer != m_transformer.get())
        return;
    showSummary();
    PLNotificationCenter::defaultCenter().post(PLNotificationPdfTransformationDidFinish, this,
                                               {{PLDictionaryKeyDocument, QVariant::fromValue(static_cast<QObject *>(m_document))}});
}

void PLTypesetterProgressViewController::showSummary()
{
    const qsizetype errorCount = m_logStringParser->errorsFound().size();
    const qsizetype warningCount = m_logStringParser->warningsFound().size();
    QString outcome;
    if (m_transformer->isStopped())
        outcome = tr("Typesetting stopped");
    else if (errorCount > 0 && !m_transformer->wasPdfWritten())
        outcome = tr("No PDF was written");
    else if (errorCount == 0 && !m_engineMissing)
        // With errors found, a failed run is what they explain; without, it must not pass for a
        // clean job. A missing engine has its alert.
        outcome = m_transformer->engineFailure();

    if (errorCount == 0 && warningCount == 0 && outcome.isEmpty()) {
        emit didFinishTransformation(this);
        emit shouldDisappear(this);
        return;
    }
    m_progressIndicator->hide();
    m_engineLabel->hide();
    m_fileLabel->setText(outcome);
    const QString summary = PLTypesettingSummary::summaryText(errorCount, warningCount);
    m_errorWarningCountButton->setText(summary);
    m_errorWarningCountButton->setVisible(!summary.isEmpty());
    emit didFinishTransformation(this);
}
