#include "velmiro_mcp/platform/local/contacts/NameQuery.hpp"

#include "velmiro_mcp/platform/local/libraries/UnicodeText.hpp"

#include <algorithm>

namespace velmiro::local {
namespace {

/// Returns the non-empty pieces between separators.
std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    while (!text.empty()) {
        const auto piece = text.substr(0, text.find(separator));
        text.remove_prefix(std::min(piece.size() + 1, text.size()));
        if (!piece.empty()) {
            pieces.push_back(piece);
        }
    }
    return pieces;
}

void appendWord(std::string& words, std::string_view word) {
    words += ' ';
    words += word;
}

std::string joined(const std::vector<std::string_view>& parts) {
    std::string whole{' '};
    for (const std::string_view part : parts) {
        whole += part;
    }
    return whole;
}

} // namespace

void appendWords(std::string& words, std::string_view name) {
    const std::string letters = foldedLetters(name);
    for (const std::string_view word : split(letters, ' ')) {
        const auto parts = split(word, '-');
        for (const std::string_view part : parts) {
            appendWord(words, part);
        }
        if (parts.size() > 1) {
            words += joined(parts);
        }
    }
}

NameQuery::NameQuery(std::string_view text) {
    const std::string letters = foldedLetters(text);
    for (const std::string_view word : split(letters, ' ')) {
        const auto parts = split(word, '-');
        if (parts.empty()) {
            continue;
        }
        Word& added = words_.emplace_back(Word{joined(parts), {}});
        for (std::size_t index = 0; parts.size() > 1 && index < parts.size(); ++index) {
            appendWord(added.parts.emplace_back(), parts[index]);
        }
        std::ranges::sort(added.parts);
        added.parts.erase(std::ranges::unique(added.parts).begin(), added.parts.end());
    }
    // A word repeated a million times is looked for once.
    std::ranges::sort(words_);
    words_.erase(std::ranges::unique(words_).begin(), words_.end());
}

bool NameQuery::matches(std::string_view words) const {
    const auto has = [&](std::string_view beginning) {
        return words.find(beginning) != std::string_view::npos;
    };
    return !words_.empty() && std::ranges::all_of(words_, [&](const Word& word) {
        return has(word.whole) || (!word.parts.empty() && std::ranges::all_of(word.parts, has));
    });
}

} // namespace velmiro::local
