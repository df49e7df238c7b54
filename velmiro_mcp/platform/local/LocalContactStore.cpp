#include "velmiro_mcp/platform/local/LocalStores.hpp"

#include "velmiro_mcp/platform/local/contacts/ContactFolders.hpp"
#include "velmiro_mcp/platform/local/files/LocalFolders.hpp"

#include <algorithm>
#include <semaphore>
#include <thread>

namespace velmiro::local {
namespace {

/// What the files say, for all stores of this process; never destroyed.
ContactCache& sharedCache() {
    constexpr std::size_t mostMemory = 256UL << 20;
    static auto* const cache = new ContactCache{mostMemory};
    return *cache;
}

/// A search keeps one processor busy. More of them at once than there are processors would all
/// take longer, and leave less to everything else.
class Permit {
public:
    Permit() { permits().acquire(); }
    Permit(const Permit&) = delete;
    Permit& operator=(const Permit&) = delete;
    ~Permit() { permits().release(); }

private:
    static std::counting_semaphore<>& permits() {
        static auto* const all = new std::counting_semaphore<>{
            std::max<std::ptrdiff_t>(std::thread::hardware_concurrency(), 1)};
        return *all;
    }
};

/// Files of cards. What a folder holds is looked up anew each time; see ParseCache for the files.
class LocalContactStore final : public ContactStore {
public:
    std::vector<Contact> contactsMatchingName(const std::string& query) override {
        const NameQuery asked{query};
        const Permit permit;
        return ContactFolders{dataFolder("Contacts"), sharedCache()}.matching(asked);
    }
};

} // namespace

ContactsAuthorizationStatus cardFoldersStatus() {
    return ContactFolders{dataFolder("Contacts"), sharedCache()}.isReadable()
               ? ContactsAuthorizationStatus::authorized
               : ContactsAuthorizationStatus::denied;
}

std::unique_ptr<ContactStore> openCardFolders() {
    return std::make_unique<LocalContactStore>();
}

} // namespace velmiro::local
