#include "velmiro_mcp/platform/local/files/Vdir.hpp"

#include "MCPStdio/text/UTF8.hpp"
#include "velmiro_mcp/base/Text.hpp"
#include "velmiro_mcp/platform/local/files/FileCreation.hpp"
#include "velmiro_mcp/platform/local/files/RootCreation.hpp"
#include "velmiro_mcp/platform/local/files/SystemError.hpp"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <sys/stat.h>

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

std::string titleOf(const std::string& path, const std::string& folder) {
    constexpr std::size_t longestTitle = 4096;
    const auto written = readRegularFile(path + "/displayname", longestTitle);
    std::string title{trim(written.value_or(""))};
    if (title.empty()) {
        title = trim(folder);
    }
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

Collection Vdir::firstCollection() const {
    return {firstCollection_, path_ + "/" + firstCollection_, firstCollection_};
}

bool Vdir::isFirstOfMissingRoot(const std::string& folder) const {
    return folder == firstCollection_ && isMissing(path_);
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
        if (isLink) {
            return Collection{folder, path, MCPStdio::repairUTF8(folder)};
        }
        return isFirstOfMissingRoot(folder) ? std::optional{firstCollection()} : std::nullopt;
    }
    if (!S_ISDIR(about.st_mode)) {
        return std::nullopt;
    }
    return Collection{folder, path, titleOf(path, folder)};
}

std::vector<Collection> Vdir::collections() const {
    const auto root = openFolderIfThere(path_);
    if (!root) {
        return {firstCollection()};
    }
    std::vector<Collection> found;
    for (const std::string& name : root->visibleNames()) {
        if (auto one = collection(name)) {
            found.push_back(std::move(*one));
        }
    }
    return found;
}

std::optional<Collection> Vdir::firstWritable() const {
    auto all = collections();
    const auto first = std::ranges::find_if(all, [this](const Collection& one) {
        // In this order, or a root that is created in between would have no such collection.
        return isFirstOfMissingRoot(one.folder) || isWritableFolder(one.path);
    });
    return first == all.end() ? std::nullopt : std::optional{std::move(*first)};
}

/// Creates an item in a folder of this name and title. Throws nothing: a root that was made for the
/// item has to be removed if there is no item.
std::error_code Vdir::createIn(const RootCreation& creation, const std::string& folder,
                               const std::string& title, const std::string& name,
                               std::string_view contents) const noexcept {
    try {
        // The title is compared because a root that appeared meanwhile may have another collection
        // in a folder of this name.
        const auto found = creation.isMade ? std::optional{firstCollection()} : collection(folder);
        return found && found->title == title
                   ? createFile(found->path, name, contents)
                   : std::make_error_code(std::errc::no_such_file_or_directory);
    } catch (const std::system_error& error) {
        return error.code();
    } catch (const std::exception&) {
        return std::make_error_code(std::errc::not_enough_memory);
    }
}

std::error_code Vdir::createItem(const std::string& folder, const std::string& title,
                                 const std::string& name, std::string_view contents) const {
    const bool mayCreateRoot = folder == firstCollection_ && title == firstCollection_;
    // Repeated if another process removes the root that it made, because its own item failed.
    constexpr int tries = 100;
    const NewRoot root{path_, firstCollection_};
    std::error_code error;
    for (int attempt = 0; attempt < tries; ++attempt) {
        RootCreation creation;
        if (mayCreateRoot && isMissing(path_)) {
            creation = createRoot(root);
            if (creation.error) {
                return creation.error;
            }
        }
        error = createIn(creation, folder, title, name, contents);
        if (error && creation.isMade) {
            removeEmpty(root);
        }
        const bool isGone = error == std::errc::no_such_file_or_directory;
        if (!isGone || !mayCreateRoot || !isMissing(path_)) {
            break;
        }
    }
    return error;
}

std::vector<std::string> Vdir::items(const OpenFolder& collection, std::string_view ending) {
    auto names = collection.visibleNames();
    std::erase_if(names, [&](const std::string& name) { return !name.ends_with(ending); });
    return names;
}

} // namespace velmiro::local
