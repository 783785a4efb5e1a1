#include "ui/app/PLApplication.h"

#include "core/foundation/PLLogging.h"

#include <exception>

PLApplication::PLApplication(int &argc, char **argv) : QApplication(argc, argv)
{
}

bool PLApplication::notify(QObject *receiver, QEvent *event)
{
    try {
        return QApplication::notify(receiver, event);
    } catch (const std::exception &exception) {
        qCCritical(lcUi).noquote() << "An exception escaped the handling of event" << event->type() << "by"
                                   << receiver->metaObject()->className() << ":" << QString::fromUtf8(exception.what());
    } catch (...) {
        qCCritical(lcUi) << "An unknown exception escaped the handling of event" << event->type() << "by"
                         << receiver->metaObject()->className();
    }
    return false;
}
