#pragma once

#include "MCPStdio/concurrency/Mutex.hpp"
#include "MCPStdio/concurrency/Task.hpp"

#include <exception>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace MCPStdio {

/// Runs a task from outside a coroutine and blocks this thread until it has ended. Returns its
/// result or throws its exception. The task starts on this thread.
template <typename Result>
Result syncWait(Task<Result> task) {
    struct Outcome {
        Mutex mutex;
        Condition changed;
        bool done MCPSTDIO_GUARDED_BY(mutex) = false;
        std::optional<std::conditional_t<std::is_void_v<Result>, bool, Result>> result;
        std::exception_ptr error;
    };
    const auto run = [](Task<Result> awaited,
                        std::shared_ptr<Outcome> outcome) -> detail::Detached {
        try {
            // The task is destroyed, with all it holds, before the waiting thread continues.
            auto owned = std::move(awaited);
            if constexpr (std::is_void_v<Result>) {
                co_await std::move(owned);
            } else {
                auto result = co_await std::move(owned);
                outcome->result.emplace(std::move(result));
            }
        } catch (...) {
            outcome->error = std::current_exception();
        }
        const MutexLock lock{outcome->mutex};
        outcome->done = true;
        outcome->changed.notifyAll();
    };
    const auto outcome = std::make_shared<Outcome>();
    run(std::move(task), outcome);
    {
        const MutexLock lock{outcome->mutex};
        while (!outcome->done) {
            outcome->changed.wait(outcome->mutex);
        }
    }
    if (outcome->error) {
        std::rethrow_exception(std::move(outcome->error)); // no other thread refers to it now
    }
    if constexpr (!std::is_void_v<Result>) {
        return *std::move(outcome->result);
    }
}

} // namespace MCPStdio
