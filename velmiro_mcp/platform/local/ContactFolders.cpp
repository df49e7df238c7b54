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

    /// False when there is no such file. `name` is the file's name from the root on.
    bool readFile(const std::string& path, const std::string& name) {
        const auto file = cache_.read(
            path, largestFile, [&](std::string bytes) { return read_(std::move(bytes), name); });
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

    void readFolder(const std::string& path, const std::string& folder) {
        for (const std::string& name : visibleNames(path).value_or(std::vector<std::string>{})) {
            if (isCardFile(name)) {
                readFile(path + '/' + name, folder + '/' + name);
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
    const auto names = visibleNames(path_);
    if (!names && errno != ENOENT) {
        throw PlatformError{"the contacts cannot be read: " +
                            std::generic_category().message(errno)};
    }
    Search search{query, cache_, read_};
    for (const std::string& name : names.value_or(std::vector<std::string>{})) {
        const std::string path = path_ + '/' + name;
        if (!isCardFile(name) || !search.readFile(path, name)) {
            search.readFolder(path, name);
        }
    }
    return search.take();
}

} // namespace velmiro::local
