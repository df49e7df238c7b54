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

constexpr std::size_t largestFile = 32UL << 20;

/// Does what reads `what`, and has its failure speak of that.
template <typename Read>
void reading(const std::string& what, const Read& read) {
    try {
        read();
    } catch (const std::system_error& error) {
        throw PlatformError{what + " cannot be read: " + error.code().message()};
    }
}

/// A folder of cards; none when there is a file, or nothing any more.
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

/// What one search finds, as it goes from file to file.
class Search {
public:
    Search(const NameQuery& query, ContactCache& cache, ContactFolders::Read read)
        : query_{query},
          cache_{cache},
          read_{read} {}

    /// A file of cards. False when there is none that can be read. `place` is what comes before its
    /// name, from the root on.
    bool readFile(ContactCache::Reader& reader, const std::string& name,
                  const std::string& prefix) {
        const auto file = reader.read(name, largestFile, [&](std::string bytes) {
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
    }

    /// Files, and folders of files. What is no file of cards is taken for a folder, unless it is
    /// named like one: so a link that leads nowhere is an absent folder, or an absent file.
    void readRoot(const OpenFolder& root) {
        ContactCache::Reader reader{cache_, root};
        for (const std::string& name : root.visibleNames()) {
            const bool isRead = isCardFile(name) && readFile(reader, name, {});
            if (!isRead && (!isCardFile(name) || isFolder(root.path() + '/' + name))) {
                reading("the contacts in ‘" + MCPStdio::repairUTF8(name) + "’",
                        [&] { readFolder(root, name); });
            }
        }
    }

    std::vector<Contact> take() { return std::move(found_); }

private:
    const NameQuery& query_;
    ContactCache& cache_;
    ContactFolders::Read read_;
    std::vector<Contact> found_;
    std::unordered_set<std::string> seen_;
};

/// Whether there is nothing of that name, or a link that leads nowhere.
bool isMissingOrDangling(const std::string& path) {
    struct stat about{};
    return stat(path.c_str(), &about) != 0 && (errno == ENOENT || errno == ELOOP);
}

} // namespace

bool ContactFolders::isReadable() const {
    try {
        return isReadableFolder(path_) || isMissingOrDangling(path_);
    } catch (const std::system_error&) {
        return true; // it was not the user's rights that were in the way
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
