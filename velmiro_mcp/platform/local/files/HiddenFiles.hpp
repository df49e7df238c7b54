#pragma once

#include "velmiro_mcp/platform/local/files/Files.hpp"

#include <string>
#include <string_view>
#include <system_error>

#include <sys/types.h>

/// The hidden files that some changes need for a moment. Readers of calendar folders ignore names
/// that begin with a dot.
///
/// The creator of a new file holds a lock on it, which the kernel releases if the creator dies: a
/// file that can be locked is a leftover. A file set aside during a swap may be another program's.
/// So it is a leftover only if the process in its name no longer exists, and if it holds one of the
/// two versions in its name. A third version, which a crash during a conflict can leave, stays.
namespace velmiro::local {

/// Writes all of `contents` and flushes it to disk.
std::error_code writeAll(const Descriptor& file, std::string_view contents);

/// A new hidden file with all of `contents` on the disk. Its name is removed with this object; to
/// keep the file, link or rename it.
class HiddenFile {
public:
    /// The folder must outlive this object.
    HiddenFile(const Descriptor& folder, std::string_view contents, mode_t mode);
    HiddenFile(const HiddenFile&) = delete;
    HiddenFile& operator=(const HiddenFile&) = delete;
    ~HiddenFile();

    /// Returns why the file is missing or incomplete, if it is.
    [[nodiscard]] std::error_code error() const { return error_; }
    [[nodiscard]] const std::string& name() const { return name_; }
    [[nodiscard]] int descriptor() const { return file_.get(); }

private:
    const Descriptor& folder_;
    std::string name_;
    Descriptor file_;
    std::error_code error_;
};

/// Returns a new name for setting aside a file that is one of two versions.
std::string asideName(std::string_view oneVersion, std::string_view otherVersion);

/// Removes what processes that died have left in a folder.
void removeLeftovers(const Descriptor& folder);

} // namespace velmiro::local
