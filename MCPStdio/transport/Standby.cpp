#include "MCPStdio/transport/Standby.hpp"

#include "MCPStdio/concurrency/DispatchQueue.hpp"
#include "MCPStdio/concurrency/Patience.hpp"
#include "MCPStdio/transport/Descriptor.hpp"

#include <chrono>
#include <exception>
#include <limits>
#include <optional>
#include <poll.h>
#include <utility>

#if __has_include(<sys/epoll.h>)
#include <sys/epoll.h>
#include <sys/eventfd.h>

namespace MCPStdio {
namespace {

/// Why a waiting thread goes on.
enum class Wake { none, input, stop };

/// Wakes a thread when there is input, or when it is to stop. Whether input counts can be changed
/// without waking it, which a plain `poll` does not offer.
class InputWatch {
public:
    explicit InputWatch(int input) noexcept
        : input_{input},
          stop_{::eventfd(0, EFD_CLOEXEC)},
          events_{::epoll_create1(EPOLL_CLOEXEC)} {
        isUsable_ = control(EPOLL_CTL_ADD, stop_.get(), EPOLLIN) &&
                    control(EPOLL_CTL_ADD, input_, EPOLLONESHOT);
    }

    /// Returns false if the system cannot watch this input, which may be a file.
    [[nodiscard]] bool isUsable() const noexcept { return isUsable_; }
    /// Makes the next input wake the thread, once, or none.
    [[nodiscard]] bool watch(bool input) const noexcept {
        return control(EPOLL_CTL_MOD, input_, input ? EPOLLIN | EPOLLONESHOT : EPOLLONESHOT);
    }
    void stop() const noexcept { static_cast<void>(::eventfd_write(stop_.get(), 1)); }

    /// Waits for at most a moment.
    [[nodiscard]] Wake wait(std::chrono::milliseconds moment) const noexcept {
        epoll_event event{};
        if (::epoll_wait(events_.get(), &event, 1, static_cast<int>(moment.count())) != 1) {
            return Wake::none;
        }
        return event.data.fd == input_ ? Wake::input : Wake::stop;
    }

private:
    [[nodiscard]] bool control(int operation, int descriptor, std::uint32_t events) const noexcept {
        epoll_event event{};
        event.events = events;
        event.data.fd = descriptor;
        return ::epoll_ctl(events_.get(), operation, descriptor, &event) == 0;
    }

    int input_;
    Descriptor stop_;
    Descriptor events_;
    bool isUsable_;
};

} // namespace
} // namespace MCPStdio
#else
namespace MCPStdio {
namespace {

enum class Wake { none, input, stop };

class InputWatch {
public:
    explicit InputWatch(int /*input*/) noexcept {}
    [[nodiscard]] bool isUsable() const noexcept { return false; }
    [[nodiscard]] bool watch(bool /*input*/) const noexcept { return false; }
    void stop() const noexcept {}
    [[nodiscard]] Wake wait(std::chrono::milliseconds /*moment*/) const noexcept {
        return Wake::stop;
    }
};

} // namespace
} // namespace MCPStdio
#endif

namespace MCPStdio {

/// What `Standby` shares with its thread, which ends if nothing needs it for a second: then there
/// is a new state next time.
struct Standby::State {
    // The values of `away` that are not the number of an absence.
    static constexpr std::uint64_t nobody = 0;
    static constexpr std::uint64_t stopped = std::numeric_limits<std::uint64_t>::max();
    static constexpr std::uint64_t threadEnded = stopped - 1;
    static constexpr std::uint64_t comingBack = stopped - 2;

    explicit State(int input) : watch{std::in_place, input} {}

    /// Stands by until there is input in an absence; then goes on reading.
    void standBy() noexcept {
        constexpr std::chrono::milliseconds idleTime{1000};
        isOnStandby.store(true, std::memory_order_release);
        std::uint64_t seen = begun.load(std::memory_order_relaxed);
        while (true) {
            const Wake wake = watch->wait(idleTime);
            if (wake == Wake::stop) {
                return;
            }
            if (wake == Wake::input && takeOver()) {
                reader.resume();
                return;
            }
            const auto last = begun.load(std::memory_order_relaxed);
            if (wake == Wake::none && last == seen && leave()) {
                watch.reset();
                return;
            }
            seen = last;
        }
    }

