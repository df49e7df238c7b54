#include "MCPStdio/concurrency/DispatchQueue.hpp"

#include <chrono>
#include <pthread.h>
#include <thread>

namespace MCPStdio {
namespace {

using Clock = std::chrono::steady_clock;

/// How long a thread stays without work.
constexpr auto idleTime = std::chrono::seconds{1};
/// How long a short job may keep others waiting.
constexpr auto patience = std::chrono::milliseconds{1};
/// Address space only: memory is used as far as a stack is.
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

// A thread is woken when the lock has been given up, or it would at once wait for that.

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

/// Whether a thread without work could take up some now.
bool DispatchQueue::hasRole() const {
    return openRunners_ + openWatchers_ > 0 || (!blocking_.empty() && mayBlock());
}

/// Whether one more thread may go and block: not the last one that short jobs could still run on,
/// or questions nobody answers could use up all the threads the system gives.
bool DispatchQueue::mayBlock() const {
    return blocked_ == 0 || threads_ - blocked_ > 1;
}

/// Called after a role was opened, before somebody is woken: there will be somebody to take it up.
void DispatchQueue::needThread() {
    const std::size_t reserve = blocking_.empty() ? 0 : 1;
    const std::size_t needed = openRunners_ + openWatchers_ + blocking_.size() + reserve;
    while (needed > idle_ + starting_) {
        if (!startThread()) {
            if (threads_ > 0) {
                break; // whoever is done takes it up
            }
            std::this_thread::sleep_for(patience); // nobody would ever come back for it
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

/// A thread's life: one role after the other until there has been none for a while.
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

/// False when the thread may leave.
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
    } while (!hasRole() && !mayBlock()); // the last one stays while others block
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

/// True when the running jobs block others and this thread has to run those.
bool DispatchQueue::watch() {
    while (!short_.empty()) {
        const auto before = begun_;
        const auto deadline = Clock::now() + patience;
        while (Clock::now() < deadline) {
            nap_.waitUntil(mutex_, deadline);
        }
        if (begun_ == before && !short_.empty()) {
            ++runners_;
            ++openWatchers_; // the next watcher, should this thread come to block as well
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
