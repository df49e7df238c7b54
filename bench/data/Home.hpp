#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <random>
#include <string>

namespace velmiro::bench {

/// A home for made-up data, gone with this object. HOME is set to the one made last.
class Home {
public:
    Home();
    Home(const Home&) = delete;
    Home& operator=(const Home&) = delete;
    ~Home();

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

    /// Sets HOME to this one.
    void enter() const;

    /// A folder of the server's data, such as Calendars/work; made when it is missing.
    std::filesystem::path folder(const std::string& name) const;

    /// Waits until the files are on the disk, and old enough to count as files that rest.
    void settle() const;

private:
    std::filesystem::path path_;
};

void writeFile(const std::filesystem::path& file, const std::string& text);

/// Made-up texts, the same in every run.
class Words {
public:
    /// A number from 0 to `end` - 1. Distributions differ between libraries; this does not.
    std::size_t below(std::size_t end) { return random_() % end; }

    std::string word();

    /// Lines of about seventy characters.
    std::string paragraph(std::size_t words, const char* lineEnd = "\n");

private:
    std::mt19937 random_{7};
};

} // namespace velmiro::bench
