#include "osascript/notes/WordSieve.hpp"

#include "MCPStdio/text/ByteScan.hpp"
#include "osascript/notes/CharacterReference.hpp"
#include "osascript/text/Characters.hpp"
#include "osascript/text/Folding.hpp"

#include <algorithm>

// What a note shows comes from its lines one by one, by leaving out marks and the addresses of
// links, and by putting characters for references. So if a note shows the words, the outline of one
// of its lines (see Folding.hpp) contains theirs, apart from what is left out there. A line is
// followed with all beginnings of the words that may be under way in it, as bits of a number. Where
// it is not certain whether something is shown, both possibilities stay open.
//
// Even that is done only for lines with the rarest letter of the words.

namespace velmiro::osascript {
namespace {

constexpr std::size_t longestOutline = 63;
constexpr char32_t replacement = 0xFFFD;

bool isControl(char letter) {
    return static_cast<unsigned char>(letter) < 0x20;
}

/// Returns how common the character is in texts; those beyond ASCII are met first.
std::size_t commonness(char32_t character) {
    constexpr std::string_view rareFirst = "QXZJ9876543210KVYWPBFGMCULDHRSTNOIAE";
    return character < 0x80 ? rareFirst.find(static_cast<char>(character)) + 1 : 0;
}

} // namespace

WordSieve::WordSieve(std::string_view folded)
    : outline_{outlineOfFolded(folded).substr(0, longestOutline)} {
    // A line end in the words may come from two lines, and U+FFFD from several bytes.
    if (outline_.empty() || outline_.find(replacement) != std::u32string::npos ||
        std::ranges::any_of(folded, isControl)) {
        return;
    }
    whole_ = Beginnings{1} << outline_.size();
    anchor_ = *std::ranges::min_element(outline_, {}, commonness);
    constexpr char32_t endOfASCII = 0x80;
    for (char32_t letter = 0; letter < endOfASCII; ++letter) {
        const auto outline = outlineOfCharacter(letter);
        bytes_[letter] = {outline.empty() ? ~Beginnings{0} : maskOf(outline[0]),
                          static_cast<std::uint8_t>(outline.size()),
                          letter == U'&' || letter == U']' || letter == U')'};
    }
}

WordSieve::Beginnings WordSieve::maskOf(char32_t character) const {
    Beginnings mask = 1;
    for (std::size_t index = 0; index < outline_.size(); ++index) {
        mask |= Beginnings{outline_[index] == character} << (index + 1);
    }
    return mask;
}

const WordSieve::Steps& WordSieve::stepsOf(char32_t character) {
    constexpr std::size_t size = 1024;
    known_.resize(size);
    Steps& steps = known_[character % size];
    if (steps.character != character) {
        const auto outline = outlineOfCharacter(character);
        steps = {.character = character,
                 .count = static_cast<std::uint8_t>(outline.size()),
                 .hasAnchor = outline.find(anchor_) != std::u32string::npos};
        std::ranges::transform(outline.substr(0, Steps::most), steps.masks.begin(),
                               [this](char32_t one) { return maskOf(one); });
    }
    return steps;
}

WordSieve::Beginnings WordSieve::afterCharacter(Beginnings now, char32_t character) {
    const Steps& steps = stepsOf(character == illFormed ? replacement : character);
    for (std::size_t index = 0; index < std::min<std::size_t>(steps.count, Steps::most); ++index) {
        now = after(now, {steps.masks[index], 1}) | (now & whole_);
    }
    return steps.count > Steps::most ? whole_ : now;
}

/// Follows a reference: as it is, as code shows it, or as a character that is in no outline.
WordSieve::Beginnings WordSieve::afterReference(Beginnings now, std::string_view reference) const {
    Beginnings asText = now;
    for (const char letter : reference) {
        const Step& step = bytes_[static_cast<unsigned char>(letter)];
        asText = after(asText, step) | (asText & whole_);
    }
    return now | asText;
}

bool WordSieve::lineMayShow(std::string_view line) {
    Beginnings now = 1;
    Beginnings beforeAddresses = 0; // at the ends of what may be labels of links
    for (std::size_t at = 0; at < line.size();) {
        const char letter = line[at];
        const Step& step = bytes_[static_cast<unsigned char>(letter)];
        if (!step.isSpecial) {
            now = after(now, step);
            ++at;
        } else if (!isASCIIByte(letter)) {
            now = afterCharacter(now, nextCharacter(line, at));
        } else if (const auto reference = characterReference(line.substr(at))) {
            if (!outlineOfCharacter(reference->character).empty()) {
                return true;
            }
            now = afterReference(now, line.substr(at, reference->length));
            at += reference->length;
        } else {
            if (letter == ')') {
                now |= beforeAddresses;
            } else if (letter == ']' && line.substr(at + 1).starts_with('(')) {
                beforeAddresses |= now;
            }
            ++at;
        }
        if (isWhole(now)) {
            return true;
        }
    }
    return false;
}

/// Returns whether the character at an index may be the anchor, and moves past it.
bool WordSieve::isInteresting(std::string_view bytes, std::size_t& at) {
    if (!isASCIIByte(bytes[at])) {
        const char32_t character = nextCharacter(bytes, at);
        const Steps& steps = stepsOf(character == illFormed ? replacement : character);
        return steps.hasAnchor;
    }
    const bool mayBeReference = bytes[at] == '&';
    const auto reference = mayBeReference ? characterReference(bytes.substr(at)) : std::nullopt;
    ++at;
    return !mayBeReference || (reference && !outlineOfCharacter(reference->character).empty());
}

bool WordSieve::mayShow(std::string_view bytes) {
    if (whole_ == 0) {
        return true;
    }
    const auto upper = static_cast<unsigned char>(anchor_ < 0x80 ? anchor_ : U'&');
    const auto lower = static_cast<unsigned char>(upper >= 'A' ? upper | 0x20U : upper);
    const auto mark = [=](MCPStdio::ByteBlock block) {
        return MCPStdio::markEqual(block, upper) | MCPStdio::markEqual(block, lower) |
               MCPStdio::markEqual(block, '&') | MCPStdio::markNonASCII(block);
    };
    for (std::size_t at = 0; at < bytes.size();) {
        if (isASCIIByte(bytes[at])) {
            at = MCPStdio::findByte(bytes, at, mark);
        }
        if (at == bytes.size()) {
            break;
        }
        const std::size_t found = at;
        if (isInteresting(bytes, at)) {
            const std::size_t begin = bytes.rfind('\n', found) + 1; // zero if there is none
            const std::size_t end = std::min(bytes.find('\n', found), bytes.size());
            if (lineMayShow(bytes.substr(begin, end - begin))) {
                return true;
            }
            at = end;
        }
    }
    return false;
}

} // namespace velmiro::osascript
