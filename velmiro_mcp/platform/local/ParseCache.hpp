#pragma once

#include "MCPStdio/concurrency/Mutex.hpp"
#include "velmiro_mcp/platform/local/Files.hpp"

#include <chrono>
#include <cstddef>
#include <iterator>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>

namespace velmiro::local {

/// What files were read into, kept for as long as the files stay as they are.
///
/// A file is known by its path and its stamp. A stamp proves something only when it is old: within
/// one tick of the file system's clock two versions can have the same. So what was changed less
/// than two seconds before it was read is read again the next time.
///
/// A function `std::size_t memoryOf(const Parsed&)`, found beside the type, says what one takes.
/// When the bound is reached, what nobody asked for within a minute goes; where everything was
/// asked for, the rest is read anew each time, so that a folder too large costs its excess only.
///
/// Any thread may call at any time; one file is not read by two of them at once.
template <typename Parsed>
class ParseCache {
public:
    using Clock = std::chrono::system_clock::time_point (*)();

    explicit ParseCache(std::size_t mostMemory, Clock now = &std::chrono::system_clock::now)
        : mostMemory_{mostMemory},
          now_{now} {}

    /// What `parse` makes of the file's bytes, or made of them before. Null when the file is none
    /// that `readRegularFile` reads.
    template <typename Parse>
    std::shared_ptr<const Parsed> read(const std::string& path, std::size_t largest,
                                       const Parse& parse) {
        const auto current = stampOf(path);
        if (!current) {
            return nullptr;
        }
        const MCPStdio::MutexLock lock{mutex_};
        const auto now = now_();
        if (const auto known = entries_.find(path); known != entries_.end()) {
            if (known->second.stamp == *current) {
                known->second.lastRead = now;
                return known->second.parsed;
            }
            forget(known);
        }
        FileStamp stamp;
        auto bytes = readRegularFile(path, largest, &stamp);
        if (!bytes) {
            return nullptr;
        }
        auto parsed = std::make_shared<const Parsed>(parse(*std::move(bytes)));
        if (isSettled(stamp, now)) {
            keep(path, {stamp, parsed, memoryOf(*parsed) + path.size() + memoryOfEntry, now});
        }
        return parsed;
    }

    /// Forgets everything.
    void clear() {
        const MCPStdio::MutexLock lock{mutex_};
        entries_.clear();
        memory_ = 0;
    }

    [[nodiscard]] std::size_t memory() {
        const MCPStdio::MutexLock lock{mutex_};
        return memory_;
    }

private:
    using Time = std::chrono::system_clock::time_point;

    struct Entry {
        FileStamp stamp;
        std::shared_ptr<const Parsed> parsed;
        std::size_t memory = 0;
        Time lastRead;
    };
    using Entries = std::unordered_map<std::string, Entry>;

    static constexpr std::size_t memoryOfEntry = sizeof(Entry) + 64; // and what the table adds

    static bool isSettled(const FileStamp& stamp, Time since) {
        constexpr std::chrono::seconds tick{2}; // of the coarsest file systems
        return std::chrono::nanoseconds{stamp.changed} < (since - tick).time_since_epoch();
    }

    void keep(const std::string& path, Entry entry) REQUIRES(mutex_) {
        if (memory_ + entry.memory > mostMemory_) {
            forgetUnread(entry.lastRead);
        }
        if (memory_ + entry.memory <= mostMemory_) {
            memory_ += entry.memory;
            entries_.insert_or_assign(path, std::move(entry));
        }
    }

    void forgetUnread(Time now) REQUIRES(mutex_) {
        constexpr std::chrono::minutes patience{1};
        if (now < lastCleaning_ + patience / 10) {
            return; // one look at everything is not had for each file
        }
        lastCleaning_ = now;
        for (auto entry = entries_.begin(); entry != entries_.end();) {
            const auto next = std::next(entry);
            if (entry->second.lastRead + patience < now) {
                forget(entry);
            }
            entry = next;
        }
    }

    void forget(typename Entries::iterator entry) REQUIRES(mutex_) {
        memory_ -= entry->second.memory;
        entries_.erase(entry);
    }

    const std::size_t mostMemory_;
    const Clock now_;
    MCPStdio::Mutex mutex_;
    Entries entries_ GUARDED_BY(mutex_);
    std::size_t memory_ GUARDED_BY(mutex_) = 0;
    Time lastCleaning_ GUARDED_BY(mutex_);
};

} // namespace velmiro::local
