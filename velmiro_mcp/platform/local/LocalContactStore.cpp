#include "velmiro_mcp/platform/local/LocalStores.hpp"

#include "velmiro_mcp/platform/local/contacts/ContactFolders.hpp"
#include "velmiro_mcp/platform/local/files/LocalFolders.hpp"

#include <algorithm>
#include <semaphore>
#include <thread>

namespace velmiro::local {
namespace {

/// Returns the cache shared by all stores of this process. It is never destroyed.
ContactCache& sharedCache() {
    constexpr std::size_t mostMemory = 256UL << 20;
    static auto* const cache = new ContactCache{mostMemory};
    return *cache;
}

/// Limits concurrent searches to the number of processors. A search keeps one of them busy; more
/// would all take longer and slow down everything else.
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

/// Contacts as folders of vCard files. Each search reads the folders; ParseCache keeps the cards.
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
