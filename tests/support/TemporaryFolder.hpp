#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>

namespace velmiro::test {

/// A new folder, removed with all that is in it at the end.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

    /// Writes a file, making the folders on its way.
    void write(const std::filesystem::path& name, std::string_view content) const;

private:
    std::filesystem::path path_;
};

/// The bytes of each file below a folder, by its path; what a comparison of before and after needs.
std::map<std::string, std::string> snapshot(const std::filesystem::path& folder);

std::string readFile(const std::filesystem::path& file);

/// Sets a variable of the environment (or removes it, given null), and puts it back at the end.
class ScopedVariable {
public:
    ScopedVariable(std::string name, const char* value);
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;
    ~ScopedVariable();

private:
    std::string name_;
    std::string old_;
    bool wasSet_;
};

} // namespace velmiro::test
