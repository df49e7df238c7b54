#pragma once

#include <atomic>
#include <filesystem>
#include <string>
#include <vector>

/// The other programs. Each owns some items of a folder and changes them, as fast as it can, while
/// servers change the same files. It then checks that its change is there.
namespace velmiro::neighbours {

/// What a program did, and what of it was not there afterwards.
struct Record {
    std::string name;
    unsigned long changes = 0;
    unsigned long lost = 0;
    std::vector<std::string> examples{}; ///< of what was lost, the first few
};

/// The items with these UIDs; each is in `folder`, in a file of that name.
struct Share {
    std::filesystem::path folder;
    std::vector<std::string> uids;
    const std::atomic<bool>& isOver;
};

// Each works until it is over.

/// Writes a hidden file and renames it over the item.
Record replaceItems(const Share& share);

/// Writes the number's digits into the open file.
Record writeInPlace(const Share& share);

/// Empties the file and writes it anew, in two parts.
Record rewriteInPlace(const Share& share);

/// Removes the item, looks that it stays away, and creates it anew.
Record deleteItems(const Share& share);

/// Reads all items, and counts as lost what is not whole. Of `excepted` UIDs, whose owners leave
/// halves themselves, nothing is read.
Record readItems(const Share& share, const std::vector<std::string>& excepted);

/// Delivers messages into a Maildir, moves them to `cur` and changes their flags.
Record moveMail(const std::filesystem::path& maildir, const std::atomic<bool>& isOver);

} // namespace velmiro::neighbours
