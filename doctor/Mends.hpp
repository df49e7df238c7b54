#pragma once

#include <string>
#include <vector>

/// Commands for a shell that mend what people do wrong. None of them overwrites or deletes a file:
/// `rm` is only used on links, `rmdir` refuses a folder that is not empty.
namespace velmiro::doctor {

/// Links `path` to `target`, and creates the folder above it first if it is missing. An old link of
/// that name is replaced.
std::string linkCommand(const std::string& target, const std::string& path);

/// Removes a link.
std::string unlinkCommand(const std::string& link);

/// Turns a link to one collection into a folder that holds this link. With `foldersToo`, the
/// folders in the collection are linked beside it. Works for a missing root as well.
std::string wrapCommand(const std::string& root, bool isThere, const std::string& target,
                        bool foldersToo);

/// Moves files directly in a root into a new folder in it. `names` are those of the files, or some
/// of them; `count` is how many there are.
std::string gatherCommand(const std::string& root, const std::string& newFolder,
                          const std::vector<std::string>& names, std::size_t count);

/// Replaces a root that holds only empty folders by a link, which is in it by mistake. `link` and
/// `folders` are relative to the root.
std::string replaceRootCommand(const std::string& root, const std::string& link,
                               const std::vector<std::string>& folders, const std::string& target);

/// Replaces a link in a root by links to all folders that it leads to. `link` is relative to the
/// root.
std::string spreadCommand(const std::string& root, const std::string& link,
                          const std::string& target);

/// Moves a folder, or what a link leads to, to another name.
std::string moveCommand(const std::string& path, bool isLink, const std::string& target,
                        const std::string& newPath);

/// Makes a file or folder accessible to the user who runs this: `rights` as chmod takes them, or
/// its ownership if it is another user's.
std::string rightsCommand(const std::string& path, const std::string& rights);

/// Returns a command for a file that cannot be read: one that mends it, or one that shows what it
/// is.
std::string fileCommand(const std::string& path);

/// Gives all files with a wrong ending the right one.
std::string renameCommand(const std::string& folder, const std::string& wrong,
                          const std::string& right);

/// Returns a name that is not hidden.
std::string withoutDots(const std::string& name);

/// Returns a path in the folder that does not exist yet: the name itself, or `name-2`.
std::string freePath(const std::string& folder, const std::string& name);

} // namespace velmiro::doctor
