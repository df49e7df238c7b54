#include "velmiro_mcp/platform/local/ContactFolders.hpp"

#include "velmiro_mcp/platform/Platform.hpp"

#include <cerrno>
#include <memory>
#include <string_view>
#include <system_error>
#include <unordered_set>
#include <utility>

#include <sys/stat.h>

namespace velmiro::local {
namespace {

constexpr std::size_t largestFile = 32UL << 20;

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
    bool readFile(ContactCache::Reader& reader, const std::string& name, const std::string& place) {
        const auto file = reader.read(name, largestFile, [&](std::string bytes) {
            return read_(std::move(bytes), place + name);
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

    void readFolder(const std::string& path, const std::string& name) {
        const OpenFolder folder{path};
        ContactCache::Reader reader{cache_, folder};
        for (const std::string& file : folder.visibleNames()) {
            if (isCardFile(file)) {
                readFile(reader, file, name + '/');
            }
        }
    }

    /// Files, and folders of files.
    void readRoot(const OpenFolder& root) {
        ContactCache::Reader reader{cache_, root};
        for (const std::string& name : root.visibleNames()) {
            if (!isCardFile(name) || !readFile(reader, name, {})) {
                readFolder(root.path() + '/' + name, name);
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

} // namespace

bool ContactFolders::isReadable() const {
    struct stat about{};
    const bool isMissing = lstat(path_.c_str(), &about) != 0 && errno == ENOENT;
    return isMissing || isReadableFolder(path_);
}

std::vector<Contact> ContactFolders::matching(const NameQuery& query) const {
    const OpenFolder root{path_};
    if (!root && errno != ENOENT) {
        throw PlatformError{"the contacts cannot be read: " +
                            std::generic_category().message(errno)};
    }
    Search search{query, cache_, read_};
    search.readRoot(root);
    return search.take();
}

} // namespace velmiro::local
