#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace velmiro::test {

/// Returns the bytes of each file in a folder and its subfolders, by path; a folder has none. Two
/// snapshots are equal if nothing has changed in between. A missing folder has no entries.
std::map<std::string, std::string> snapshot(const std::filesystem::path& folder);

} // namespace velmiro::test
