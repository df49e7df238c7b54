#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace velmiro::local {

/// Where a new file is written before it gets its name.
enum class Staging {
    nameless, ///< to a file without a name, which the kernel removes if this process dies
    hidden,   ///< to a hidden file, for file systems that have no files without names
};

/// Creates a file in a folder: whole or not at all, flushed to disk, and never replacing another.
///
/// Returns `std::errc::file_exists` if the name is taken. After any error there is no new file. If
/// the process is killed, the whole file is there or none, and at most a hidden file, which the
/// next call removes.
std::error_code createFile(const std::string& folder, const std::string& name,
                           std::string_view contents);

/// The names that a new file may get, in the order in which they are tried, numbered from zero;
/// nullopt after the last.
using NameChoices = std::function<std::optional<std::string>(int number)>;

/// Does the same under the first name that is not taken. The contents are written once.
std::error_code createFile(const std::string& folder, const NameChoices& names,
                           std::string_view contents);

/// Do the same with the given staging only; without it, the file system decides.
std::error_code createFile(const std::string& folder, const std::string& name,
                           std::string_view contents, Staging staging);
std::error_code createFile(const std::string& folder, const NameChoices& names,
                           std::string_view contents, Staging staging);

} // namespace velmiro::local
