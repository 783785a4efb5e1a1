#include "ui/app/PLApplication.h"
#include "core/foundation/PLError.h"

#include <QEvent>

#include <gtest/gtest.h>

namespace {

class Throwing : public QObject
{
public:
    bool event(QEvent *event) override
    {
        if (event->type() == QEvent::User)
            throw PLException(QStringLiteral("IndexOutOfBoundsException"), QStringLiteral("from a handler"));
        return QObject::event(event);
    }
};

// An exception thrown while handling an event used to cross Qt's event loop and abort.
TEST(PLApplication, AnExceptionFromAnEventHandlerIsLoggedAndTheEventLoopGoesOn)
{
    ASSERT_NE(qobject_cast<PLApplication *>(QCoreApplication::instance()), nullptr);
    Throwing receiver;
    QEvent sent(QEvent::User);
    EXPECT_FALSE(QCoreApplication::sendEvent(&receiver, &sent));
    QCoreApplication::postEvent(&receiver, new QEvent(QEvent::User));
    QCoreApplication::sendPostedEvents(&receiver, QEvent::User);
    QEvent after(QEvent::None);
    EXPECT_FALSE(QCoreApplication::sendEvent(&receiver, &after));
}

}
