#pragma once

#include <string>
#include <system_error>
#include <utility>

namespace velmiro::local {

/// The paths of a root and of the one collection in it.
struct NewRoot {
    NewRoot(std::string root, const std::string& collectionName)
        : path{std::move(root)},
          collection{path + "/" + collectionName} {}

    std::string path;
    std::string collection;
};

/// The outcome of creating a root of collections.
struct RootCreation {
    bool isMade = false;   ///< by this call; false without an error if the name was taken
    std::error_code error; ///< set if there is no root
};

/// Creates a root with one empty collection, and any missing folders above it, unless the root's
/// name is taken. Root and collection appear in one step, flushed to disk: a program that sees the
/// root without a collection would take it that the user wants none. Several processes may do this
/// at the same time.
///
/// If the process is killed, both are there or neither, and at most an empty hidden folder, which
/// the next call uses. Throws std::system_error if memory runs out or the disk fails.
RootCreation createRoot(const NewRoot& root);

/// Removes a root and its collection if nothing is in them. Allocates nothing, because it undoes
/// what may have failed for lack of memory.
void removeEmpty(const NewRoot& root) noexcept;

} // namespace velmiro::local
