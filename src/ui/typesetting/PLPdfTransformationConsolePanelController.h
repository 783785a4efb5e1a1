#pragma once

#include "ui/window/XSWindowController.h"

#include <QString>
#include <QTimer>

class QLabel;
class QPlainTextEdit;

// The console of a project window: the raw output of the engine and BibTeX of the last job, as it
// arrives. Output is gathered and written in batches, so a flooding engine cannot keep the main
// thread busy, and only the newest output is kept, so it cannot eat the memory either.
class PLPdfTransformationConsolePanelController : public XSWindowController
{
    Q_OBJECT

public:
    // The most characters kept; older output is dropped, and the console says so.
    static constexpr qsizetype kMaximumCharacters = 4 * 1024 * 1024;

    explicit PLPdfTransformationConsolePanelController(QObject *parent = nullptr);
    ~PLPdfTransformationConsolePanelController() override;

    QPlainTextEdit *console();
    QLabel *droppedOutputLabel();
    void clearConsole();
    // Main thread only; the text shows with the next batch.
    void appendStringToConsole(const QString &string);
    // Writes what is waiting now rather than with the next batch.
    void flush();
    bool hasPendingOutput() const { return !m_pending.isEmpty(); }

protected:
    QWidget *loadWindow() override;

private:
    QPlainTextEdit *m_console = nullptr;
    QLabel *m_droppedOutputLabel = nullptr;
    QString m_pending;
    QTimer m_batchTimer;
};
