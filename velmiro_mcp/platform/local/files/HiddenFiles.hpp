#pragma once

#include "velmiro_mcp/platform/local/files/Files.hpp"

#include <string>
#include <string_view>
#include <system_error>

#include <sys/types.h>

/// The hidden files that a change passes through where it cannot do without: readers of calendar
/// folders pass over names that begin with a dot.
///
/// A new file's maker holds a lock on it, which the kernel takes back when the maker dies: one that
/// can be locked is a leftover. A file set aside during a swap may be another program's. So it is a
/// leftover only when the process that its name tells of is no more, and it holds one of the two
/// versions that its name tells of; a third one, which a crash in the very moment of a conflict can
/// leave, stays.
namespace velmiro::local {

/// Writes all of it, to the disk.
std::error_code writeAll(const Descriptor& file, std::string_view contents);

/// A new hidden file with all of `contents` on the disk. It goes with this object, unless it was
/// given another name.
class HiddenFile {
public:
    HiddenFile(const Descriptor& folder, std::string_view contents, mode_t mode);
    HiddenFile(const HiddenFile&) = delete;
    HiddenFile& operator=(const HiddenFile&) = delete;
    ~HiddenFile();

    /// Why it is not all there, if it is not.
    [[nodiscard]] std::error_code error() const { return error_; }
    [[nodiscard]] const std::string& name() const { return name_; }
    [[nodiscard]] int descriptor() const { return file_.get(); }

private:
    const Descriptor& folder_;
    std::string name_;
    Descriptor file_;
    std::error_code error_;
};

/// The name, in its folder, of a file set aside that is either of two versions.
std::string asideName(std::string_view oneVersion, std::string_view otherVersion);

/// Removes what makers that died have left.
void removeLeftovers(const Descriptor& folder);

} // namespace velmiro::local
