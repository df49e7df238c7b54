#pragma once

#include "velmiro_mcp/platform/local/files/Files.hpp"

#include <string>

#include <sys/types.h>

namespace velmiro::local {

/// One version of a file, held open: under whatever name it stands, and when no descriptor can be
/// had any more, it can be recognised and read again.
class FileVersion {
public:
    /// The version that a name in a folder leads to; a symbolic link is not followed. Throws
    /// std::system_error when it cannot be read, or is no regular file of a size that items have.
    FileVersion(const Descriptor& folder, const std::string& name);

    [[nodiscard]] const std::string& contents() const noexcept { return contents_; }
    [[nodiscard]] int descriptor() const noexcept { return file_.get(); }

    /// Whether the name is that of this very file, and nobody has written into it since. False when
    /// there is no such name. Throws std::system_error when that cannot be told.
    [[nodiscard]] bool isUnchangedAt(const Descriptor& folder, const std::string& name) const;

private:
    Descriptor file_;
    dev_t device_ = 0;
    ino_t inode_ = 0;
    std::string contents_;
};

} // namespace velmiro::local
