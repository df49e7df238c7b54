#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace velmiro::support {

/// Returns the bytes of a file; empty if it cannot be read.
std::string readFile(const std::filesystem::path& file);

/// Creates or overwrites a file in a folder that exists. Throws std::runtime_error.
void writeFile(const std::filesystem::path& file, std::string_view content);

} // namespace velmiro::support
