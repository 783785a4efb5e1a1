#pragma once

#include <QApplication>

// The application object. An exception that escapes an event handler is logged and the event
// counts as unhandled: one faulty handler must not take the user's unsaved text down with it.
class PLApplication : public QApplication
{
    Q_OBJECT

public:
    PLApplication(int &argc, char **argv);

    bool notify(QObject *receiver, QEvent *event) override;
};
