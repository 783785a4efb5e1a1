#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLThreadHandOff.h"

#include <QStringList>
#include <atomic>
#include <thread>
#include <QList>
#include <QTest>
#include <memory>

#include <gtest/gtest.h>

namespace {

struct Sender
{
    int id;
};

// Observers are called in registration order, by name (none: every name) and sender, with the user
// info and the typed sender; removal is by observer, or by name and sender.
TEST(NotificationCenter, DeliversInOrderByNameAndSenderUntilRemoved)
{
    PLNotificationCenter center;
    Sender one{1}, two{2};
    QStringList calls;
    int a = 0, b = 0, c = 0;
    center.addObserver(&a, QStringLiteral("N"), nullptr, [&](const PLNotification &n) {
        calls << QStringLiteral("a:") + n.userInfo().value(QStringLiteral("k")).toString();
    });
    center.addObserver(&b, QString(), nullptr, [&](const PLNotification &n) { calls << QStringLiteral("b:") + n.name(); });
    center.addObserver(&c, QStringLiteral("N"), &one, [&](const PLNotification &n) {
        ASSERT_NE(n.objectAs<Sender>(), nullptr);
        EXPECT_EQ(n.objectAs<int>(), nullptr);
        calls << QStringLiteral("c:%1").arg(n.objectAs<Sender>()->id);
    });
    center.addObserver(&c, QStringLiteral("Other"), nullptr, [&](const PLNotification &) { calls << QStringLiteral("c-other"); });

    center.post<Sender>(QStringLiteral("N"), &two, {{QStringLiteral("k"), QStringLiteral("v")}});
    center.post(QStringLiteral("N"), &one);
    EXPECT_EQ(calls, (QStringList{QStringLiteral("a:v"), QStringLiteral("b:N"), QStringLiteral("a:"), QStringLiteral("b:N"),
                                  QStringLiteral("c:1")}));
    calls.clear();
    center.removeObserver(&c, QStringLiteral("N"), &one);
    center.removeObserver(&a);
    center.post(QStringLiteral("N"), &one);
    center.post(QStringLiteral("Other"));
    EXPECT_EQ(calls, (QStringList{QStringLiteral("b:N"), QStringLiteral("b:Other"), QStringLiteral("c-other")}));
    EXPECT_EQ(center.observerCount(), 2);
}

// During a delivery, a removed observer is not called afterwards, a new one waits for the next
// post, and a nested post is delivered at once.
TEST(NotificationCenter, ChangesAndPostsMadeDuringADeliveryAreSafe)
{
    PLNotificationCenter center;
    int first = 0, second = 0, third = 0;
    QStringList calls;
    center.addObserver(&first, QStringLiteral("N"), nullptr, [&](const PLNotification &) {
        calls << QStringLiteral("first");
        center.removeObserver(&second);
        center.addObserver(&third, QStringLiteral("N"), nullptr, [&](const PLNotification &) { calls << QStringLiteral("third"); });
        center.post(QStringLiteral("Inner"));
        calls << QStringLiteral("first-end");
    });
    center.addObserver(&second, QStringLiteral("N"), nullptr, [&](const PLNotification &) { calls << QStringLiteral("second"); });
    center.addObserver(&second, QStringLiteral("Inner"), nullptr, [&](const PLNotification &) { calls << QStringLiteral("inner"); });
    center.addObserver(&first, QStringLiteral("Inner"), nullptr, [&](const PLNotification &) { calls << QStringLiteral("inner"); });
    center.post(QStringLiteral("N"));
    EXPECT_EQ(calls, (QStringList{QStringLiteral("first"), QStringLiteral("inner"), QStringLiteral("first-end")}));
}

TEST(NotificationCenter, PostingFromAnotherThreadWhileTheRegistryChangesIsSafe)
{
    PLNotificationCenter center;
    std::atomic<int> delivered{0};
    std::atomic<bool> stop{false};
    int anchor = 0;
    center.addObserver(&anchor, QStringLiteral("N"), nullptr, [&](const PLNotification &) { ++delivered; });
    std::thread poster([&] {
        while (!stop)
            center.post(QStringLiteral("N"));
    });
    for (int i = 0; i < 2000; ++i) {
        int transient = 0;
        center.addObserver(&transient, QStringLiteral("N"), nullptr, [](const PLNotification &) {});
        center.removeObserver(&transient);
    }
    // On a busy machine the poster may not have run yet: let it deliver at least once.
    while (delivered.load() == 0)
        std::this_thread::yield();
    stop = true;
    poster.join();
    EXPECT_GT(delivered.load(), 0);
    EXPECT_EQ(center.observerCount(), 1);
}

// Records on which thread the last holder let go of it.
struct DiesOnMainThread
{
    std::atomic<int> *deathsOffMain;
    ~DiesOnMainThread()
    {
        if (!PLThreadHandOff::isMainThread())
            ++*deathsOffMain;
    }
};

TEST(ThreadHandOff, WorkRunsOffTheMainThreadAndItsCallsComeBackInOrderToDieThere)
{
    constexpr int kWorks = 8;
    std::atomic<int> worksOnMain{0};
    std::atomic<int> deathsOffMain{0};
    // Written before the hand-over and only read after it, by the worker and then by the calls.
    QList<int> inputs;
    for (int work = 0; work < kWorks; ++work)
        inputs.append(work * 10);
    QList<int> arrived;
    for (int work = 0; work < kWorks; ++work) {
        PLThreadHandOff::runOnWorker([&, work] {
            if (PLThreadHandOff::isMainThread())
                ++worksOnMain;
            auto holder = std::make_shared<DiesOnMainThread>(&deathsOffMain);
            const int value = inputs.at(work);
            PLThreadHandOff::runOnMainThread([&arrived, holder, value] { arrived.append(value); });
            PLThreadHandOff::runOnMainThread([&arrived, holder = std::move(holder), value] { arrived.append(value + 1); });
        });
    }
    ASSERT_TRUE(QTest::qWaitFor([&] { return arrived.size() == 2 * kWorks; }));
    EXPECT_EQ(worksOnMain, 0);
    EXPECT_EQ(deathsOffMain, 0);
    for (int work = 0; work < kWorks; ++work) {
        const qsizetype first = arrived.indexOf(work * 10);
        ASSERT_GE(first, 0) << work;
        EXPECT_GT(arrived.indexOf(work * 10 + 1), first) << work;
    }
}

}