    /// Returns false if the reading thread is away.
    bool leave() noexcept {
        auto expected = nobody;
        // Acquires what the reading thread did with `watch`.
        return away.compare_exchange_strong(expected, threadEnded, std::memory_order_acquire);
    }

    /// Ends the present absence, if there is one, on behalf of the thread on standby.
    bool takeOver() noexcept {
        // Acquires what the reading thread did before it went.
        auto present = away.load(std::memory_order_acquire);
        if (present == nobody || present == stopped || present == comingBack ||
            !away.compare_exchange_strong(present, nobody, std::memory_order_acquire)) {
            return false;
        }
        isOnStandby.store(false, std::memory_order_relaxed);
        isAsked.store(false, std::memory_order_relaxed);
        return true;
    }

    /// Ends an absence and returns true, unless somebody has taken over.
    bool comeBack(std::uint64_t number) noexcept {
        if (!away.compare_exchange_strong(number, comingBack, std::memory_order_relaxed)) {
            return false;
        }
        static_cast<void>(watch->watch(false));
        away.store(nobody, std::memory_order_release); // only now may the thread leave
        return true;
    }

    std::optional<InputWatch> watch;  ///< none once the thread has ended
    std::atomic<bool> isAsked{false}; ///< a thread is on standby, or soon will be
    std::atomic<bool> isOnStandby{false};
    std::coroutine_handle<> reader;           ///< written before `away`
    std::atomic<std::uint64_t> away{nobody};  ///< the number of the present absence
    std::atomic<std::uint64_t> begun{0};      ///< the number of the last one
    std::atomic<std::uint64_t> endedEarly{0}; ///< the number of the last that was
};

Standby::~Standby() {
    // From now on the thread does not end on its own.
    if (isUsable_ && state_->away.exchange(State::stopped) != State::threadEnded) {
        state_->watch->stop();
    }
}

bool Standby::isReady() noexcept {
    try {
        if (!state_ || state_->away.load(std::memory_order_relaxed) == State::threadEnded) {
            state_ = std::make_shared<State>(input_);
            isUsable_ = state_->watch->isUsable();
            if (!isUsable_) {
                state_->watch.reset();
            }
        }
        if (!isUsable_) {
            return false;
        }
        if (state_->isOnStandby.load(std::memory_order_acquire)) {
            pollfd readable{input_, POLLIN, 0};
            return ::poll(&readable, 1, 0) == 0;
        }
        if (!state_->isAsked.exchange(true, std::memory_order_relaxed)) {
            // Not one of the queue's threads: it must not take one from blocking jobs.
            std::thread{[state = state_] { state->standBy(); }}.detach();
        }
    } catch (const std::exception&) { // no memory, or no thread
        if (state_) {
            state_->isAsked.store(false, std::memory_order_relaxed);
        }
    }
    return false;
}

bool Standby::Absence::begin(std::coroutine_handle<> reader) const noexcept {
    state_->reader = reader;
    state_->begun.store(number_, std::memory_order_relaxed);
    auto expected = State::nobody;
    if (!state_->away.compare_exchange_strong(expected, number_, std::memory_order_release,
                                              std::memory_order_relaxed)) {
        state_->endedEarly.store(number_, std::memory_order_relaxed);
        return false; // the thread has ended
    }
    if (state_->watch->watch(true)) {
        return true;
    }
    end();
    return false;
}

void Standby::Absence::end() const noexcept {
    // On another thread, the reading one may be about to come back on its own.
    if (std::this_thread::get_id() == thread_ && state_->comeBack(number_)) {
        state_->endedEarly.store(number_, std::memory_order_relaxed);
    }
}

/// Begins the absence as a part of the group, whose end the coroutine may then await on another
/// thread. Takes the task over first, while the reference is valid.
Task<void> Standby::beginAndRun(Absence absence, std::coroutine_handle<> reader, Task<void>& task) {
    Task<void> owned{std::move(task)};
    if (!absence.begin(reader)) {
        co_await DispatchQueue::global().hop();
    }
    co_await std::move(owned);
}

[[gnu::noinline]] bool Standby::Awaiter::await_suspend(std::coroutine_handle<> reader) {
    // This object is gone as soon as somebody takes over.
    const auto state = state_;
    const auto absence = absence_;
    group_.add(patiently([&] { return beginAndRun(absence, reader, task_); }));
    return !state->comeBack(absence.number_) &&
           state->endedEarly.load(std::memory_order_relaxed) != absence.number_;
}

} // namespace MCPStdio
