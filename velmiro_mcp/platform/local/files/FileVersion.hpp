#pragma once

#include "velmiro_mcp/platform/local/files/Files.hpp"

#include <string>

#include <sys/types.h>

namespace velmiro::local {

/// One version of a file, held open: it can be recognised and read again under any name, even if no
/// more descriptors are available.
class FileVersion {
public:
    /// Opens and reads the file of this name without following a symbolic link. Throws
    /// std::system_error if it cannot be read, is not a regular file, or is larger than
    /// `largestItem`.
    FileVersion(const Descriptor& folder, const std::string& name);

    [[nodiscard]] const std::string& contents() const noexcept { return contents_; }
    [[nodiscard]] int descriptor() const noexcept { return file_.get(); }

    /// Returns whether the name is that of this very file, not written to since; false if there is
    /// no such name. Throws std::system_error if it cannot be read.
    [[nodiscard]] bool isUnchangedAt(const Descriptor& folder, const std::string& name) const;

private:
    Descriptor file_;
    dev_t device_ = 0;
    ino_t inode_ = 0;
    std::string contents_;
};

} // namespace velmiro::local
