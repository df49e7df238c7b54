#pragma once

#include "support/ChildProcess.hpp"
#include "tests/neighbours/Programs.hpp"

#include <atomic>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

/// The servers that work while other programs do.
namespace velmiro::neighbours {

/// What calls came to, how often: `reminders_complete: done`, or the text of an error.
using Outcomes = std::map<std::string, unsigned long>;

/// The folders of a home that the servers and their neighbours share.
struct Home {
    std::filesystem::path root;

    [[nodiscard]] std::filesystem::path data() const {
        return root / "Library/Application Support/Velmiro";
    }
    [[nodiscard]] std::filesystem::path shared() const { return data() / "Reminders/Shared"; }
    [[nodiscard]] std::filesystem::path together() const { return data() / "Reminders/Together"; }
    [[nodiscard]] std::filesystem::path maildir() const { return data() / "Mail"; }
};

/// One server with everything that it creates.
class Server {
public:
    Server(const support::ChildProcess::Options& options, std::string name)
        : process_{options},
          name_{std::move(name)} {}

    /// Completes shared items, creates items of all kinds and lists, until it is over.
    void work(const std::vector<std::string>& uids, const std::atomic<bool>& isOver);

    /// Returns what was created and is not there exactly once.
    [[nodiscard]] Record created(const Home& home) const;

    [[nodiscard]] const Outcomes& outcomes() const { return outcomes_; }

private:
    struct Creation {
        std::string folder; ///< below the data
        std::string line;   ///< in exactly one file there
        bool isDone;
    };

    bool call(const std::string& tool, const std::string& arguments);
    void create(unsigned kind);

    support::ChildProcess process_;
    std::string name_;
    unsigned calls_ = 0;
    unsigned made_ = 0;
    std::vector<Creation> creations_;
    Outcomes outcomes_;
};

/// Lets two servers complete the same recurring reminder at the same time, over and over. One must
/// be completed, and one must follow: lost is whatever differs. With `mayMiss` a server may say
/// that it finds none.
Record completeTogether(const support::ChildProcess::Options& options, const Home& home,
                        bool mayMiss, const std::atomic<bool>& isOver);

} // namespace velmiro::neighbours
