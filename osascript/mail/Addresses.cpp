#include "osascript/mail/Addresses.hpp"

#include "osascript/mail/AddressScanner.hpp"
#include "osascript/mail/OneLine.hpp"
#include "osascript/message/CharacterSets.hpp"
#include "osascript/message/EncodedWords.hpp"

#include <algorithm>
#include <optional>
#include <utility>

// A MIME library reads the grammar's addresses, but drops a whole field, or what comes after, for
// one unquoted bracket, semicolon or missing comma, all of which real mail has.

namespace velmiro::osascript {
namespace {

/// A word or a comment.
struct Piece {
    std::string shown;      ///< without quotes; not decoded
    std::string address;    ///< as it is written, if it has the form of an address
    bool isComment = false; ///< if so, `shown` is without its brackets
};

void addTo(std::string& name, std::string_view word) {
    name += name.empty() || word.empty() ? "" : " ";
    name += word;
}

/// Returns the words as a name, not decoded. Comments belong to it, as mail programs show them; if
/// it has nothing else, without their brackets.
std::string nameFrom(const Piece* begin, const Piece* end) {
    const bool hasWords = std::any_of(
        begin, end, [](const Piece& piece) { return !piece.isComment && !piece.shown.empty(); });
    std::string name;
    for (; begin != end; ++begin) {
        addTo(name, begin->isComment && hasWords ? "(" + begin->shown + ")" : begin->shown);
    }
    return name;
}

/// Reads the items of a list one after the other. Each is a few words, an address in angle brackets
/// or both.
class AddressList {
public:
    AddressList(std::string_view value, std::vector<Mailbox>& found)
        : scanner_{value},
          found_{found} {}

    void read() {
        while (!scanner_.isAtEnd()) {
            readNext();
        }
        finishItem();
    }

private:
    void readNext() {
        switch (scanner_.next()) {
        case ',':
        case ';':
            scanner_.take();
            finishItem();
            break;
        case ':': // what was before it is the name of a group
            scanner_.take();
            startItem();
            break;
        case '<':
            scanner_.take();
            readAngle();
            break;
        case '>':
            scanner_.take();
            break;
        default:
            if (scanner_.isAtBlank()) {
                scanner_.take();
            } else if (const auto comment = scanner_.takeComment()) {
                addComment(contentsOf(*comment));
            } else {
                readWord();
            }
        }
    }

    void addComment(std::string text) {
        if (!text.empty()) {
            pieces_.push_back({std::move(text), "", true});
        }
    }

    [[nodiscard]] bool isAtEndOfWord() {
        constexpr std::string_view ends = ",;:<>(";
        return scanner_.isAtEnd() || scanner_.isAtBlank() ||
               ends.find(scanner_.next()) != std::string_view::npos;
    }

    void readWord() {
        Piece word;
        std::size_t at = 0; // the length up to the last @ that is not quoted
        do {
            if (const auto quoted = scanner_.takeQuoted()) {
                word.shown += contentsOf(*quoted);
                word.address += *quoted;
            } else if (const auto encoded = scanner_.takeEncodedWord()) {
                word.shown += *encoded;
                word.address += *encoded;
            } else if (scanner_.take('"')) {
                // It is never closed.
            } else {
                const char character = scanner_.take();
                word.shown += character;
                word.address += character;
                if (character == '@') {
                    at = word.address.size();
                    const auto literal = scanner_.takeLiteral();
                    word.shown += literal.value_or("");
                    word.address += literal.value_or("");
                }
            }
        } while (!isAtEndOfWord());
        if (at < 2 || at == word.address.size()) {
            word.address.clear();
        }
        pieces_.push_back(std::move(word));
    }

    void readAngle() {
        if (!angle_.empty()) { // a comma is missing
            finishAngle(afterAngle_);
        }
        std::string address = addressInAngle();
        if (!address.empty()) {
            angle_ = std::move(address);
            afterAngle_ = pieces_.size();
        }
    }

