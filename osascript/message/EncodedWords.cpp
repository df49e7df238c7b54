#include "osascript/message/EncodedWords.hpp"

#include "MCPStdio/text/UTF8.hpp"
#include "osascript/message/Base64.hpp"
#include "osascript/message/CharacterSets.hpp"

#include <algorithm>
#include <optional>
#include <vector>

namespace velmiro::osascript {
namespace {

using namespace std::string_view_literals;

constexpr auto blanks = " \t\r\n"sv;

/// `=?label?encoding?text?=`
struct Word {
    std::string_view label; ///< without a language
    char encoding;          ///< 'b' or 'q'
    std::string_view text;
    std::size_t end; ///< the index in the value after the word
};

char lowerCase(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool haveSameLabel(const Word& one, const Word& other) {
    return std::ranges::equal(one.label, other.label, {}, lowerCase, lowerCase);
}

/// Finds the words of a value from its beginning to its end.
class Words {
public:
    explicit Words(std::string_view value) : value_{value} {}

    /// Returns the word that begins at an index, which does not decrease from call to call.
    std::optional<Word> at(std::size_t begin) {
        constexpr auto opening = "=?"sv;
        constexpr auto closing = "?="sv;
        constexpr std::size_t longestLabel = 64;
        if (value_.substr(begin, opening.size()) != opening) {
            return std::nullopt;
        }
        const std::size_t label = begin + opening.size();
        const std::size_t labelSize =
            std::min(value_.substr(label, longestLabel).find_first_of("? \t\r\n="), longestLabel);
        const std::size_t encoding = label + labelSize + 1;
        const std::size_t text = encoding + 2;
        if (labelSize == 0 || text > value_.size() || value_[encoding - 1] != '?' ||
            value_[encoding + 1] != '?') {
            return std::nullopt;
        }
        const char kind = lowerCase(value_[encoding]);
        if (kind != 'b' && kind != 'q') {
            return std::nullopt;
        }
        // Looked for once for all beginnings before it, or many of them would take quadratic time.
        if (end_ < text) {
            end_ = std::min(value_.find(closing, text), value_.size());
        }
        const auto encoded = value_.substr(text, end_ - text);
        if (end_ == value_.size() || encoded.find(opening) != std::string_view::npos) {
            return std::nullopt; // it is not finished before the value or the next word is
        }
        const auto name = value_.substr(label, labelSize);
        return Word{name.substr(0, name.find('*')), kind, encoded, end_ + closing.size()};
    }

private:
    std::string_view value_;
    std::size_t end_ = 0; ///< of the last word's text
};

/// Returns the number that a digit stands for, or -1.
int hexadecimal(char digit) {
    const char lower = lowerCase(digit);
    if (lower >= '0' && lower <= '9') {
        return lower - '0';
    }
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

void appendQuoted(std::string& bytes, std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const int high = c == '=' && i + 2 < text.size() ? hexadecimal(text[i + 1]) : -1;
        const int low = high >= 0 ? hexadecimal(text[i + 2]) : -1;
        if (low >= 0) {
            bytes += static_cast<char>(high * 16 + low);
            i += 2;
        } else if (c != '\r' && c != '\n') {
            bytes += c == '_' ? ' ' : c;
        }
    }
}

void appendBytes(std::string& bytes, const Word& word) {
    if (word.encoding == 'b') {
        appendBase64(bytes, word.text);
    } else {
        appendQuoted(bytes, word.text);
    }
}

std::string decodedTogether(const std::vector<Word>& words) {
    std::string bytes;
    for (const Word& word : words) {
        appendBytes(bytes, word);
    }
    return decoded(bytes, words.front().label);
}

std::string decodedOneByOne(const std::vector<Word>& words) {
    std::string text;
    for (const Word& word : words) {
        text += decodedTogether({word});
    }
    return text;
}

/// Decodes adjacent words of one character set.
std::string decodedRun(const std::vector<Word>& words) {
    constexpr auto replacement = "\uFFFD"sv;
    if (words.size() > 1 && !isJoinable(words.front().label)) {
        return decodedOneByOne(words);
    }
    std::string text = decodedTogether(words);
    // A damaged word must not take the beginning of the next with it.
    if (words.size() > 1 && text.find(replacement) != std::string::npos) {
        std::string apart = decodedOneByOne(words);
        if (apart.find(replacement) == std::string::npos) {
            return apart;
        }
    }
    return text;
}

void appendRaw(std::string& text, std::string_view bytes, bool isUTF8) {
    std::string line;
    line.reserve(bytes.size());
    std::ranges::copy_if(bytes, std::back_inserter(line),
                         [](char c) { return c != '\r' && c != '\n'; });
    text += isUTF8 ? std::move(line) : decoded(line, "windows-1252");
}

} // namespace

std::string decodedWords(std::string_view value) {
    const bool isUTF8 = MCPStdio::isValidUTF8(value);
    Words words{value};
    std::string text;
    std::vector<Word> run;
    std::size_t done = 0; // before it, everything but the run is in the text
    for (std::size_t at = value.find("=?"); at != std::string_view::npos;
         at = value.find("=?", at)) {
        const auto word = words.at(at);
        if (!word) {
            ++at;
            continue;
        }
        const auto between = value.substr(done, at - done);
        const bool isAdjacent =
            !run.empty() && between.find_first_not_of(blanks) == std::string_view::npos;
        if (!run.empty() && !(isAdjacent && haveSameLabel(run.front(), *word))) {
            text += decodedRun(run);
            run.clear();
        }
        if (!isAdjacent) {
            appendRaw(text, between, isUTF8);
        }
        run.push_back(*word);
        done = at = word->end;
    }
    if (!run.empty()) {
        text += decodedRun(run);
    }
    appendRaw(text, value.substr(done), isUTF8);
    return text;
}

} // namespace velmiro::osascript
