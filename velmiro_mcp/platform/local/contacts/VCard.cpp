#include "velmiro_mcp/platform/local/contacts/VCard.hpp"

#include "velmiro_mcp/base/Text.hpp"
#include "velmiro_mcp/platform/local/contacts/NameQuery.hpp"
#include "velmiro_mcp/platform/local/libraries/UnicodeText.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace velmiro::local {
namespace {

/// Returns a value without escapes, on one line, and without white space around it.
std::string plainText(std::string_view escaped) {
    std::string text = unescapedText(escaped);
    std::ranges::replace_if(
        text, [](char letter) { return (letter >= '\0' && letter < ' ') || letter == '\x7F'; },
        ' ');
    return std::string{trim(text)};
}

/// Returns the parts of a value between separators that no backslash escapes.
std::vector<std::string_view> split(std::string_view value, char separator) {
    std::vector<std::string_view> parts;
    std::size_t begin = 0;
    for (std::size_t index = 0; index < value.size(); ++index) {
        if (value[index] == '\\') {
            ++index;
        } else if (value[index] == separator) {
            parts.push_back(value.substr(begin, index - begin));
            begin = index + 1;
        }
    }
    parts.push_back(value.substr(std::min(begin, value.size())));
    return parts;
}

/// Returns the values of one component, joined with spaces as a reader would say them.
std::string joinedValues(std::string_view component) {
    std::string text;
    for (const std::string_view value : split(component, ',')) {
        const std::string plain = plainText(value);
        text += text.empty() || plain.empty() ? "" : " ";
        text += plain;
    }
    return text;
}

bool takeScheme(std::string_view& uri, std::string_view scheme) {
    const bool has = sameWord(uri.substr(0, scheme.size()), scheme);
    uri.remove_prefix(has ? scheme.size() : 0);
    return has;
}

/// Returns the number of a `tel` URI (RFC 3966) as it is dialled, with its extension but no other
/// parameter. Returns any other value unchanged.
std::string numberOf(std::string_view value) {
    if (!takeScheme(value, "tel:")) {
        return std::string{value};
    }
    const auto pieces = split(value, ';');
    std::string number{pieces.front()};
    for (std::string_view piece : pieces) {
        if (takeScheme(piece, "ext=") && !piece.empty()) {
            number.append(" ext. ").append(piece);
        }
    }
    return number;
}

std::string addressOf(std::string_view value) {
    takeScheme(value, "mailto:");
    return std::string{value};
}

void add(std::vector<std::string>& list, std::string value) {
    if (!value.empty()) {
        list.push_back(std::move(value));
    }
}

} // namespace

void VCard::take(std::string_view name, std::string_view foldedLine) {
    using Read = void (VCard::*)(std::string_view);
    static constexpr std::array<std::pair<std::string_view, Read>, 11> properties{{
        {"VERSION", &VCard::readVersion},
        {"N", &VCard::readName},
        {"FN", &VCard::readFormattedName},
        {"NICKNAME", &VCard::readNickname},
        {"ORG", &VCard::readOrganization},
        {"EMAIL", &VCard::readAddress},
        {"TEL", &VCard::readNumber},
        {"UID", &VCard::readIdentifier},
        {"KIND", &VCard::readKind},
        {"X-ADDRESSBOOKSERVER-KIND", &VCard::readKind},
        {"X-ABSHOWAS", &VCard::readShownAs},
    }};
    const auto* const property = std::ranges::find_if(
        properties, [&](const auto& known) { return sameWord(known.first, name); });
    if (property == properties.end()) {
        return;
    }
    if (const auto value = valueOf(foldedLine, folding_)) {
        (this->*property->second)(*value);
    }
}

StoredContact VCard::finish() {
    const bool isCompany = isCompany_ || formattedName_ == contact_.organization;
    if (isCompany && contact_.organization.empty()) {
        contact_.organization = formattedName_;
    } else if (!isCompany && !hasName_) {
        contact_.givenName = formattedName_;
    }
    addSearchWords(contact_.organization);
    return {std::move(contact_), std::move(words_)};
}

void VCard::readVersion(std::string_view value) {
    folding_ = plainText(value) == "2.1" ? Folding::keepsBlank : Folding::addsBlank;
}

/// Reads the family, given and additional names. The titles before and after them are ignored.
void VCard::readName(std::string_view value) {
    auto components = split(value, ';');
    components.resize(3);
    const std::string family = joinedValues(components[0]);
    const std::string given = joinedValues(components[1]);
    if (!std::exchange(hasName_, true)) {
        contact_.familyName = family;
        contact_.givenName = given;
    }
    addSearchWords(family);
    addSearchWords(given);
    addSearchWords(joinedValues(components[2]));
    if (isWrittenWithoutBlanks(family) && isWrittenWithoutBlanks(given)) {
        addSearchWords(family + given);
    }
}

void VCard::readFormattedName(std::string_view value) {
    const std::string name = plainText(value);
    if (formattedName_.empty()) {
        formattedName_ = name;
    }
    addSearchWords(name);
}

void VCard::readNickname(std::string_view value) {
    addSearchWords(joinedValues(value));
}

/// Reads the first component; the others are units of the organization.
void VCard::readOrganization(std::string_view value) {
    if (contact_.organization.empty()) {
        contact_.organization = plainText(split(value, ';').front());
    }
}

void VCard::readAddress(std::string_view value) {
    add(contact_.emails, addressOf(plainText(value)));
}

void VCard::readNumber(std::string_view value) {
    add(contact_.phones, numberOf(plainText(value)));
}

void VCard::readIdentifier(std::string_view value) {
    if (contact_.identifier.empty()) {
        contact_.identifier = plainText(value);
    }
}

void VCard::readKind(std::string_view value) {
    const std::string kind = plainText(value);
    isGroup_ = isGroup_ || sameWord(kind, "group");
    isCompany_ = isCompany_ || sameWord(kind, "org");
}

void VCard::readShownAs(std::string_view value) {
    isCompany_ = isCompany_ || sameWord(plainText(value), "COMPANY");
}

void VCard::addSearchWords(std::string_view name) {
    constexpr std::size_t mostBytes = 16UL << 10; // a name takes a thousandth of this
    if (words_.size() < mostBytes) {
        appendWords(words_, name);
    }
}

} // namespace velmiro::local
