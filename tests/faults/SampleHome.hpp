#pragma once

#include "support/TemporaryFolder.hpp"

#include <filesystem>
#include <map>
#include <string>

namespace velmiro::test {

/// The data of a user, small and with something for every tool.
class SampleHome {
public:
    enum class Filling { full, empty };

    [[nodiscard]] const std::filesystem::path& path() const { return home_.path(); }
    [[nodiscard]] std::filesystem::path data() const;

    /// Makes the data what it is before a call, including the times of the files.
    void restore(Filling filling) const;

private:
    support::TemporaryFolder home_{"/tmp"};
};

/// What other programs see of a user's data: for each visible file its path and its contents, for
/// each folder its path. What differs from run to run, such as names made at random and times, is
/// replaced. Two equal states are the same to a user.
using VisibleState = std::map<std::string, int>; ///< how often there is each entry

/// Returns the state of a snapshot (see tests/support/Snapshot.hpp) of the data folder.
VisibleState visibleState(const std::map<std::string, std::string>& snapshot,
                          const std::filesystem::path& data);

/// Returns whether a change that was cut short has left the old state or the new one. Two states in
/// between count as old: a folder that was made for the first item and has none yet, which reads
/// like no folder; and a series of reminders that has its next one already, since the change
/// concerns two files, and a series must not end.
bool isOldOrNew(const VisibleState& found, const VisibleState& before, const VisibleState& after);

/// Returns the hidden files in a snapshot; folders of a Maildir are none.
std::map<std::string, std::string> hiddenFiles(const std::map<std::string, std::string>& snapshot);

} // namespace velmiro::test
