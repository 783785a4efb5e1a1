#pragma once

#include <functional>

// Hand-overs between the main thread and worker threads. Work goes to the global thread pool and
// calls come back to the main thread, each through a lock of our own rather than through the Qt
// libraries' locks alone: those libraries are not built with ThreadSanitizer, which cannot see
// their locks, so a hand-over resting on them alone looks like a race and would bury real ones.
namespace PLThreadHandOff {

// Runs the work on a thread of the global pool. The work holds plain data only: copies, or
// shared data that no thread changes while it runs.
void runOnWorker(std::function<void()> work);

// Queues the call to the main thread, after the calls queued before it. The call and what it
// holds are destroyed on the main thread, so it may carry the last reference to main-thread data.
void runOnMainThread(std::function<void()> call);

bool isMainThread();

}
