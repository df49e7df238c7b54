#include "MCPStdio/concurrency/DispatchQueue.hpp"

#include <chrono>
#include <new>
#include <pthread.h>
#include <thread>
#include <utility>

namespace MCPStdio {
namespace {

using Clock = std::chrono::steady_clock;

/// How long a thread waits for work before it ends.
constexpr auto idleTime = std::chrono::seconds{1};
/// How long a short job may keep others waiting before it counts as blocking.
constexpr auto patience = std::chrono::milliseconds{1};
/// Address space; memory is used only for the pages that are touched.
constexpr std::size_t stackSize = std::size_t{1} << 20U;

} // namespace

/// The queue's record of one thread. Never freed, because a thread may end before the one that has
/// called it gets to wake it. A later thread reuses the record; at worst it wakes once for nothing.
struct DispatchQueue::Worker {
    explicit Worker(DispatchQueue& owner) : queue{owner} {}

    DispatchQueue& queue;
    Condition wake;
    bool asleep = false;     ///< it is in the list of sleepers
    Worker* older = nullptr; ///< fell asleep before this one; among spare ones, the next
    Worker* newer = nullptr; ///< fell asleep after this one
};

void JobList::push(Job& job) noexcept {
    job.next = nullptr;
    (first_ == nullptr ? first_ : last_->next) = &job;
    last_ = &job;
    ++size_;
}

Job& JobList::pop() noexcept {
    Job& job = *first_;
    first_ = job.next;
    --size_;
    return job;
}

DispatchQueue& DispatchQueue::global() {
    static auto* const queue = new DispatchQueue; // never destroyed: idle threads still use it
    return *queue;
}

// Threads are notified after the lock is released; otherwise they would wake only to wait for it.

void DispatchQueue::async(Job& job) {
    Worker* sleeper = nullptr;
    {
        const MutexLock lock{mutex_};
        short_.push(job);
        if (runners_ == 0) {
            ++runners_;
            ++openRunners_;
        } else if (!watched_) {
            watched_ = true;
            ++openWatchers_;
        } else {
            return;
        }
        needThread();
        sleeper = callSleeper();
    }
    wake(sleeper);
}

void DispatchQueue::asyncBlocking(Job& job) {
    Worker* sleeper = nullptr;
    {
        const MutexLock lock{mutex_};
        blocking_.push(job);
        needThread();
        sleeper = callSleeper();
    }
    wake(sleeper);
}

/// Returns whether there is a role that an idle thread could take now.
bool DispatchQueue::hasRole() const {
    return openRunners_ + openWatchers_ > 0 || (!blocking_.empty() && mayBlock());
}

/// Returns whether one more thread may block. The last one is kept for short jobs; otherwise
/// unanswered questions could use up all threads that the system allows.
bool DispatchQueue::mayBlock() const {
    return blocked_ == 0 || threads_ - blocked_ > 1;
}

/// Makes sure that there is a thread for each open role. Called after opening one, before
/// notifying.
void DispatchQueue::needThread() {
    const std::size_t reserve = blocking_.empty() ? 0 : 1;
    const std::size_t needed = openRunners_ + openWatchers_ + blocking_.size() + reserve;
    while (needed > idle_ + starting_) {
        if (!startThread()) {
            if (threads_ > 0) {
                break; // the next thread to finish takes it
            }
            std::this_thread::sleep_for(patience); // there is no thread that could take it later
        }
    }
}

bool DispatchQueue::startThread() {
    Worker* worker = spare_;
    if (worker != nullptr) {
        spare_ = worker->older;
    } else {
        worker = new (std::nothrow) Worker{*this};
        if (worker == nullptr) {
            return false;
        }
    }
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_attr_setstacksize(&attributes, stackSize);
    pthread_t thread{};
    const int error = pthread_create(
        &thread, &attributes,
        [](void* started) -> void* {
            auto& self = *static_cast<Worker*>(started);
            self.queue.work(self);
            return nullptr;
        },
        worker);
    pthread_attr_destroy(&attributes);
    if (error != 0) {
        worker->older = std::exchange(spare_, worker);
        return false;
    }
    ++threads_;
    ++starting_;
    return true;
}

/// A thread's main function: takes one role after another until there has been none for a while.
void DispatchQueue::work(Worker& self) noexcept {
    const MutexLock lock{mutex_};
    --starting_;
    while (waitForWork(self)) {
        if (openRunners_ > 0) {
            --openRunners_;
            runShortJobs();
        } else if (openWatchers_ > 0) {
            --openWatchers_;
            if (watch()) {
                runShortJobs();
            }
        } else {
            ++blocked_;
            runUnlocked(blocking_.pop());
            --blocked_;
        }
    }
    --threads_;
    self.older = std::exchange(spare_, &self);
}

/// Returns false if the thread may end.
bool DispatchQueue::waitForWork(Worker& self) {
    if (hasRole()) {
        return true;
    }
    ++idle_;
    do {
        const auto deadline = Clock::now() + idleTime;
        while (!hasRole() && Clock::now() < deadline) {
            fallAsleep(self);
            self.wake.waitUntil(mutex_, deadline);
        }
    } while (!hasRole() && !mayBlock()); // the last one stays while the others block
    leaveSleepers(self);
    --idle_;
    return hasRole();
}

// The thread that fell asleep last is called first. Called in turn, all would stay: short jobs that
// trickle in would wake each of a thousand threads before its idle time is over.

/// Also puts back a thread that was called and found no work.
void DispatchQueue::fallAsleep(Worker& worker) {
    if (!worker.asleep) {
        worker.asleep = true;
        worker.newer = nullptr;
        worker.older = std::exchange(sleepers_, &worker);
        if (worker.older != nullptr) {
            worker.older->newer = &worker;
        }
    }
}

void DispatchQueue::leaveSleepers(Worker& worker) {
    if (worker.asleep) {
        worker.asleep = false;
        (worker.newer == nullptr ? sleepers_ : worker.newer->older) = worker.older;
        if (worker.older != nullptr) {
            worker.older->newer = worker.newer;
        }
    }
}

/// Returns the thread to wake for a role that was opened. Null if none is asleep: then one is
/// starting, or about to look for work.
DispatchQueue::Worker* DispatchQueue::callSleeper() {
    Worker* const worker = sleepers_;
    if (worker != nullptr) {
        leaveSleepers(*worker);
    }
    return worker;
}

void DispatchQueue::wake(Worker* worker) noexcept {
    if (worker != nullptr) {
        worker->wake.notifyOne();
    }
}

void DispatchQueue::runShortJobs() {
    while (!short_.empty()) {
        ++begun_;
        runUnlocked(short_.pop());
    }
    --runners_;
}

/// Returns true if the running short jobs block and this thread has to run the others.
bool DispatchQueue::watch() {
    while (!short_.empty()) {
        const auto before = begun_;
        const auto deadline = Clock::now() + patience;
        while (Clock::now() < deadline) {
            nap_.waitUntil(mutex_, deadline);
        }
        if (begun_ == before && !short_.empty()) {
            ++runners_;
            ++openWatchers_; // watches this thread, should it block as well
            needThread();
            wake(callSleeper());
            return true;
        }
    }
    watched_ = false;
    return false;
}

void DispatchQueue::runUnlocked(Job& job) {
    mutex_.unlock();
    job.run();
    mutex_.lock();
}

} // namespace MCPStdio
