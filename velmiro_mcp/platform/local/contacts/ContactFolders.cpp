#include "velmiro_mcp/platform/local/contacts/ContactFolders.hpp"

#include "MCPStdio/text/UTF8.hpp"
#include "velmiro_mcp/ports/ContactStore.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include <cerrno>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>
#include <unordered_set>
#include <utility>

#include <sys/stat.h>

namespace velmiro::local {
namespace {

/// Calls `read`, and reports its failure as one of reading `what`.
template <typename Read>
void reading(const std::string& what, const Read& read) {
    try {
        read();
    } catch (const std::system_error& error) {
        throw PlatformError{what + " cannot be read: " + error.code().message()};
    }
}

/// Opens a folder of cards. Returns `nullopt` if the path names a file, or no longer exists.
std::optional<OpenFolder> openCollection(const std::string& path) {
    try {
        return openFolderIfThere(path);
    } catch (const std::system_error& error) {
        if (error.code().value() == ENOTDIR) {
            return std::nullopt;
        }
        throw;
    }
}

bool isCardFile(std::string_view name) {
    return name.ends_with(".vcf");
}

/// The results of one search, collected file by file.
class Search {
public:
    Search(const NameQuery& query, ContactCache& cache, ContactFolders::Read read)
        : query_{query},
          cache_{cache},
          read_{read} {}

    /// Reads a file of cards. Returns false if there is none that can be read. `prefix` is the path
    /// from the root to the file's name.
    bool readFile(ContactCache::Reader& reader, const std::string& name,
                  const std::string& prefix) {
        const auto file = reader.read(name, largestItem, [&](std::string bytes) {
            return read_(std::move(bytes), prefix + name);
        });
        if (!file) {
            return false;
        }
        for (const StoredContact& stored : file->contacts) {
            if (query_.matches(stored.words) && seen_.insert(stored.contact.identifier).second) {
                found_.push_back(stored.contact);
            }
        }
        return true;
    }

    void readFolder(const OpenFolder& root, const std::string& name) {
        const auto folder = openCollection(root.path() + '/' + name);
        if (!folder) {
            return;
        }
        ContactCache::Reader reader{cache_, *folder};
        for (const std::string& file : folder->visibleNames()) {
            if (isCardFile(file)) {
                readFile(reader, file, name + '/');
            }
        }
        reader.forgetOthers();
    }

    /// Reads files, and folders of files. Any entry but a file of cards counts as a folder, unless
    /// it is named like a file of cards: a dangling link is then a missing folder, or a missing
    /// file.
    void readRoot(const OpenFolder& root) {
        ContactCache::Reader reader{cache_, root};
        for (const std::string& name : root.visibleNames()) {
            const bool isRead = isCardFile(name) && readFile(reader, name, {});
            if (!isRead && (!isCardFile(name) || isFolder(root.path() + '/' + name))) {
                reading("the contacts in ‘" + MCPStdio::repairUTF8(name) + "’",
                        [&] { readFolder(root, name); });
            }
        }
        reader.forgetOthers();
    }

    std::vector<Contact> take() { return std::move(found_); }

private:
    const NameQuery& query_;
    ContactCache& cache_;
    ContactFolders::Read read_;
    std::vector<Contact> found_;
    std::unordered_set<std::string> seen_;
};

/// Returns whether nothing has that name, or only a dangling link.
bool isMissingOrDangling(const std::string& path) {
    struct stat about{};
    return stat(path.c_str(), &about) != 0 && (errno == ENOENT || errno == ELOOP);
}

} // namespace

bool ContactFolders::isReadable() const {
    try {
        return isReadableFolder(path_) || isMissingOrDangling(path_);
    } catch (const std::system_error&) {
        return true; // the user's rights are not the cause
    }
}

std::vector<Contact> ContactFolders::matching(const NameQuery& query) const {
    Search search{query, cache_, read_};
    reading("the contacts", [&] {
        if (const auto root = openFolderIfThere(path_)) {
            search.readRoot(*root);
        }
    });
    return search.take();
}

} // namespace velmiro::local
