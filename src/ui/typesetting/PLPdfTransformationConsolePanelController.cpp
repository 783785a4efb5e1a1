#include "ui/typesetting/PLPdfTransformationConsolePanelController.h"

#include <QFontDatabase>
#include <QLabel>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextCursor>
#include <QVBoxLayout>

namespace {
// Often enough to look live, rarely enough that layout stays cheap under a flood.
constexpr int kBatchInterval = 50;
}

PLPdfTransformationConsolePanelController::PLPdfTransformationConsolePanelController(QObject *parent)
    : XSWindowController(QStringLiteral("PLPdfTransformationConsolePanel"), parent)
{
    m_batchTimer.setSingleShot(true);
    m_batchTimer.setInterval(kBatchInterval);
    connect(&m_batchTimer, &QTimer::timeout, this, &PLPdfTransformationConsolePanelController::flush);
}

PLPdfTransformationConsolePanelController::~PLPdfTransformationConsolePanelController() = default;

QWidget *PLPdfTransformationConsolePanelController::loadWindow()
{
    auto *panel = new QWidget(nullptr, Qt::Window);
    panel->setObjectName(windowNibName());
    panel->setWindowTitle(tr("Console"));
    panel->resize(640, 420);
    auto *layout = new QVBoxLayout(panel);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_droppedOutputLabel = new QLabel(tr("Older output was dropped; the newest is shown."), panel);
    m_droppedOutputLabel->setContentsMargins(8, 4, 8, 4);
    m_droppedOutputLabel->hide();
    layout->addWidget(m_droppedOutputLabel);
    m_console = new QPlainTextEdit(panel);
    m_console->setObjectName(QStringLiteral("console"));
    m_console->setReadOnly(true);
    m_console->setUndoRedoEnabled(false);
    m_console->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_console->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_console->setFrameShape(QFrame::NoFrame);
    layout->addWidget(m_console, 1);
    return panel;
}

QPlainTextEdit *PLPdfTransformationConsolePanelController::console()
{
    window();
    return m_console;
}

QLabel *PLPdfTransformationConsolePanelController::droppedOutputLabel()
{
    window();
    return m_droppedOutputLabel;
}

void PLPdfTransformationConsolePanelController::clearConsole()
{
    m_batchTimer.stop();
    m_pending.clear();
    console()->clear();
    m_droppedOutputLabel->hide();
}

void PLPdfTransformationConsolePanelController::appendStringToConsole(const QString &string)
{
    if (string.isEmpty())
        return;
    m_pending += string;
    if (m_pending.size() > kMaximumCharacters) {
        m_pending.remove(0, m_pending.size() - kMaximumCharacters);
        console()->clear();
        m_droppedOutputLabel->show();
    }
    if (!m_batchTimer.isActive())
        m_batchTimer.start();
}

void PLPdfTransformationConsolePanelController::flush()
{
    m_batchTimer.stop();
    if (m_pending.isEmpty())
        return;
    QPlainTextEdit *text = console();
    QScrollBar *scrollBar = text->verticalScrollBar();
    // Follow the end only while the user has not scrolled up to read.
    const bool following = scrollBar->value() == scrollBar->maximum();
    QTextDocument *document = text->document();
    const qsizetype excess = document->characterCount() + m_pending.size() - kMaximumCharacters;
    if (excess > 0) {
        // A quarter more than needed, so a steady flood does not cut the start at every batch.
        QTextCursor cut(document);
        cut.setPosition(int(qMin<qsizetype>(excess + kMaximumCharacters / 4, document->characterCount() - 1)), QTextCursor::KeepAnchor);
        cut.removeSelectedText();
        m_droppedOutputLabel->show();
    }
    QTextCursor end(document);
    end.movePosition(QTextCursor::End);
    end.insertText(m_pending);
    m_pending.clear();
    if (following)
        scrollBar->setValue(scrollBar->maximum());
}
