#include "tests/support/TemporaryFolder.hpp"

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <unistd.h>

namespace velmiro::test {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() {
    std::string name = (fs::temp_directory_path() / "velmiro-test-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error{"no temporary folder"};
    }
    path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

void TemporaryFolder::write(const fs::path& name, std::string_view content) const {
    const fs::path file = path_ / name;
    fs::create_directories(file.parent_path());
    std::ofstream{file, std::ios::binary} << content;
}

std::string readFile(const fs::path& file) {
    std::ifstream stream{file, std::ios::binary};
    return {std::istreambuf_iterator<char>{stream}, {}};
}

std::map<std::string, std::string> snapshot(const fs::path& folder) {
    std::map<std::string, std::string> files;
    if (!fs::exists(folder)) {
        return files;
    }
    for (const auto& entry : fs::recursive_directory_iterator{folder}) {
        files[entry.path().string()] =
            entry.is_regular_file() ? readFile(entry.path()) : std::string{};
    }
    return files;
}

ScopedVariable::ScopedVariable(std::string name, const char* value) : name_{std::move(name)} {
    const char* old = std::getenv(name_.c_str());
    wasSet_ = old != nullptr;
    old_ = wasSet_ ? old : "";
    if (value != nullptr) {
        ::setenv(name_.c_str(), value, 1);
    } else {
        ::unsetenv(name_.c_str());
    }
    ::tzset();
}

ScopedVariable::~ScopedVariable() {
    if (wasSet_) {
        ::setenv(name_.c_str(), old_.c_str(), 1);
    } else {
        ::unsetenv(name_.c_str());
    }
    ::tzset();
}

} // namespace velmiro::test
