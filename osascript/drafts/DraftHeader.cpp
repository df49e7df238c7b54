#include "osascript/drafts/DraftHeader.hpp"

#include <algorithm>
#include <cstddef>

#include <glib.h>

namespace velmiro::osascript {
namespace {

constexpr std::size_t longestLine = 76;

/// The letters of an encoded word: with `Subject: ` before it, the word still fits a line.
constexpr std::size_t longestWord = 55;

/// Words of this length can stand on any line. GMime would cut longer ones to fold them.
constexpr std::size_t longestPlainWord = 64;

/// Of 998 that a line may have.
constexpr std::size_t longestFoldedWord = 900;

/// Returns the length of the control character at the beginning of a text; 0 if it begins with
/// another character.
std::size_t controlLength(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    if (first < 0x20 || first == 0x7F) {
        return 1;
    }
    if (first == 0xC2 && text.size() > 1) {
        const auto second = static_cast<unsigned char>(text[1]);
        return second >= 0x80 && second < 0xA0 ? 2 : 0;
    }
    return text.starts_with("\u2028") || text.starts_with("\u2029") ? 3 : 0;
}

bool isFold(std::string_view line, std::size_t index) {
    return line[index] == ' ' && index > 0 && index + 1 < line.size() && line[index - 1] != ' ' &&
           line[index + 1] != ' ';
}

/// Calls `use` with each part of a line between two possible folds.
template <typename Use>
void forEachWord(std::string_view line, const Use& use) {
    std::size_t begin = 0;
    for (std::size_t index = 0; index < line.size(); ++index) {
        if (isFold(line, index)) {
            use(line.substr(begin, index - begin));
            begin = index + 1;
        }
    }
    use(line.substr(begin));
}

std::size_t longestWordOf(std::string_view line) {
    std::size_t longest = 0;
    forEachWord(line, [&](std::string_view word) { longest = std::max(longest, word.size()); });
    return longest;
}

/// Returns whether every reader takes a line of a header for itself.
bool isPlain(std::string_view line) {
    return isPrintable(line) && !line.starts_with(' ') && !line.ends_with(' ') &&
           line.find("  ") == std::string_view::npos && line.find("=?") == std::string_view::npos &&
           longestWordOf(line) <= longestPlainWord;
}

/// Returns the length of the first character, or of as many bytes that are none; at least 1.
std::size_t characterLength(std::string_view text) {
    std::size_t length = 1;
    while (length < std::min<std::size_t>(text.size(), 4) &&
           (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) {
        ++length;
    }
    return length;
}

/// Returns a character as it stands in an encoded word of a text or a name.
std::string quoted(std::string_view character) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    for (const char letter : character) {
        const auto byte = static_cast<unsigned char>(letter);
        if (g_ascii_isalnum(letter)) {
            text += letter;
        } else if (letter == ' ') {
            text += '_';
        } else {
            text.append("=").append(1, digits[byte >> 4]).append(1, digits[byte & 0x0F]);
        }
    }
    return text;
}

/// Encodes all of a text, in words of whole characters. GMime would encode only some of its words
/// and lose blanks between them; and as a reader it stops at a base64 word that ends with padding.
std::string encoded(std::string_view text) {
    std::string words;
    std::string word;
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        const std::string next = quoted(text.substr(0, length));
        if (word.size() + next.size() > longestWord) {
            words.append("=?utf-8?Q?").append(word).append("?= ");
            word.clear();
        }
        word += next;
        text.remove_prefix(length);
    }
    return words.append("=?utf-8?Q?").append(word).append("?=");
}

} // namespace

std::string singleLine(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    bool isAfterControl = false;
    while (!text.empty()) {
        const std::size_t length = controlLength(text);
        if (length == 0) {
            line += text[0];
        } else if (!isAfterControl) {
            line += ' ';
        }
        isAfterControl = length > 0;
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return line;
}

bool isPrintable(std::string_view text) {
    return std::ranges::all_of(text, [](char letter) { return letter >= ' ' && letter <= '~'; });
}

bool isFoldable(std::string_view line) {
    return longestWordOf(line) <= longestFoldedWord;
}

std::string unstructured(std::string_view text) {
    const std::string line = singleLine(text);
    return isPlain(line) ? line : encoded(line);
}

std::string phrase(std::string_view name) {
    if (!isPlain(name)) {
        return encoded(name);
    }
    std::string text = "\"";
    for (const char letter : name) {
        if (letter == '"' || letter == '\\') {
            text += '\\';
        }
        text += letter;
    }
    return text + '"';
}

std::string folded(std::string_view field, std::string_view value) {
    std::string lines;
    std::size_t length = field.size() + 1; // of the last line, with the colon
    forEachWord(value, [&](std::string_view word) {
        if (!lines.empty() && length + 1 + word.size() > longestLine) {
            lines += '\n';
            length = 0;
        }
        lines.append(" ").append(word);
        length += 1 + word.size();
    });
    return lines + '\n';
}

} // namespace velmiro::osascript
