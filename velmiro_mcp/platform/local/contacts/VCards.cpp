#include "velmiro_mcp/platform/local/contacts/VCards.hpp"

#include "MCPStdio/text/UTF8.hpp"
#include "velmiro_mcp/base/Text.hpp"
#include "velmiro_mcp/platform/local/contacts/VCardLines.hpp"
#include "velmiro_mcp/platform/local/libraries/UnicodeText.hpp"

#include <optional>
#include <utility>

namespace velmiro::local {
namespace {

/// Returns whether a card that begins in a line's value also ends in it.
bool endsInLine(std::string_view value) {
    constexpr std::string_view ending = "END:VCARD";
    while (value.size() >= ending.size()) {
        if (sameWord(value.substr(0, ending.size()), ending)) {
            return true;
        }
        value.remove_prefix(1);
    }
    return false;
}

/// Returns the text after the colon of BEGIN, END and AGENT.
std::string_view rawValue(std::string_view line) {
    return trim(takeLine(line).value);
}

/// Reads the cards of a file. A card in which another begins is incomplete, unless it announced the
/// other as its AGENT: version 2.1 nests a card for that.
class FileReader {
public:
    explicit FileReader(const std::string& name) : name_{MCPStdio::repairUTF8(name)} {}

    ContactFile read(std::string_view bytes) {
        while (!bytes.empty() && file_.contacts.size() < mostCards) {
            const auto line = takeFoldedLine(bytes);
            const auto name = propertyName(line);
            if (name.find('\n') == std::string_view::npos) {
                take(name, line);
            } else {
                std::string unfolded{line}; // a fold inside a name: rare, but allowed
                unfold(unfolded);
                take(propertyName(unfolded), unfolded);
            }
        }
        return std::move(file_);
    }

private:
    void take(std::string_view name, std::string_view line) {
        if (sameWord(name, "BEGIN")) {
            if (sameWord(rawValue(line), "VCARD")) {
                begin();
            }
        } else if (sameWord(name, "END")) {
            end(rawValue(line));
        } else if (sameWord(name, "AGENT")) {
            takeAgent(line);
        } else if (card_ && agents_ == 0) {
            card_->take(name, line);
        }
    }

    /// In version 2.1 another card follows, or begins on this very line. In version 3.0 all of it
    /// is the value of this line, which some programs fold without writing its line breaks as \n.
    void takeAgent(std::string_view line) {
        std::string value{line};
        unfold(value);
        value = rawValue(value);
        agentFollows_ = value.empty();
        if (sameWord(value.substr(0, beginning.size()), beginning) && !endsInLine(value)) {
            ++agents_;
        }
    }

    void begin() {
        if (card_ && std::exchange(agentFollows_, false)) {
            ++agents_;
        } else {
            card_.emplace();
            agents_ = 0;
        }
    }

    /// If files were concatenated without a line break between them, the next card begins here too.
    void end(std::string_view value) {
        constexpr std::string_view card = "VCARD";
        if (!sameWord(value.substr(0, card.size()), card)) {
            return;
        }
        if (agents_ > 0) {
            --agents_;
        } else if (card_) {
            add(*card_);
            card_.reset();
        }
        if (sameWord(value.substr(card.size()), beginning)) {
            begin();
        }
    }

    void add(VCard& card) {
        StoredContact stored = card.finish();
        std::string& identifier = stored.contact.identifier;
        if (identifier.empty()) {
            identifier = ++withoutUID_ == 1 ? name_ : name_ + "#" + std::to_string(withoutUID_);
        }
        if (!stored.words.empty() && !card.isGroup()) {
            file_.contacts.push_back(std::move(stored));
        }
    }

    static constexpr std::string_view beginning = "BEGIN:VCARD";

    std::string name_;
    ContactFile file_;
    std::optional<VCard> card_;
    bool agentFollows_ = false; ///< the next card is nested in this one
    std::size_t agents_ = 0;    ///< how many nested cards are open
    std::size_t withoutUID_ = 0;
};

} // namespace

std::size_t memoryOf(const ContactFile& file) {
    const auto sizeOf = [](const std::vector<std::string>& texts) {
        std::size_t size = 0;
        for (const std::string& text : texts) {
            size += sizeof(std::string) + text.capacity();
        }
        return size;
    };
    std::size_t size = sizeof file;
    for (const StoredContact& stored : file.contacts) {
        const Contact& contact = stored.contact;
        size += sizeof stored + stored.words.capacity() + contact.identifier.capacity() +
                contact.givenName.capacity() + contact.familyName.capacity() +
                contact.organization.capacity() + sizeOf(contact.emails) + sizeOf(contact.phones);
    }
    return size;
}

ContactFile readContactFile(std::string bytes, const std::string& name) {
    if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
        bytes = decodedText(bytes, "UTF-16");
    }
    return FileReader{name}.read(bytes);
}

} // namespace velmiro::local
