#pragma once

#include "velmiro_mcp/platform/local/files/Files.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The vdir layout: a root folder with one folder per collection, and in that one file per item.
namespace velmiro::local {

struct Collection {
    std::string folder; ///< its name in the root, as the file system has it
    std::string path;
    std::string title; ///< the text of its file `displayname`, else its folder's name
};

/// A root of collections. Keeps no state: each call reads the folders. Throws std::system_error if
/// descriptors or memory run out, or the disk fails.
class Vdir {
public:
    /// Does not access the path yet.
    explicit Vdir(std::string path) : path_{std::move(path)} {}

    /// Returns whether the user's rights allow reading and writing the root, or creating it if it
    /// is missing. Any other problem is reported when it is read.
    [[nodiscard]] bool isAccessible() const;

    /// If there is no root yet, creates it with one empty collection: both or neither.
    void makeIfMissing(const std::string& firstCollection) const;

    /// Returns all collections, in byte order of their folders' names. A symbolic link to a folder
    /// counts, and so does a dangling one, which cannot be opened. Throws std::system_error if the
    /// root cannot be read.
    [[nodiscard]] std::vector<Collection> collections() const;

    /// Returns the collection in a folder of the root; nullopt if there is none (any more).
    [[nodiscard]] std::optional<Collection> collection(const std::string& folder) const;

    /// Returns the names of a collection's files with that ending, in byte order.
    static std::vector<std::string> items(const OpenFolder& collection, std::string_view ending);

private:
    std::string path_;
};

} // namespace velmiro::local
