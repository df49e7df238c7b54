#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace velmiro::local {

/// How the new version takes the place of the old one.
enum class Replacing {
    bySwap,   ///< so that what comes out can be looked at, and put back
    byRename, ///< where the file system cannot swap: what another program writes in the very moment
              ///< between the last look and the rename is lost
};

/// A busy disk may take seconds to write one change down: somebody who keeps a folder locked for
/// longer than this has forgotten it.
constexpr std::chrono::seconds folderPatience{30};

/// Puts `contents` in the place of a file that holds `expected`: whole or not at all, to the disk,
/// and never in the place of anything else. The mode of the file stays; where `path` is a symbolic
/// link, what it leads to is replaced.
///
/// Gives back zero; EAGAIN when the file held something else, which is then still there; ENOENT
/// when there was no file any more; EBUSY when another program keeps its folder locked (flock); or
/// the number of another error. Then nothing has changed.
///
/// A program that had the old version open, and writes into it later, writes into a file that has
/// no name any more: that cannot be seen from here. Programs that replace files are safe.
int replaceFile(const std::string& path, std::string_view expected, std::string_view contents);

/// The same in one of the two ways only.
int replaceFile(const std::string& path, std::string_view expected, std::string_view contents,
                Replacing how, std::chrono::milliseconds patience = folderPatience);

} // namespace velmiro::local
