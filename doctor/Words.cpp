#include "doctor/Words.hpp"

#include "approval_host/question/VisibleText.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>

namespace velmiro::doctor {
namespace {

bool isPlain(char character) {
    constexpr std::string_view signs = "_./@%+=:,-";
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || signs.find(character) != std::string::npos;
}

bool isAllVisible(std::string_view word) {
    return host::visibleText(word, std::numeric_limits<std::size_t>::max()) == word;
}

std::string escaped(std::string_view word) {
    std::string text = "$'";
    for (const char character : word) {
        if (character == '\'' || character == '\\') {
            text += {'\\', character};
        } else if (character >= ' ' && character <= '~') {
            text += character;
        } else {
            std::array<char, 5> octal{};
            std::snprintf(octal.data(), octal.size(), "\\%03o",
                          unsigned{static_cast<unsigned char>(character)});
            text += octal.data();
        }
    }
    return text + "'";
}

} // namespace

std::string visible(std::string_view text) {
    constexpr std::size_t most = 200;
    return text.empty() ? "(empty)" : host::visibleText(text, most);
}

std::string named(std::string_view name) {
    return "‘" + visible(name) + "’";
}

std::string grouped(std::size_t number) {
    std::string text = std::to_string(number);
    for (std::size_t at = text.size(); at > 3;) {
        at -= 3;
        text.insert(at, ",");
    }
    return text;
}

std::string counted(std::size_t number, std::string_view noun, std::string_view plural) {
    const std::string text = grouped(number) + " ";
    if (number == 1) {
        return text + std::string{noun};
    }
    return plural.empty() ? text + std::string{noun} + "s" : text + std::string{plural};
}

std::string reasonOf(const std::error_code& error) {
    std::string reason = error.message();
    if (reason.size() > 1 && reason[0] >= 'A' && reason[0] <= 'Z' && reason[1] >= 'a') {
        reason[0] = static_cast<char>(reason[0] - 'A' + 'a');
    }
    return reason;
}

std::string shellWord(std::string_view word) {
    if (!word.empty() && std::ranges::all_of(word, isPlain)) {
        return std::string{word};
    }
    if (!isAllVisible(word)) {
        return escaped(word);
    }
    std::string text = "'";
    for (const char character : word) {
        if (character == '\'') {
            text += "'\\''";
        } else {
            text += character;
        }
    }
    return text + "'";
}

} // namespace velmiro::doctor
