#include "MCPStdio/concurrency/DispatchQueue.hpp"

#include <chrono>
#include <pthread.h>
#include <thread>

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
    }
    wake_.notifyOne();
}

void DispatchQueue::asyncBlocking(Job& job) {
    {
        const MutexLock lock{mutex_};
        blocking_.push(job);
        needThread();
    }
    wake_.notifyOne();
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
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_attr_setstacksize(&attributes, stackSize);
    pthread_t thread{};
    const int error = pthread_create(
        &thread, &attributes,
        [](void* queue) -> void* {
            static_cast<DispatchQueue*>(queue)->work();
            return nullptr;
        },
        this);
    pthread_attr_destroy(&attributes);
    if (error != 0) {
        return false;
    }
    ++threads_;
    ++starting_;
    return true;
}

/// A thread's main function: takes one role after another until there has been none for a while.
void DispatchQueue::work() noexcept {
    const MutexLock lock{mutex_};
    --starting_;
    while (waitForWork()) {
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
}

/// Returns false if the thread may end.
bool DispatchQueue::waitForWork() {
    if (hasRole()) {
        return true;
    }
    ++idle_;
    do {
        const auto deadline = Clock::now() + idleTime;
        while (!hasRole() && Clock::now() < deadline) {
            wake_.waitUntil(mutex_, deadline);
        }
    } while (!hasRole() && !mayBlock()); // the last one stays while the others block
    --idle_;
    return hasRole();
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
            wake_.notifyOne();
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
