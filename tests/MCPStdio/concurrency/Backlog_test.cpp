#include "MCPStdio/concurrency/Backlog.hpp"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <optional>
#include <thread>
#include <vector>

using namespace MCPStdio;

TEST(Backlog, CountsWorkThatHasNotStarted) {
    Backlog backlog;
    {
        auto first = backlog.enter();
        auto second = backlog.enter();
        EXPECT_EQ(backlog.size(), 2U);
        first.release();
        EXPECT_EQ(backlog.size(), 1U);
        first.release();
        EXPECT_EQ(backlog.size(), 1U);
    }
    EXPECT_EQ(backlog.size(), 0U);
}

TEST(Backlog, AMovedEntryLeavesOnce) {
    Backlog backlog;
    auto entry = backlog.enter();
    std::optional<Backlog::Entry> moved{std::move(entry)};
    EXPECT_EQ(backlog.size(), 1U);
    moved.reset();
    EXPECT_EQ(backlog.size(), 0U);
}

TEST(Backlog, NobodyWaitsForWorkThatStandsStill) {
    Backlog backlog;
    std::vector<Backlog::Entry> stuck;
    for (std::size_t i = 0; i < 20 * Backlog::highWaterMark; ++i) {
        stuck.push_back(backlog.enter());
        backlog.holdBack(); // would never return, or take a moment each time
    }
    EXPECT_EQ(backlog.size(), 20 * Backlog::highWaterMark);
}

TEST(Backlog, WorkThatMovesIsWaitedFor) {
    Backlog backlog;
    std::vector<Backlog::Entry> entries;
    for (std::size_t i = 0; i < 2 * Backlog::highWaterMark; ++i) {
        entries.push_back(backlog.enter());
    }
    for (std::size_t i = 0; i < Backlog::highWaterMark / 2; ++i) {
        entries[i].release();
    }
    const auto before = std::chrono::steady_clock::now();
    backlog.holdBack();
    // No more work starts: it waits for one moment, no longer.
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds{10});
}

TEST(Backlog, OneThreadHandsOverWorkWhileOthersStartIt) {
    Backlog backlog;
    Mutex mutex;
    std::vector<Backlog::Entry> ready;
    constexpr std::size_t count = 50'000;
    std::vector<std::thread> workers;
    std::atomic<std::size_t> started = 0;
    for (int i = 0; i < 2; ++i) {
        workers.emplace_back([&] {
            while (started < count) {
                std::optional<Backlog::Entry> entry;
                {
                    const MutexLock lock{mutex};
                    if (!ready.empty()) {
                        entry.emplace(std::move(ready.back()));
                        ready.pop_back();
                    }
                }
                if (entry) {
                    entry->release();
                    ++started;
                }
            }
        });
    }
    for (std::size_t i = 0; i < count; ++i) {
        auto entry = backlog.enter();
        {
            const MutexLock lock{mutex};
            ready.push_back(std::move(entry));
        }
        backlog.holdBack();
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
    EXPECT_EQ(backlog.size(), 0U);
}
