#pragma once

#include "velmiro_mcp/platform/local/contacts/NameQuery.hpp"
#include "velmiro_mcp/platform/local/contacts/VCards.hpp"
#include "velmiro_mcp/platform/local/files/ParseCache.hpp"

#include <string>
#include <vector>

/// An address book: a folder of files of cards, and of folders of such files.
namespace velmiro::local {

using ContactCache = ParseCache<ContactFile>;

class ContactFolders {
public:
    using Read = ContactFile (*)(std::string bytes, const std::string& name);

    /// Nothing is touched yet. The cache must outlive this object.
    ContactFolders(std::string path, ContactCache& cache, Read read = readContactFile)
        : path_{std::move(path)},
          cache_{cache},
          read_{read} {}

    /// Whether the user's rights let it be read; one that is missing can. What else may be wrong
    /// with it is said when it is read.
    [[nodiscard]] bool isReadable() const;

    /// Those who are asked for, in the order of the names of files and folders, byte by byte: what
    /// a folder holds stands where the folder does. Of those with the same UID only the first.
    /// Throws PlatformError when it, or a folder in it, cannot be read.
    [[nodiscard]] std::vector<Contact> matching(const NameQuery& query) const;

private:
    std::string path_;
    ContactCache& cache_;
    Read read_;
};

} // namespace velmiro::local
