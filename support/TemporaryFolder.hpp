#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace velmiro::support {

/// A new folder, removed with everything in it when this object is destroyed.
class TemporaryFolder {
public:
    /// The path of a local socket has at most 103 bytes: a folder that is to hold one is made
    /// in /tmp, since TMPDIR may be long. Throws std::system_error.
    explicit TemporaryFolder(
        const std::filesystem::path& parent = std::filesystem::temp_directory_path());
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

    /// Returns the path of a file in it.
    [[nodiscard]] std::string operator/(std::string_view name) const;

    /// Writes a file, and creates the folders it is in. Throws std::runtime_error.
    void write(const std::filesystem::path& name, std::string_view content) const;

private:
    std::filesystem::path path_;
};

} // namespace velmiro::support
