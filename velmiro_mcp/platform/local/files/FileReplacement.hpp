#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <system_error>

namespace velmiro::local {

/// How a replacement ended.
struct Replacement {
    enum class End {
        done,     ///< the new version is in place, on the disk
        conflict, ///< the file held something else, or was gone; that is as it was
        failed,   ///< the file is as it was; `error` says why
        unknown,  ///< it cannot be told which version is in place; `error` says why
    };

    End end = End::done;
    std::error_code error;
    std::string kept; ///< of an unknown end: the name, in the file's folder, of the other version

    friend bool operator==(const Replacement&, const Replacement&) = default;
};

/// How the new version takes the place of the old one.
enum class Replacing {
    bySwap,   ///< so that what comes out can be looked at, and put back; by rename where the file
              ///< system cannot swap
    byRename, ///< what another program writes in the very moment between the last look and the
              ///< rename is lost
};

/// A busy disk may take seconds to write one change down: somebody who keeps a folder locked, or
/// the file open for writing, for longer than this has forgotten it.
constexpr std::chrono::seconds folderPatience{30};

/// Puts `contents` in the place of a file that holds `expected`: whole or not at all, to the disk,
/// and never in the place of anything else. The mode of the file stays; where `path` is a symbolic
/// link, what it leads to is replaced.
///
/// Fails with EBUSY when another program keeps the folder locked (flock), or the file open for
/// writing, for longer than `patience`. Only a version known to be one of the two given is ever
/// removed: of any other, and where that cannot be told, both files stay.
Replacement replaceFile(const std::string& path, std::string_view expected,
                        std::string_view contents, Replacing how = Replacing::bySwap,
                        std::chrono::milliseconds patience = folderPatience);

} // namespace velmiro::local
