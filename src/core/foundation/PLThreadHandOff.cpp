#include "core/foundation/PLThreadHandOff.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThread>
#include <QThreadPool>

#include <deque>
#include <mutex>

namespace {

// Ordered after everything a caller wrote before handing work over, and before the work reads it.
std::mutex workHandOff;

// Carries calls to the main thread: the calls wait in a queue under a mutex of our own, and the
// event that wakes the main thread carries nothing.
class MainThreadRelay : public QObject
{
public:
    static MainThreadRelay &instance()
    {
        // Never destroyed: workers may still hand calls over while the application ends.
        static auto *relay = [] {
            auto *made = new MainThreadRelay;
            made->moveToThread(QCoreApplication::instance()->thread());
            return made;
        }();
        return *relay;
    }

    void post(std::function<void()> call)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_calls.push_back(std::move(call));
        }
        QCoreApplication::postEvent(this, new QEvent(QEvent::User));
    }

protected:
    bool event(QEvent *event) override
    {
        if (event->type() != QEvent::User)
            return QObject::event(event);
        Q_ASSERT(PLThreadHandOff::isMainThread());
        std::deque<std::function<void()>> calls;
        {
            const std::lock_guard lock(m_mutex);
            calls.swap(m_calls);
        }
        for (std::function<void()> &call : calls) {
            call();
            call = nullptr;
        }
        return true;
    }

private:
    std::mutex m_mutex;
    std::deque<std::function<void()>> m_calls;
};

}

namespace PLThreadHandOff {

void runOnWorker(std::function<void()> work)
{
    std::function<void()> task = [work = std::move(work)] {
        { const std::lock_guard lock(workHandOff); }
        work();
    };
    { const std::lock_guard lock(workHandOff); }
    QThreadPool::globalInstance()->start(std::move(task));
}

void runOnMainThread(std::function<void()> call)
{
    MainThreadRelay::instance().post(std::move(call));
}

bool isMainThread()
{
    const QCoreApplication *application = QCoreApplication::instance();
    return application && QThread::currentThread() == application->thread();
}

}
