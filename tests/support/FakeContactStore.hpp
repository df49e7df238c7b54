#pragma once

#include "velmiro_mcp/AppleTools/AppleTools.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace velmiro::test {

/// A platform with an address book in memory. It records every call, and a test sets its results
/// and failures. Calls may come from several threads at the same time.
class FakeContacts {
public:
    std::vector<std::string> journal;
    ContactsAuthorizationStatus access = ContactsAuthorizationStatus::authorized;
    std::vector<Contact> found;
    std::string searchError; ///< if not empty, searching fails with this text

    /// Returns the platform to be given to a tool. This object must outlive it.
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
