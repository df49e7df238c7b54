#pragma once

#include "support/TemporaryFolder.hpp"
#include "tests/failing_calls/Plan.hpp"

#include <cerrno>
#include <filesystem>
#include <map>
#include <string>

namespace velmiro::test {

/// Which calls of a program are to fail, and how.
struct Failures {
    std::uint32_t calls = 0; ///< families, as bits of `Call`
    int error = EIO;
    Effect effect = Effect::error;
    int skip = 0;             ///< calls that succeed first
    int count = 1;            ///< calls that fail then
    bool afterChange = false; ///< counting begins at the first exchange of two names, or the first
                              ///< rename to a name that is not hidden
    std::string part{};       ///< of a path; empty: all calls count
    std::string program{};    ///< the file name of the program whose calls count; empty: all
    int exchangeError = 0;    ///< of a file system that cannot exchange names
    int namelessError = 0;    ///< of a file system without nameless files
};

/// The library that makes calls fail in programs which run with its environment, and their
/// children. The failures can be changed while they run. Used by one thread.
class FailingCalls {
public:
    /// `library` is the path of the built library.
    explicit FailingCalls(std::string library);
    FailingCalls(const FailingCalls&) = delete;
    FailingCalls& operator=(const FailingCalls&) = delete;
    ~FailingCalls();

    /// Returns what to add to a program's environment.
    [[nodiscard]] std::map<std::string, std::string> environment() const;

    /// Lets calls fail from now on, and counts afresh.
    void arm(const Failures& failures);
    void disarm() { plan_->isArmed = false; }

    /// Return the number of calls of the families since they were armed, and how many of them were
    /// not left alone.
    [[nodiscard]] int counted() const { return plan_->counted; }
    [[nodiscard]] int failed() const { return plan_->failed; }

    /// Starts a record of changes to files, see tests/failing_calls/Record.hpp.
    void startRecord();
    /// Ends the record and returns it.
    [[nodiscard]] std::string takeRecord();

private:
    std::string library_;
    support::TemporaryFolder folder_;
    Plan* plan_ = nullptr;
};

} // namespace velmiro::test
