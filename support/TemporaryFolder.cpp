#include "support/TemporaryFolder.hpp"

#include "support/Files.hpp"

#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <unistd.h>

namespace velmiro::support {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder(const fs::path& parent) {
    std::string name = (parent / "velmiro-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::system_error{errno, std::generic_category(), name};
    }
    path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string TemporaryFolder::operator/(std::string_view name) const {
    return (path_ / name).string();
}

void TemporaryFolder::write(const fs::path& name, std::string_view content) const {
    const fs::path file = path_ / name;
    fs::create_directories(file.parent_path());
    writeFile(file, content);
}

} // namespace velmiro::support
