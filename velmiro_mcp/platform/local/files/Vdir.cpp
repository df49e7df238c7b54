#include "velmiro_mcp/platform/local/files/Vdir.hpp"

#include "MCPStdio/text/UTF8.hpp"
#include "velmiro_mcp/platform/local/files/SystemError.hpp"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace velmiro::local {
namespace {

/// Returns whether the name exists, even as a dangling link.
bool exists(const std::string& path) {
    struct stat about{};
    if (lstat(path.c_str(), &about) == 0) {
        return true;
    }
    const std::error_code error = lastError();
    if (!isAboutTheFile(error)) {
        throw std::system_error{error};
    }
    return false;
}

/// Returns whether it is a dangling symbolic link.
bool isDanglingLink(const std::string& path) {
    struct stat about{};
    const bool leadsToNothing =
        stat(path.c_str(), &about) != 0 && (errno == ENOENT || errno == ELOOP);
    return leadsToNothing && exists(path);
}

std::string trimmed(const std::string& text) {
    constexpr std::string_view blanks = " \t\r\n\v\f";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string titleOf(const std::string& path, const std::string& folder) {
    constexpr std::size_t longestTitle = 4096;
    const auto written = readRegularFile(path + "/displayname", longestTitle);
    const std::string title = written ? trimmed(*written) : std::string{};
    return MCPStdio::repairUTF8(title.empty() ? folder : title);
}

} // namespace

bool Vdir::isAccessible() const {
    try {
        std::string path = path_;
        while (!exists(path)) {
            path = parentOf(path);
        }
        return isWritableFolder(path) || isDanglingLink(path);
    } catch (const std::system_error&) {
        return true; // the user's rights were not the reason
    }
}

void Vdir::makeIfMissing(const std::string& firstCollection) const {
    if (exists(path_) || !makeFolders(parentOf(path_))) {
        return;
    }
    // Created under another name and then renamed: no program sees a root without a collection,
    // which would mean that the user wants none.
    const std::string prepared = parentOf(path_) + "/.velmiro-new";
    const std::string collection = prepared + "/" + firstCollection;
    if (!makeFolders(collection) || exists(path_) || rename(prepared.c_str(), path_.c_str()) != 0) {
        rmdir(collection.c_str());
        rmdir(prepared.c_str());
    } else {
        flushFolder(parentOf(path_));
    }
}

std::optional<Collection> Vdir::collection(const std::string& folder) const {
    const std::string path = path_ + "/" + folder;
    const bool isName =
        !folder.empty() && !folder.starts_with('.') && folder.find('/') == std::string::npos;
    if (!isName) {
        return std::nullopt;
    }
    // One call decides, two for a link: files come and go between calls.
    struct stat about{};
    bool isFound = lstat(path.c_str(), &about) == 0;
    const bool isLink = isFound && S_ISLNK(about.st_mode);
    if (isLink) {
        isFound = stat(path.c_str(), &about) == 0;
    }
    if (!isFound) {
        const std::error_code error = lastError();
        if (!isAboutTheFile(error)) {
            throw std::system_error{error};
        }
        return isLink ? std::optional{Collection{folder, path, MCPStdio::repairUTF8(folder)}}
                      : std::nullopt;
    }
    if (!S_ISDIR(about.st_mode)) {
        return std::nullopt;
    }
    return Collection{folder, path, titleOf(path, folder)};
}

std::vector<Collection> Vdir::collections() const {
    std::vector<Collection> found;
    for (const std::string& name : OpenFolder{path_}.visibleNames()) {
        if (auto one = collection(name)) {
            found.push_back(std::move(*one));
        }
    }
    return found;
}

std::vector<std::string> Vdir::items(const OpenFolder& collection, std::string_view ending) {
    auto names = collection.visibleNames();
    std::erase_if(names, [&](const std::string& name) { return !name.ends_with(ending); });
    return names;
}

} // namespace velmiro::local
