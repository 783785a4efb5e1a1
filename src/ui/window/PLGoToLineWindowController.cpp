#include "ui/window/PLGoToLineWindowController.h"

#include "core/foundation/PLStringLineCalculations.h"
#include "core/editor/PLTextContentBuffer.h"
#include "ui/editor/PLTextView.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>

#include <limits>

PLGoToLineWindowController::PLGoToLineWindowController(QObject *parent)
    : XSWindowController(QStringLiteral("PLGoToLineWindow"), parent)
{
}

PLGoToLineWindowController::~PLGoToLineWindowController()
{
    if (isWindowLoaded())
        delete window();
}

PLTextView *PLGoToLineWindowController::textView() const
{
    return m_textView;
}

void PLGoToLineWindowController::setTextView(PLTextView *textView)
{
    m_textView = textView;
}

QWidget *PLGoToLineWindowController::loadWindow()
{
    auto *dialog = new QDialog;
    dialog->setObjectName(windowNibName());
    dialog->setWindowTitle(tr("Go to Line"));
    auto *layout = new QFormLayout(dialog);
    m_lineNumberTextField = new QLineEdit(dialog);
    m_lineNumberTextField->setObjectName(QStringLiteral("lineNumberTextField"));
    layout->addRow(tr("Line:"), m_lineNumberTextField);
    auto *buttons = new QDialogButtonBox(dialog);
    QPushButton *go = buttons->addButton(tr("Go"), QDialogButtonBox::AcceptRole);
    go->setDefault(true);
    buttons->addButton(QDialogButtonBox::Cancel);
    layout->addRow(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &PLGoToLineWindowController::goToLine);
    connect(buttons, &QDialogButtonBox::rejected, this, &PLGoToLineWindowController::close);
    return dialog;
}

QLineEdit *PLGoToLineWindowController::lineNumberTextField()
{
    window();
    return m_lineNumberTextField;
}

void PLGoToLineWindowController::showWindow()
{
    QWidget *shown = window();
    shown->adjustSize();
    if (const QScreen *screen = shown->screen())
        shown->move(screen->availableGeometry().center() - shown->rect().center());
    XSWindowController::showWindow();
    m_lineNumberTextField->selectAll();
    m_lineNumberTextField->setFocus();
}

void PLGoToLineWindowController::goToLine()
{
    const int lineNumber = lineNumberFromString(lineNumberTextField()->text());
    close();
    if (!m_textView)
        return;
    const qsizetype location = PLStringLineCalculations::locationOfLineStart(m_textView->contentBuffer()->string(), lineNumber);
    // The keys go back to the editor, whose history keeps the place left and the line reached.
    m_textView->activateWindow();
    m_textView->setFocus();
    m_textView->jumpToRange(PLRange{location, 0});
}

void PLGoToLineWindowController::close()
{
    if (isWindowLoaded())
        window()->hide();
}

int PLGoToLineWindowController::lineNumberFromString(const QString &string)
{
    qsizetype index = 0;
    while (index < string.size() && string.at(index).isSpace())
        ++index;
    bool negative = false;
    if (index < string.size() && (string.at(index) == u'-' || string.at(index) == u'+')) {
        negative = string.at(index) == u'-';
        ++index;
    }
    qint64 value = 0;
    for (; index < string.size() && string.at(index) >= u'0' && string.at(index) <= u'9'; ++index) {
        value = value * 10 + (string.at(index).unicode() - u'0');
        // Past the range of a line number the reading stops at the largest one.
        if (value > std::numeric_limits<int>::max())
            return negative ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
    }
    return int(negative ? -value : value);
}
