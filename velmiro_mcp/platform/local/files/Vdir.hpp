#pragma once

#include "velmiro_mcp/platform/local/files/Files.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

/// The vdir layout: a root folder with one folder per collection, and in that one file per item.
namespace velmiro::local {

struct RootCreation;

struct Collection {
    std::string folder; ///< its name in the root, as the file system has it
    std::string path;
    std::string title; ///< the text of its file `displayname`, else its folder's name
};

/// A root of collections. Keeps no state: each call reads the folders. Throws std::system_error if
/// descriptors or memory run out, or the disk fails.
///
/// Reading creates nothing. A missing root counts as holding one empty collection, which the first
/// item added to it creates together with the root. Until then, users may put a root of their own
/// there, such as a link to what another program keeps.
class Vdir {
public:
    /// `firstCollection` is the folder that a missing root counts as holding. Does not access the
    /// path yet.
    Vdir(std::string path, std::string firstCollection)
        : path_{std::move(path)},
          firstCollection_{std::move(firstCollection)} {}

    /// Returns whether the user's rights allow reading and writing the root, or creating it if it
    /// is missing. Any other problem is reported when it is read.
    [[nodiscard]] bool isAccessible() const;

    /// Returns all collections, in byte order of their folders' names. A symbolic link to a folder
    /// counts, and so does a dangling one, which cannot be opened. Throws std::system_error if the
    /// root cannot be read.
    [[nodiscard]] std::vector<Collection> collections() const;

    /// Returns the collection in a folder of the root; nullopt if there is none (any more).
    [[nodiscard]] std::optional<Collection> collection(const std::string& folder) const;

    /// Returns the first collection that can be written; nullopt if there is none.
    [[nodiscard]] std::optional<Collection> firstWritable() const;

    /// Creates a file in the collection that has this folder and this title, as `createFile` does.
    /// Returns `std::errc::no_such_file_or_directory` if there is no such collection (any more).
    /// Creates a missing root for its first collection, and leaves none behind after an error.
    [[nodiscard]] std::error_code createItem(const std::string& folder, const std::string& title,
                                             const std::string& name,
                                             std::string_view contents) const;

    /// Returns the names of a collection's files with that ending, in byte order.
    static std::vector<std::string> items(const OpenFolder& collection, std::string_view ending);

private:
    [[nodiscard]] Collection firstCollection() const;
    [[nodiscard]] bool isFirstOfMissingRoot(const std::string& folder) const;
    [[nodiscard]] std::error_code createIn(const RootCreation& creation, const std::string& folder,
                                           const std::string& title, const std::string& name,
                                           std::string_view contents) const noexcept;

    std::string path_;
    std::string firstCollection_;
};

} // namespace velmiro::local
