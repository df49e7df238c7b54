// On which threads calls run, and that reading waits for none of them.

#include "MCPStdio/MCPServer.hpp"

#include "MCPStdio/concurrency/DispatchQueue.hpp"
#include "MCPStdio/concurrency/SyncWait.hpp"
#include "MCPStdio/transport/Standby.hpp"
#include "support/Pipe.hpp"

#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <iterator>
#include <poll.h>
#include <set>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace MCPStdio;
using namespace std::chrono_literals;

namespace {

MCPTool tool(std::string name, ToolHandler handler) {
    return {std::move(name), "A tool.", JSONValue::object({{"type", "object"}}), true,
            std::move(handler)};
}

std::string callOf(const std::string& name, int id = 1) {
    return R"({"id":)" + std::to_string(id) + R"(,"method":"tools/call","params":{"name":")" +
           name + "\"}}\n";
}

/// A server between two pipes, whose first reading thread is `readingThread()`.
class RunningServer {
public:
    explicit RunningServer(std::vector<MCPTool> tools)
        : server_{"s", "1", std::nullopt, std::move(tools)},
          thread_{[this] {
              syncWait(server_.run(input_.reading.get(), output_.writing.get()));
              output_.writing.close();
          }} {}
    RunningServer(const RunningServer&) = delete;
    RunningServer& operator=(const RunningServer&) = delete;
    ~RunningServer() {
        finish();
        thread_.join();
    }

    [[nodiscard]] std::thread::id readingThread() const { return thread_.get_id(); }

    void send(std::string_view lines) {
        ASSERT_EQ(::write(input_.writing.get(), lines.data(), lines.size()),
                  static_cast<ssize_t>(lines.size()));
    }
    void finish() { input_.writing.close(); }

    /// Returns the next reply; what there is of it after ten seconds.
    std::string receive() {
        while (received_.find('\n') == std::string::npos) {
            pollfd readable{output_.reading.get(), POLLIN, 0};
            std::array<char, 4096> chunk{};
            const ssize_t count = ::poll(&readable, 1, 10'000) == 1
                                      ? ::read(readable.fd, chunk.data(), chunk.size())
                                      : 0;
            if (count <= 0) {
                ADD_FAILURE() << "no reply";
                return std::exchange(received_, {});
            }
            received_.append(chunk.data(), static_cast<std::size_t>(count));
        }
        const auto end = received_.find('\n');
        const std::string line = received_.substr(0, end);
        received_.erase(0, end + 1);
        return line;
    }

    /// Makes calls of a tool that does nothing until one has run on the thread that reads. Returns
    /// false if none does, because the system offers nothing for it.
    bool warmUp(const std::string& name, const std::atomic<std::thread::id>& ranOn) {
        for (int i = 0; i < 1000; ++i) {
            send(callOf(name));
            receive();
            if (ranOn == readingThread()) {
                return true;
            }
            std::this_thread::sleep_for(1ms); // the thread on standby may be starting
        }
        return false;
    }

private:
    velmiro::support::Pipe input_ = velmiro::support::makePipe();
    velmiro::support::Pipe output_ = velmiro::support::makePipe();
    std::string received_;
    MCPServer server_;
    std::thread thread_;
};

/// A tool that notes its thread.
MCPTool notingTool(std::atomic<std::thread::id>& ranOn) {
    return tool("note", [&ranOn](JSONValue) -> Task<MCPToolResult> {
        ranOn = std::this_thread::get_id();
        co_return MCPToolResult{"noted", false};
    });
}

template <typename Condition>
bool becomesTrue(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(100us);
    }
    return true;
}

/// Returns whether a thread can stand by for input on this system.
bool canStandBy() {
    const auto input = velmiro::support::makePipe();
    Standby standby{input.reading.get()};
    return becomesTrue([&] { return standby.isReady(); });
}

/// Returns how many descriptors this process has, and one for the question.
std::ptrdiff_t descriptorCount() {
    return std::distance(std::filesystem::directory_iterator{"/proc/self/fd"}, {});
}

} // namespace

TEST(MCPServerRun, ACallAloneRunsOnTheThreadThatReads) {
    if (!canStandBy()) {
        GTEST_SKIP() << "a thread cannot stand by for input on this system";
    }
    std::atomic<std::thread::id> ranOn;
    RunningServer server{{notingTool(ranOn)}};
    ASSERT_TRUE(server.warmUp("note", ranOn));
    // Of two calls at once, the first does not: the second may not wait for it.
    server.send(callOf("note", 1) + callOf("missing", 2));
    const std::string replies = server.receive() + server.receive(); // in any order
    EXPECT_NE(replies.find("unknown tool"), std::string::npos);
    EXPECT_NE(ranOn.load(), server.readingThread());
}

TEST(MCPServerRun, WhatStoodByEndsAfterASecondAndComesBackWithTheNextCall) {
    if (!canStandBy()) {
        GTEST_SKIP() << "a thread cannot stand by for input on this system";
    }
    std::atomic<std::thread::id> ranOn;
    RunningServer server{{notingTool(ranOn)}};
    server.send(callOf("missing"));
    server.receive(); // now it has opened what it needs in any case
    const auto descriptors = descriptorCount();
    ASSERT_TRUE(server.warmUp("note", ranOn));
    EXPECT_TRUE(becomesTrue([&] { return descriptorCount() <= descriptors; }));
    EXPECT_TRUE(server.warmUp("note", ranOn));
}

