#pragma once

#include "support/Files.hpp"
#include "support/TemporaryFolder.hpp"

#include <cstdint>
#include <filesystem>
#include <random>
#include <string>

namespace velmiro::bench {

using support::writeFile;

/// A temporary home for generated data. HOME is set to the newest one.
class Home {
public:
    Home();

    [[nodiscard]] const std::filesystem::path& path() const { return folder_.path(); }

    /// Sets HOME to this one.
    void enter() const;

    /// Returns a folder of the server's data, such as Calendars/work, and creates it if needed.
    std::filesystem::path folder(const std::string& name) const;

    /// Waits until the files are on disk, and old enough that the server keeps what it parsed of
    /// them.
    void settle() const;

private:
    support::TemporaryFolder folder_;
};

/// Generates texts, the same in every run.
class Words {
public:
    /// Returns a number from 0 to `end` - 1. The standard distributions differ between libraries;
    /// this does not.
    std::size_t below(std::size_t end) { return random_() % end; }

    std::string word();

    /// Returns lines of at most seventy characters.
    std::string paragraph(std::size_t words, const char* lineEnd = "\n");

private:
    std::mt19937 random_{7};
};

} // namespace velmiro::bench
