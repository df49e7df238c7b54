#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <system_error>

namespace velmiro::local {

/// How a replacement ended.
struct Replacement {
    enum class End {
        done,     ///< the file has the new version, flushed to disk
        conflict, ///< the file held something else, or was gone; it is unchanged
        failed,   ///< the file is unchanged; `error` is the reason
        unknown,  ///< it is unknown which version the file has; `error` is the reason
    };

    End end = End::done;
    std::error_code error;
    std::string kept; ///< if unknown: the name of the other version, in the same folder, if any

    friend bool operator==(const Replacement&, const Replacement&) = default;
};

/// How the new version replaces the old one.
enum class Replacing {
    bySwap,   ///< exchanges the two, so that the old one can be checked and restored; renames if
              ///< the file system cannot exchange names
    byRename, ///< loses what another program renames into place after the last check
};

/// A busy disk may take seconds to write one change. A program that keeps a folder locked, or a
/// file open for writing, for longer than this has forgotten it.
constexpr std::chrono::seconds folderPatience{30};

/// Replaces a file that holds `expected` with one that holds `contents`: whole or not at all, and
/// flushed to disk. Never replaces any other version. Keeps the file's mode. Follows a symbolic
/// link and replaces its target.
///
/// Fails with EBUSY if another program keeps the folder locked (flock), or the file open for
/// writing, for longer than `patience`; with ENOMEM for want of memory. Throws nothing.
///
/// Removes only versions known to be one of the two given; if there is any doubt, both files stay.
Replacement replaceFile(const std::string& path, std::string_view expected,
                        std::string_view contents, Replacing how = Replacing::bySwap,
                        std::chrono::milliseconds patience = folderPatience);

} // namespace velmiro::local