    /// Returns the address up to the closing bracket, or if that is missing, up to the next comma.
    std::string addressInAngle() {
        std::string address;
        bool isFinished = false;
        while (!isFinished && !scanner_.isAtEnd() && !scanner_.take('>')) {
            if (const auto quoted = scanner_.takeQuoted()) {
                address += *quoted;
            } else if (const auto encoded = scanner_.takeEncodedWord()) {
                address += *encoded;
            } else if (const auto literal = scanner_.takeLiteral()) {
                address += *literal;
            } else if (scanner_.next() == '<') {
                isFinished = address.find('@') != std::string::npos;
                if (!isFinished) {
                    scanner_.take();
                    address.clear();
                }
            } else if ((scanner_.next() == ',' || scanner_.next() == ';') &&
                       !scanner_.isInsideAngle()) {
                isFinished = true;
            } else if (address.starts_with('@') && scanner_.take(':')) {
                address.clear(); // it was a route: <@relay,@relay:a@example.org>
            } else if (!scanner_.takeComment()) {
                addToAddress(address);
            }
        }
        while (address.ends_with(' ')) {
            address.pop_back();
        }
        return address;
    }

    /// Takes the next character. Blanks count only between words.
    void addToAddress(std::string& address) {
        constexpr std::string_view joining = "@.";
        if (scanner_.isAtBlank()) {
            scanner_.take();
            const bool counts = !address.empty() && !address.ends_with(' ') &&
                                joining.find(address.back()) == std::string_view::npos;
            address += counts ? " " : "";
            return;
        }
        const char character = scanner_.take();
        if (address.ends_with(' ') && joining.find(character) != std::string_view::npos) {
            address.pop_back();
        }
        address += character;
    }

    void startItem() {
        pieces_.clear();
        angle_.clear();
    }

    void finishItem() {
        if (angle_.empty()) {
            addLoose();
        } else {
            finishAngle(pieces_.size());
        }
        startItem();
    }

    /// Adds the mailbox in angle brackets. Its name is the words before them; words after them, up
    /// to `end`, are part of it. The others are the next mailbox's.
    void finishAngle(std::size_t end) {
        const Piece* const first = pieces_.data();
        std::string name = nameFrom(first, first + afterAngle_);
        if (name.empty()) {
            name = nameFrom(first + afterAngle_, first + end);
        } else {
            for (std::size_t i = afterAngle_; i < end; ++i) {
                addTo(name, pieces_[i].isComment ? "" : pieces_[i].shown);
            }
        }
        add(name, angle_);
        pieces_.erase(pieces_.begin(), pieces_.begin() + static_cast<std::ptrdiff_t>(end));
        angle_.clear();
    }

    /// Adds the mailboxes among words without angle brackets: each address ends one. Words after
    /// the last address are a part of its name, as comments after each address are.
    void addLoose() {
        const Piece* const end = pieces_.data() + pieces_.size();
        const auto isAddress = [](const Piece& piece) { return !piece.address.empty(); };
        const Piece* begin = pieces_.data();
        for (const Piece* at = std::find_if(begin, end, isAddress); at != end;) {
            const Piece* const next = std::find_if(at + 1, end, isAddress);
            const Piece* const mine =
                next == end ? end : std::find_if(at + 1, next, [](const Piece& piece) {
                    return !piece.isComment;
                });
            std::string name = nameFrom(begin, at);
            addTo(name, name.empty() ? nameFrom(at + 1, mine) : "");
            add(name, at->address);
            begin = mine;
            at = next;
        }
        add(nameFrom(begin, end), "");
    }

    void add(std::string_view name, std::string_view address) {
        Mailbox mailbox{inOneLine(decodedWords(name)), inOneLine(decodedUnlabelled(address))};
        if (mailbox.name == mailbox.address) {
            mailbox.name.clear();
        }
        if (!mailbox.name.empty() || !mailbox.address.empty()) {
            found_.push_back(std::move(mailbox));
        }
    }

    AddressScanner scanner_;
    std::vector<Mailbox>& found_;
    std::vector<Piece> pieces_;  ///< of the current item
    std::string angle_;          ///< the address in angle brackets; empty if there was none
    std::size_t afterAngle_ = 0; ///< the number of pieces before it
};

} // namespace

void addMailboxes(std::string_view value, std::vector<Mailbox>& mailboxes) {
    AddressList{value, mailboxes}.read();
}

} // namespace velmiro::osascript
