#include "tests/support/Snapshot.hpp"

#include "support/Files.hpp"

namespace velmiro::test {

namespace fs = std::filesystem;

std::map<std::string, std::string> snapshot(const fs::path& folder) {
    std::map<std::string, std::string> files;
    if (!fs::exists(folder)) {
        return files;
    }
    for (const auto& entry : fs::recursive_directory_iterator{folder}) {
        files[entry.path().string()] =
            entry.is_regular_file() ? support::readFile(entry.path()) : std::string{};
    }
    return files;
}

} // namespace velmiro::test
