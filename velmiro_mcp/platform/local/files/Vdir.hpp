#pragma once

#include "velmiro_mcp/platform/local/files/Files.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

/// The vdir layout: a root folder, in it one folder per collection, in that one file per item.
namespace velmiro::local {

struct Collection {
    std::string folder; ///< its name in the root, as the file system has it
    std::string path;
    std::string title;       ///< the text of its file `displayname`, else its folder's name
    std::error_code error{}; ///< why it cannot be looked at: no rights, or a link to nothing
};

/// A root of collections. Nothing is kept; every question is answered from the folders. What cannot
/// be looked at for want of descriptors or memory, or on a failing disk, is thrown as
/// std::system_error.
class Vdir {
public:
    /// Nothing is touched yet.
    explicit Vdir(std::string path) : path_{std::move(path)} {}

    /// Whether the user's rights let the root be read and written; one that is missing, be made.
    /// What else may be wrong with it is said when it is read.
    [[nodiscard]] bool isAccessible() const;

    /// Where there is no root yet, makes it with one empty collection, both or neither.
    void makeIfMissing(const std::string& firstCollection) const;

    /// In the order of their folders' names, byte by byte. A symbolic link to a folder counts, and
    /// so does one that leads nowhere. Throws when the root cannot be read.
    [[nodiscard]] std::vector<Collection> collections() const;

    /// None when there is no such collection (any more).
    [[nodiscard]] std::optional<Collection> collection(const std::string& folder) const;

    /// The names of a collection's files with that ending, byte by byte in order.
    static std::vector<std::string> items(const OpenFolder& collection, std::string_view ending);

private:
    std::string path_;
};

} // namespace velmiro::local
