#pragma once

#include "velmiro_mcp/platform/local/contacts/VCardLines.hpp"
#include "velmiro_mcp/ports/ContactStore.hpp"

#include <string>
#include <string_view>

/// One card, read line by line.
namespace velmiro::local {

struct StoredContact {
    Contact contact;
    std::string words; ///< the words that a NameQuery is matched against
};

class VCard {
public:
    /// Reads a line with the property `name`. The lines must come in the order of the card; most
    /// are ignored.
    void take(std::string_view name, std::string_view foldedLine);

    [[nodiscard]] bool isGroup() const { return isGroup_; }

    /// Returns the contact. Its identifier is empty if the card has none.
    StoredContact finish();

private:
    void readVersion(std::string_view value);
    void readName(std::string_view value);
    void readFormattedName(std::string_view value);
    void readNickname(std::string_view value);
    void readOrganization(std::string_view value);
    void readAddress(std::string_view value);
    void readNumber(std::string_view value);
    void readIdentifier(std::string_view value);
    void readKind(std::string_view value);
    void readShownAs(std::string_view value);
    void addSearchWords(std::string_view name);

    Contact contact_;
    std::string words_;
    std::string formattedName_;
    Folding folding_ = Folding::addsBlank;
    bool hasName_ = false;
    bool isCompany_ = false;
    bool isGroup_ = false;
};

} // namespace velmiro::local
