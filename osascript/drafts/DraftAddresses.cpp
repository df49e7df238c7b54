#include "osascript/drafts/DraftAddresses.hpp"

#include "MCPStdio/text/UTF8.hpp"
#include "osascript/drafts/DraftHeader.hpp"
#include "osascript/message/GMime.hpp"
#include "velmiro_mcp/base/Text.hpp"

#include <algorithm>
#include <type_traits>

namespace velmiro::osascript {
namespace {

/// Sets a callback for what the parser doubts. Newer versions of the library also ask how to free
/// `data`, which the caller owns.
template <typename Set>
void setWarningCallback(Set set, GMimeParserOptions* options, GMimeParserWarningFunc warn,
                        gpointer data) {
    if constexpr (std::is_invocable_v<Set, GMimeParserOptions*, GMimeParserWarningFunc, gpointer,
                                      GDestroyNotify>) {
        set(options, warn, data, nullptr);
    } else {
        set(options, warn, data);
    }
}

/// Reads addresses in the strict manner; null unless all of the text was understood.
Owned<InternetAddressList> understood(const std::string& text) {
    g_mime_init();
    const Owned<GMimeParserOptions> options{g_mime_parser_options_new()};
    g_mime_parser_options_set_address_compliance_mode(options.get(), GMIME_RFC_COMPLIANCE_STRICT);
    bool isDoubtful = false;
    const auto warn = [](gint64, GMimeParserWarning, const gchar*, gpointer doubt) {
        *static_cast<bool*>(doubt) = true;
    };
    setWarningCallback(g_mime_parser_options_set_warning_callback, options.get(), warn,
                       &isDoubtful);
    Owned<InternetAddressList> list{internet_address_list_parse(options.get(), text.c_str())};
    return isDoubtful ? nullptr : std::move(list);
}

int lengthOf(InternetAddressList* list) {
    return list == nullptr ? 0 : internet_address_list_length(list);
}

/// Returns one of the addresses; nullopt if it is a group.
std::optional<Mailbox> mailboxAt(InternetAddressList* list, int index) {
    InternetAddress* const one = internet_address_list_get_address(list, index);
    if (!INTERNET_ADDRESS_IS_MAILBOX(one)) {
        return std::nullopt;
    }
    const char* const name = internet_address_get_name(one);
    const char* const address = internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(one));
    return Mailbox{name == nullptr ? "" : name, address == nullptr ? "" : address};
}

/// Some phones have addresses such as `a..b@example.org`, which strictly are none. Their dots
/// decide nothing about the text around them.
std::string withSingleDots(std::string_view text) {
    std::string single;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const char next = index + 1 < text.size() ? text[index + 1] : '\0';
        if (text[index] != '.' || (next != '.' && next != '@')) {
            single += text[index];
        }
    }
    return single;
}

/// Returns the index of the character that ends what begins at `open`: a quoted string, a comment
/// or a domain literal. Returns the size of the text if none does.
std::size_t closingIndex(std::string_view text, std::size_t open) {
    const char begin = text[open];
    const char end = begin == '(' ? ')' : begin == '[' ? ']' : begin;
    int depth = 1;
    for (std::size_t index = open + 1; index < text.size(); ++index) {
        if (text[index] == '\\') {
            ++index;
        } else if (text[index] == end && --depth == 0) {
            return index;
        } else if (begin == '(' && text[index] == '(') {
            ++depth;
        }
    }
    return text.size();
}

/// Returns whether all that a text opens is closed again, so that a comma after it separates. GMime
/// does not say so of every text.
bool isBalanced(std::string_view text) {
    constexpr std::string_view openers = "\"([";
    bool isInGroup = false;
    bool isInAngles = false;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const char letter = text[index];
        if (openers.find(letter) != std::string_view::npos) {
            index = closingIndex(text, index);
            if (index == text.size()) {
                return false;
            }
        } else if (letter == '<' || letter == '>') {
            if (isInAngles == (letter == '<')) {
                return false;
            }
            isInAngles = !isInAngles;
        } else if (!isInAngles && (letter == ':' || letter == ';')) {
            if (isInGroup == (letter == ':')) {
                return false;
            }
            isInGroup = !isInGroup;
        }
    }
    return !isInGroup && !isInAngles;
}

/// Returns whether a text is one or more addresses, of which none goes on after the text.
bool isClosed(std::string_view text) {
    return isBalanced(text) && lengthOf(understood(withSingleDots(text)).get()) > 0;
}

/// Returns the text without what only separates or quotes.
std::string bare(std::string_view text) {
    std::string letters{text};
    std::erase_if(letters,
                  [](char letter) { return letter == ' ' || letter == '"' || letter == '\\'; });
    return letters;
}

