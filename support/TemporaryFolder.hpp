#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace velmiro::support {

/// A new folder, which is removed with everything in it on destruction.
class TemporaryFolder {
public:
    /// Creates the folder in `parent`. A folder that is to contain a local socket is best created
    /// in /tmp: the path of a socket has at most 103 bytes, and TMPDIR may be long. Throws
    /// std::system_error.
    explicit TemporaryFolder(
        const std::filesystem::path& parent = std::filesystem::temp_directory_path());
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

    /// Returns the path of a file in it.
    [[nodiscard]] std::string operator/(std::string_view name) const;

    /// Writes a file in it, and creates missing folders. Throws std::runtime_error.
    void write(const std::filesystem::path& name, std::string_view content) const;

private:
    std::filesystem::path path_;
};

} // namespace velmiro::support
