#pragma once

#include "ui/window/XSWindowController.h"

#include <QPointer>

class PLTextView;
class QLineEdit;

// The small window that takes a line number and puts the caret of an editor at the start of that
// line. Its owner gives it the text view to act on before showing it.
class PLGoToLineWindowController : public XSWindowController
{
    Q_OBJECT

public:
    explicit PLGoToLineWindowController(QObject *parent = nullptr);
    ~PLGoToLineWindowController() override;

    PLTextView *textView() const;
    void setTextView(PLTextView *textView);
    QLineEdit *lineNumberTextField();

    // Centred on the screen, in front, with the keyboard focus in the number field.
    void showWindow();
    // Puts the caret at the start of the typed line, scrolls it into view and closes the window.
    void goToLine();
    void close();

    // Reads a number the lenient way: blanks, a sign and the leading digits; no digits read as 0.
    static int lineNumberFromString(const QString &string);

protected:
    QWidget *loadWindow() override;

private:
    QPointer<PLTextView> m_textView;
    QLineEdit *m_lineNumberTextField = nullptr;
};
