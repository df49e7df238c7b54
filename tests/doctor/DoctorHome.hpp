#pragma once

#include "support/TemporaryFolder.hpp"

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/// A home for the real doctor to look at.
namespace velmiro::doctor::test {

using support::TemporaryFolder;

std::string eventFile(std::string_view uid);
std::string reminderFile(std::string_view uid, bool isDone = false);
std::string cardFile(std::string_view name);

/// What one run of the doctor printed.
struct Printed {
    int status = -1;
    std::string output; ///< with $HOME instead of the home's path
    std::string errors;

    /// Returns the lines of a section, without its title.
    [[nodiscard]] std::string section(std::string_view title) const;
};

class DoctorHome {
public:
    DoctorHome();

    [[nodiscard]] std::filesystem::path path() const { return folder_.path() / "home"; }
    /// Returns the path of something in the folder with the server's data.
    [[nodiscard]] std::filesystem::path data(const std::filesystem::path& name) const;

    /// Write a file below the home, or into the server's data; missing folders are created.
    void write(const std::filesystem::path& name, std::string_view contents) const;
    void writeData(const std::filesystem::path& name, std::string_view contents) const;

    /// Make a link in the server's data: as `ln -s target name` does, with the target below the
    /// home, or any other.
    void link(const std::filesystem::path& target, const std::filesystem::path& name) const;
    void linkTo(const std::string& target, const std::filesystem::path& name) const;

    /// Creates calendars, reminders, contacts, notes and mail as other programs keep them below the
    /// home, and links all of them.
    void makeWell() const;

    /// From now on the doctor runs, and mends are pasted, as a user with no more rights than others:
    /// as nobody if this process is root's, who then owns the home. Returns false if that cannot
    /// be.
    [[nodiscard]] bool giveUpRights();

    /// Runs the doctor. Variables are added to those of a clean environment.
    [[nodiscard]] Printed run(const std::map<std::string, std::string>& variables = {},
                              const std::vector<std::string>& arguments = {}) const;

    /// Pastes every mend of a section into bash.
    void paste(const Printed& run, std::string_view section) const;

    /// Returns the path of the program that stands in for the interpreter of scripts.
    [[nodiscard]] std::filesystem::path interpreter() const;
    [[nodiscard]] std::filesystem::path program() const;
    [[nodiscard]] std::string socket() const { return (folder_.path() / "s").string(); }

private:
    std::vector<std::string> prefix_; ///< of all command lines
    TemporaryFolder folder_{"/tmp"};
};

/// The lines of a section before and after its mends.
struct Told {
    std::string before;
    std::string after;
};

/// Runs the doctor, who has something to mend, pastes the mends of a section, and runs it again.
Told mended(const DoctorHome& home, std::string_view section);

/// Returns everything that can be observed of a folder without reading a file: each name with its
/// kind, size, rights and times of change.
std::map<std::string, std::string> stampsIn(const std::filesystem::path& folder);

} // namespace velmiro::doctor::test
