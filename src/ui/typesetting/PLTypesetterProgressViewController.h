#pragma once

#include "core/typesetting/PLLatexTransformerDelegate.h"
#include "ui/window/XSViewController.h"

#include <QPointer>

#include <memory>

class PLDocument;
class PLLatexTransformer;
class PLLogStringParser;
class PLPdfTransformationConsolePanelController;
class QLabel;
class QProgressBar;
class QPushButton;

// The typesetting job of one project window and the strip that shows it above the editor: the
// engine, the file being worked on and a progress bar while the job runs; afterwards, when the
// job found errors or warnings, failed or was stopped, a summary that stays until the next job.
// The job runs on a thread of its own; this controller only hears of it on the main thread.
class PLTypesetterProgressViewController : public XSViewController, public PLLatexTransformerDelegate
{
    Q_OBJECT

public:
    PLTypesetterProgressViewController(PLDocument *document, XSWindowController *windowController, QObject *parent = nullptr);
    ~PLTypesetterProgressViewController() override;

    // Starts a job on the main file as it is on disk, unless one is running: a second request
    // still announces a start and shows the strip, but starts no second engine.
    void transformToPDF();
    // Ends the running job with every program it started; the job then ends as usual.
    void stopTransformation();
    bool isTransforming() const;
    // The current or last job.
    const std::shared_ptr<PLLatexTransformer> &transformer() const { return m_transformer; }
    // Shows the raw output of the engine and BibTeX.
    void displayTransformationConsole();
    PLPdfTransformationConsolePanelController *transformationConsolePanelController() const { return m_console; }

    // The document's reader of engine output; it holds the errors and warnings of the last job.
    const std::shared_ptr<PLLogStringParser> &logStringParser() const { return m_logStringParser; }

    // The strip's parts, as shown.
    QLabel *transformationEngineLabel() const { return m_engineLabel; }
    QLabel *transformationFileLabel() const { return m_fileLabel; }
    QProgressBar *transformationProgressIndicator() const { return m_progressIndicator; }
    QPushButton *errorWarningCountButton() const { return m_errorWarningCountButton; }
    // The job's progress: files reached, which may pass the number of files of the project.
    int progressValue() const { return m_progressValue; }
    int progressMaximum() const { return m_progressMaximum; }

    void removeObservations() override;

    void latexTransformerDidChooseEngine(int engine) override;
    void latexTransformerDidStartWorkingOnFileWithName(const QString &fileName) override;
    void latexTransformerDidOutputString(const QString &output) override;
    void latexTransformerCouldNotFindEngine(int engine, const QString &launchPath) override;
    void latexTransformerDidFinish(PLLatexTransformer *transformer) override;

signals:
    // What the main area does with the strip and the error list.
    void shouldAppear(PLTypesetterProgressViewController *controller);
    void shouldDisappear(PLTypesetterProgressViewController *controller);
    void didFinishTransformation(PLTypesetterProgressViewController *controller);
    void didRequestDisplayOfErrorOutline(PLTypesetterProgressViewController *controller);

protected:
    QWidget *loadView() override;

private:
    void showEngine(int engine);
    // Shows the outcome of the job that just ended; hides the strip after a clean job.
    void showSummary();
    void showCouldNotFindEngineAlert(int engine, const QString &launchPath);

    PLDocument *m_document;
    PLPdfTransformationConsolePanelController *m_console;
    std::shared_ptr<PLLogStringParser> m_logStringParser;
    std::shared_ptr<PLLatexTransformer> m_transformer;
    bool m_engineMissing = false;
    int m_progressValue = 0;
    int m_progressMaximum = 0;

    QLabel *m_engineLabel = nullptr;
    QLabel *m_fileLabel = nullptr;
    QProgressBar *m_progressIndicator = nullptr;
    QPushButton *m_errorWarningCountButton = nullptr;
};