TEST(MCPServerRun, EightCallsThatComputeInOneWriteOverlap) {
    std::atomic<std::thread::id> ranOn;
    std::atomic<int> begun = 0;
    RunningServer server{{notingTool(ranOn), tool("compute", [&](JSONValue) -> Task<MCPToolResult> {
                              ++begun;
                              const auto deadline = std::chrono::steady_clock::now() + 20s;
                              while (begun < 8 && std::chrono::steady_clock::now() < deadline) {
                              }
                              co_return MCPToolResult{std::to_string(begun), begun < 8};
                          })}};
    server.warmUp("note", ranOn);
    std::string lines;
    for (int i = 0; i < 8; ++i) {
        lines += callOf("compute", i);
    }
    server.send(lines);
    for (int i = 0; i < 8; ++i) {
        EXPECT_NE(server.receive().find(R"("text":"8")"), std::string::npos);
    }
}

TEST(MCPServerRun, AHandlerThatWaitsForTheNextLinesHandlerFinishes) {
    std::atomic<std::thread::id> ranOn;
    std::atomic<int> waiting = 0;
    std::atomic<int> released = 0;
    RunningServer server{{notingTool(ranOn),
                          tool("wait",
                               [&](JSONValue) -> Task<MCPToolResult> {
                                   const int number = ++waiting;
                                   ranOn = std::this_thread::get_id();
                                   becomesTrue([&] { return released >= number; }); // blocks
                                   co_return MCPToolResult{"waited", released < number};
                               }),
                          tool("release", [&](JSONValue) -> Task<MCPToolResult> {
                              ++released;
                              co_return MCPToolResult{"released", false};
                          })}};
    const bool standsBy = server.warmUp("note", ranOn);
    for (int round = 1; round <= 20; ++round) {
        server.send(callOf("wait", 1));
        ASSERT_TRUE(becomesTrue([&] { return waiting == round; }));
        if (round == 1 && standsBy) {
            EXPECT_EQ(ranOn.load(), server.readingThread());
        }
        server.send(callOf("release", 2));
        const std::string replies = server.receive() + server.receive();
        EXPECT_NE(replies.find("\"waited\",\"type\":\"text\"}],\"isError\":false"),
                  std::string::npos);
        EXPECT_NE(replies.find("released"), std::string::npos);
    }
}

TEST(MCPServerRun, AHandlerThatDoesNotReturnCostsOneThread) {
    std::atomic<std::thread::id> ranOn;
    std::atomic<bool> stuck = false;
    std::atomic<bool> free = false;
    RunningServer server{{notingTool(ranOn), tool("stick", [&](JSONValue) -> Task<MCPToolResult> {
                              stuck = true;
                              becomesTrue([&] { return free.load(); });
                              co_return MCPToolResult{"free", false};
                          })}};
    server.warmUp("note", ranOn);
    server.send(callOf("stick"));
    ASSERT_TRUE(becomesTrue([&] { return stuck.load(); }));
    std::set<std::thread::id> threads;
    for (int i = 0; i < 300; ++i) {
        server.send(callOf("note"));
        EXPECT_NE(server.receive().find("noted"), std::string::npos);
        threads.insert(ranOn);
    }
    // The one that reads now, and workers that started before another one was on standby.
    EXPECT_LE(threads.size(), 4U);
    free = true;
    EXPECT_NE(server.receive().find("free"), std::string::npos);
}

TEST(MCPServerRun, AHandlerThatIsSuspendedLeavesTheReadingThreadToReading) {
    std::atomic<std::thread::id> ranOn;
    RunningServer server{{notingTool(ranOn), tool("hop", [](JSONValue) -> Task<MCPToolResult> {
                              for (int i = 0; i < 3; ++i) {
                                  co_await DispatchQueue::global().hop();
                              }
                              co_return MCPToolResult{"hopped", false};
                          })}};
    server.warmUp("note", ranOn);
    for (int i = 0; i < 2000; ++i) {
        server.send(callOf("hop"));
        EXPECT_NE(server.receive().find("hopped"), std::string::npos);
    }
}

TEST(MCPServerRun, EachOfManyCallsIsAnsweredOnceHoweverTheyArrive) {
    std::atomic<std::thread::id> ranOn;
    RunningServer server{{notingTool(ranOn), tool("pause", [](JSONValue) -> Task<MCPToolResult> {
                              std::this_thread::sleep_for(50us);
                              co_return MCPToolResult{"paused", false};
                          })}};
    constexpr int calls = 3000;
    std::thread sender{[&] {
        for (int i = 0; i < calls; ++i) {
            server.send(callOf(i % 3 == 0 ? "pause" : "note", i));
            if (i % 7 == 0) {
                std::this_thread::sleep_for(std::chrono::microseconds{i % 130});
            }
        }
        server.finish();
    }};
    std::set<std::int64_t> ids;
    for (int i = 0; i < calls; ++i) {
        ids.insert(JSONValue::parse(server.receive())["id"]->intValue().value_or(-1));
    }
    sender.join();
    EXPECT_EQ(ids.size(), static_cast<std::size_t>(calls));
}

TEST(MCPServerRun, EveryReplyIsWrittenBeforeItEnds) {
    const std::string text(200'000, 'x');
    RunningServer server{{tool(
        "much", [&](JSONValue) -> Task<MCPToolResult> { co_return MCPToolResult{text, false}; })}};
    constexpr int calls = 5;
    for (int i = 0; i < calls; ++i) {
        server.send(callOf("much", i));
    }
    server.finish();
    std::this_thread::sleep_for(100ms); // all is done, but most is still queued
    for (int i = 0; i < calls; ++i) {
        EXPECT_NE(server.receive().find(text), std::string::npos);
    }
}
