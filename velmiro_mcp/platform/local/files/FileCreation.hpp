#pragma once

#include <string>
#include <string_view>
#include <system_error>

namespace velmiro::local {

/// How a file comes to be before it has its name.
enum class Staging {
    nameless, ///< as a file without any name, which ends with this process
    hidden,   ///< as a hidden file, where the file system has no files without names
};

/// Adds a file to a folder: whole or not at all, to the disk, and never in the place of another.
///
/// Gives back why it could not, `std::errc::file_exists` when the name is taken; then there is no
/// new file. Killed at any moment, it leaves the whole file, or none, and at most a hidden file,
/// which the next call removes.
std::error_code createFile(const std::string& folder, const std::string& name,
                           std::string_view contents);

/// The same in one of the two ways only.
std::error_code createFile(const std::string& folder, const std::string& name,
                           std::string_view contents, Staging staging);

} // namespace velmiro::local
