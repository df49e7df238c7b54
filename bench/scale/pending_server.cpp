// A server whose calls wait without a thread: a call of `wait` resumes when `release` is called.

#include <MCPStdio/MCPServer.hpp>
#include <MCPStdio/concurrency/Continuation.hpp>
#include <MCPStdio/concurrency/Mutex.hpp>
#include <MCPStdio/concurrency/SyncWait.hpp>

#include <cstddef>
#include <deque>
#include <string>

using namespace MCPStdio;

namespace {

/// The waiting calls.
class Gate {
public:
    void add(Continuation<bool> call) {
        const MutexLock lock{mutex_};
        calls_.push_back(std::move(call));
    }

    [[nodiscard]] std::size_t count() {
        const MutexLock lock{mutex_};
        return calls_.size();
    }

    void open() {
        std::deque<Continuation<bool>> released;
        {
            const MutexLock lock{mutex_};
            released.swap(calls_);
        }
        for (Continuation<bool>& call : released) {
            call.resume(true);
        }
    }

private:
    Mutex mutex_;
    std::deque<Continuation<bool>> calls_ MCPSTDIO_GUARDED_BY(mutex_);
};

Task<MCPToolResult> waitAt(Gate& gate) {
    auto opening =
        withContinuation<bool>([&gate](Continuation<bool> call) { gate.add(std::move(call)); });
    co_await opening;
    co_return MCPToolResult{"released", false};
}

/// Gets the same reply as the calls that it releases.
Task<MCPToolResult> release(Gate& gate) {
    gate.open();
    co_return MCPToolResult{"released", false};
}

Task<MCPToolResult> count(Gate& gate) {
    co_return MCPToolResult{std::to_string(gate.count()), false};
}

} // namespace

int main() {
    Gate gate;
    const auto schema = JSONValue::object({{"type", "object"}});
    MCPServer server{
        "pending",
        "1.0",
        std::nullopt,
        {{"wait", "Wait.", schema, true, [&gate](JSONValue) { return waitAt(gate); }},
         {"release", "Let all go on.", schema, true, [&gate](JSONValue) { return release(gate); }},
         {"waiting", "How many wait.", schema, true, [&gate](JSONValue) { return count(gate); }}}};
    syncWait(server.run());
}
