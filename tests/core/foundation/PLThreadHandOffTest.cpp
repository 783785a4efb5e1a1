#include "core/foundation/PLThreadHandOff.h"

#include <QList>
#include <QTest>

#include <atomic>
#include <memory>

#include <gtest/gtest.h>

namespace {

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
