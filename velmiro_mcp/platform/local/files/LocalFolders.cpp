#include "velmiro_mcp/platform/local/files/LocalFolders.hpp"

#include <cstdlib>
#include <vector>

#include <pwd.h>
#include <unistd.h>

namespace velmiro::local {
namespace {

std::string accountHome() {
    constexpr std::size_t enoughForMost = 16'384;
    std::vector<char> buffer(enoughForMost);
    passwd account{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &account, buffer.data(), buffer.size(), &found) != 0 ||
        found == nullptr || found->pw_dir == nullptr || *found->pw_dir != '/') {
        return {};
    }
    return found->pw_dir;
}

std::string homeDirectory() {
    const char* const home = std::getenv("HOME");
    std::string folder = home != nullptr && *home == '/' ? home : accountHome();
    while (folder.ends_with('/')) {
        folder.pop_back();
    }
    return folder;
}

} // namespace

std::string supportFolder() {
    return homeDirectory() + "/Library/Application Support";
}

std::string dataFolder(std::string_view name) {
    return supportFolder() + "/Velmiro/" + std::string{name};
}

} // namespace velmiro::local
