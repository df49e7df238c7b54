#pragma once

#include "MCPStdio/concurrency/Mutex.hpp"
#include "velmiro_mcp/platform/local/files/Files.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>

namespace velmiro::local {

/// Keeps the result of parsing a file until the file changes.
///
/// A file is identified by its path and its stamp. A stamp proves nothing while it is young: within
/// one tick of the file system's clock, two versions can have the same. So a file that changed less
/// than two seconds before it was read is read again the next time.
///
/// A function `std::size_t memoryOf(const Parsed&)`, found by argument-dependent lookup, returns
/// the size of one result. When the bound is reached, results that nobody has used for a minute are
/// dropped. If all are in use, further files are parsed each time, so that a folder too large for
/// the cache costs only its excess. Results of deleted files are dropped whenever a reader has read
/// the whole folder.
///
/// Thread-safe; no file is read by two threads at once.
template <typename Parsed>
class ParseCache {
    using Time = std::chrono::system_clock::time_point;

    struct Entry {
        FileStamp stamp;
        std::shared_ptr<const Parsed> parsed;
        std::size_t memory = 0;
        Time lastRead;
    };
    using Entries = std::map<std::string, Entry>; // of a folder, by their names

public:
    using Clock = Time (*)();

    explicit ParseCache(std::size_t mostMemory, Clock now = &std::chrono::system_clock::now)
        : mostMemory_{mostMemory},
          now_{now} {}

    /// Reads the files of one folder, for one caller. Ten thousand unchanged files should cost
    /// little more than their stamps. So for a caller that asks in the order of names, each entry
    /// is found right after the last one; any other order works too.
    class Reader {
    public:
        /// The cache and the folder must outlive this object.
        Reader(ParseCache& cache, const OpenFolder& folder)
            : cache_{cache},
              folder_{folder},
              entries_{cache.entriesOf(folder)},
              next_{entries_.end()},
              begun_{cache.now_()} {}

        /// Returns what `parse` returns for the file's bytes, or returned for them before; null if
        /// `readStamped` returns none. Throws what that throws.
        template <typename Parse>
        std::shared_ptr<const Parsed> read(const std::string& name, std::size_t largest,
                                           const Parse& parse) {
            const auto current = stampOf(folder_, name);
            return current ? cache_.read(*this, name, *current, largest, parse) : nullptr;
        }

        /// Drops the results of files that were not read since this reader began. To be called
        /// after it has read the whole folder: those files no longer exist.
        void forgetOthers() { cache_.forgetOthers(*this); }

    private:
        friend class ParseCache;

        ParseCache& cache_;
        const OpenFolder& folder_;
        Entries& entries_;                ///< guarded by the cache's mutex
        typename Entries::iterator next_; ///< where to look first for the next name
        std::uint64_t removals_ = 0;      ///< as of `next_`, which a further removal may invalidate
        Time begun_;
        std::size_t known_ = 0; ///< entries that it found or added
    };

    /// Drops everything.
    void clear() {
        const MCPStdio::MutexLock lock{mutex_};
        for (auto& [path, entries] : folders_) {
            entries.clear();
        }
        ++removals_;
        memory_ = 0;
    }

    [[nodiscard]] std::size_t memory() {
        const MCPStdio::MutexLock lock{mutex_};
        return memory_;
    }

private:
    static constexpr std::size_t memoryOfEntry = sizeof(Entry) + 96; // and the tree's overhead

    Entries& entriesOf(const OpenFolder& folder) {
        const MCPStdio::MutexLock lock{mutex_};
        return folders_[folder.path()];
    }

    template <typename Parse>
    std::shared_ptr<const Parsed> read(Reader& reader, const std::string& name,
                                       const FileStamp& current, std::size_t largest,
                                       const Parse& parse) {
        const MCPStdio::MutexLock lock{mutex_};
        const auto now = now_();
        if (const auto known = find(reader, name); known != reader.entries_.end()) {
            if (known->second.stamp == current) {
                known->second.lastRead = now;
                ++reader.known_;
                return known->second.parsed;
            }
            forget(reader.entries_, known);
        }
        auto file = readStamped(reader.folder_, name, largest);
        if (!file) {
            return nullptr;
        }
        auto parsed = std::make_shared<const Parsed>(parse(std::move(file->bytes)));
        if (isSettled(file->stamp, now)) {
            const std::size_t memory = memoryOf(*parsed) + name.size() + memoryOfEntry;
            keep(reader, name, {file->stamp, parsed, memory, now});
        }
        return parsed;
    }

    typename Entries::iterator find(Reader& reader, const std::string& name)
        MCPSTDIO_REQUIRES(mutex_) {
        Entries& entries = reader.entries_;
        auto found = reader.removals_ == removals_ ? reader.next_ : entries.end();
        if (found == entries.end() || found->first != name) {
            found = entries.find(name);
        }
        reader.next_ = found == entries.end() ? found : std::next(found);
        reader.removals_ = removals_;
        return found;
    }

    static bool isSettled(const FileStamp& stamp, Time since) {
        constexpr std::chrono::seconds tick{2}; // of the coarsest file systems
        return std::chrono::nanoseconds{stamp.changed} < (since - tick).time_since_epoch();
    }

    void keep(Reader& reader, const std::string& name, Entry entry) MCPSTDIO_REQUIRES(mutex_) {
        if (memory_ + entry.memory > mostMemory_) {
            forgetUnread(entry.lastRead);
        }
        if (memory_ + entry.memory <= mostMemory_) {
            memory_ += entry.memory;
            reader.entries_.insert_or_assign(name, std::move(entry));
            ++reader.known_;
        }
    }

    void forgetOthers(const Reader& reader) {
        const MCPStdio::MutexLock lock{mutex_};
        if (reader.entries_.size() > reader.known_) { // otherwise there is nothing to look for
            forgetUnreadSince(reader.begun_, reader.entries_);
        }
    }

    void forgetUnread(Time now) MCPSTDIO_REQUIRES(mutex_) {
        constexpr std::chrono::minutes patience{1};
        if (now < lastCleaning_ + patience / 10) {
            return; // visiting all entries for each file would cost too much
        }
        lastCleaning_ = now;
        for (auto& [path, entries] : folders_) {
            forgetUnreadSince(now - patience, entries);
        }
    }

    void forgetUnreadSince(Time time, Entries& entries) MCPSTDIO_REQUIRES(mutex_) {
        for (auto entry = entries.begin(); entry != entries.end();) {
            const auto next = std::next(entry);
            if (entry->second.lastRead < time) {
                forget(entries, entry);
            }
            entry = next;
        }
    }

    void forget(Entries& entries, typename Entries::iterator entry) MCPSTDIO_REQUIRES(mutex_) {
        memory_ -= entry->second.memory;
        entries.erase(entry);
        ++removals_;
    }

    const std::size_t mostMemory_;
    const Clock now_;
    MCPStdio::Mutex mutex_;
    std::unordered_map<std::string, Entries> folders_ MCPSTDIO_GUARDED_BY(mutex_); ///< by path
    std::size_t memory_ MCPSTDIO_GUARDED_BY(mutex_) = 0;
    Time lastCleaning_ MCPSTDIO_GUARDED_BY(mutex_);
    std::uint64_t removals_ MCPSTDIO_GUARDED_BY(mutex_) = 0;
};

} // namespace velmiro::local
