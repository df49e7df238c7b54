#pragma once

#include "velmiro_mcp/platform/local/contacts/NameQuery.hpp"
#include "velmiro_mcp/platform/local/contacts/VCards.hpp"
#include "velmiro_mcp/platform/local/files/ParseCache.hpp"

#include <string>
#include <vector>

/// An address book: a folder of card files, and of folders of such files.
namespace velmiro::local {

using ContactCache = ParseCache<ContactFile>;

class ContactFolders {
public:
    using Read = ContactFile (*)(std::string bytes, const std::string& name);

    /// Touches no file yet. The cache must outlive this object.
    ContactFolders(std::string path, ContactCache& cache, Read read = readContactFile)
        : path_{std::move(path)},
          cache_{cache},
          read_{read} {}

    /// Returns whether the user's rights permit reading the address book; a missing one may be
    /// read. Any other fault is reported when it is read.
    [[nodiscard]] bool isReadable() const;

    /// Returns the contacts that match, in the order of the names of files and folders, byte by
    /// byte: a folder's contacts are in the position of the folder. Of several with the same UID,
    /// returns only the first. Throws PlatformError if the address book, or a folder in it, cannot
    /// be read.
    [[nodiscard]] std::vector<Contact> matching(const NameQuery& query) const;

private:
    std::string path_;
    ContactCache& cache_;
    Read read_;
};

} // namespace velmiro::local