/// Returns the addresses in a text with their names encoded; nullopt if some of it would be lost.
std::optional<std::string> rewritten(const std::string& given) {
    const auto list = understood(given);
    std::string text;
    std::string meaning;
    for (int index = 0; index < lengthOf(list.get()); ++index) {
        const auto one = mailboxAt(list.get(), index);
        if (!one) {
            return std::nullopt;
        }
        const bool isAddress = one->address.find('@') != std::string::npos;
        const std::string address = isAddress ? one->address : phrase(one->address);
        text.append(text.empty() ? "" : ", ");
        meaning.append(meaning.empty() ? "" : ",");
        text += one->name.empty() ? address : phrase(one->name) + " <" + address + ">";
        meaning += one->name.empty() ? one->address : one->name + "<" + one->address + ">";
    }
    return bare(meaning) == bare(given) ? std::optional{text} : std::nullopt;
}

/// Returns whether a name holds what means something else without quotes, other than a comment.
bool needsQuotes(std::string_view name) {
    constexpr std::string_view specials = ",:;@[]\\)";
    for (std::size_t index = 0; index < name.size(); ++index) {
        if (name[index] == '(') {
            index = closingIndex(name, index);
            if (index == name.size()) {
                return true;
            }
        } else if (specials.find(name[index]) != std::string_view::npos) {
            return true;
        }
    }
    return false;
}

bool holdsAddress(std::string_view text) {
    constexpr std::string_view around = " ,;";
    for (std::size_t at = 1; at + 1 < text.size(); ++at) {
        if (text[at] == '@' && around.find(text[at - 1]) == std::string_view::npos &&
            around.find(text[at + 1]) == std::string_view::npos) {
            return true;
        }
    }
    return false;
}

/// Returns whether a name has others before it: an address before a separator, or a group.
bool beginsWithOthers(std::string_view name) {
    const std::size_t last = name.find_last_of(",;");
    const std::size_t group = std::min(name.find(':'), name.size());
    return last != std::string_view::npos &&
           (holdsAddress(name.substr(0, last)) || name.find(';', group) != std::string_view::npos);
}

/// Reads `Doe, John <a@b>`: a sole address after a name that lacks its quotes. Readers would take
/// it for several addresses, or for none. Returns nullopt for any other text.
std::optional<Mailbox> mailboxWithoutQuotes(std::string_view text) {
    const std::size_t open = text.find('<');
    if (open == std::string_view::npos || text.find_first_of("<>", open + 1) != text.size() - 1 ||
        !text.ends_with('>')) {
        return std::nullopt;
    }
    const auto name = trim(text.substr(0, open));
    const auto address = text.substr(open + 1, text.size() - open - 2);
    const bool isRead = std::ranges::count(address, '@') == 1 && needsQuotes(name) &&
                        name.find('"') == std::string_view::npos && !beginsWithOthers(name);
    return isRead ? std::optional{Mailbox{std::string{name}, std::string{address}}} : std::nullopt;
}

} // namespace

std::string recipientText(const Mailbox& recipient) {
    std::string given{trim(singleLine(recipient.address))};
    const std::string name{trim(singleLine(recipient.name))};
    if (!name.empty()) {
        std::erase_if(given, [](char letter) { return letter == '<' || letter == '>'; });
        if (given.empty()) {
            return phrase(name);
        }
        const std::string address = " <" + given + ">";
        const std::string text = phrase(name) + address;
        return isFoldable(text) && isClosed(text) ? text : phrase(name + address);
    }
    if (const auto mailbox = mailboxWithoutQuotes(given)) {
        return recipientText(*mailbox);
    }
    if (!isFoldable(given) || !isClosed(given)) {
        return phrase(given);
    }
    return isPrintable(given) ? given : rewritten(given).value_or(phrase(given));
}

std::vector<Mailbox> mailboxesIn(InternetAddressList* list) {
    std::vector<Mailbox> mailboxes;
    for (int index = 0; index < lengthOf(list); ++index) {
        if (auto one = mailboxAt(list, index)) {
            mailboxes.push_back(std::move(*one));
        }
    }
    return mailboxes;
}

std::optional<Mailbox> soleMailbox(std::string_view given) {
    const std::string text{trim(given)};
    if (!MCPStdio::isValidUTF8(text) || singleLine(text) != text || !isFoldable(text)) {
        return std::nullopt;
    }
    const auto list = understood(text);
    auto one = lengthOf(list.get()) == 1 ? mailboxAt(list.get(), 0) : std::nullopt;
    return one && one->address.find('@') != std::string::npos ? one : std::nullopt;
}

} // namespace velmiro::osascript
