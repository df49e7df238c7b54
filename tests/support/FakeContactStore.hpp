#pragma once

#include "velmiro_mcp/AppleTools/AppleTools.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace velmiro::test {

/// A platform whose address book is in memory: it writes down every call, and can be told what to
/// give and when to fail. Calls may come from several threads at once.
class FakeContacts {
public:
    std::vector<std::string> journal;
    ContactsAuthorizationStatus access = ContactsAuthorizationStatus::authorized;
    std::vector<Contact> found;
    std::string searchError; ///< when not empty, searching fails with this text

    /// What a tool is given. This object must outlive it.
    ContactsPlatform platform() {
        return {[this] {
                    note("authorizationStatus");
                    return access;
                },
                [this] {
                    note("openContactStore");
                    return std::make_unique<Store>(*this);
                }};
    }

private:
    class Store final : public ContactStore {
    public:
        explicit Store(FakeContacts& contacts) : contacts_{contacts} {}
        std::vector<Contact> contactsMatchingName(const std::string& query) override {
            contacts_.note("contactsMatchingName " + query);
            if (!contacts_.searchError.empty()) {
                throw PlatformError{contacts_.searchError};
            }
            return contacts_.found;
        }

    private:
        FakeContacts& contacts_;
    };

    void note(std::string call) {
        const std::scoped_lock lock{mutex_};
        journal.push_back(std::move(call));
    }

    std::mutex mutex_;
};

} // namespace velmiro::test
