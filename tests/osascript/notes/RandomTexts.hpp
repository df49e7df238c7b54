#pragma once

#include <array>
#include <cstddef>
#include <random>
#include <string>
#include <string_view>

namespace velmiro::osascript {

/// Makes texts of marks, links, references, and letters that fold in every way; the same in every
/// run.
class RandomTexts {
public:
    explicit RandomTexts(unsigned seed) : random_{seed} {}

    std::size_t below(std::size_t end) { return random_() % end; }

    std::string_view piece() {
        static constexpr std::array pieces = std::to_array<std::string_view>({
            "\\",
            "`",
            "``",
            "```",
            "*",
            "**",
            "_",
            "__",
            "~~",
            "~~~",
            "[",
            "]",
            "](",
            ")",
            "(",
            "<",
            ">",
            "&",
            "#",
            "# ",
            "## ",
            " #",
            "- ",
            "+ ",
            "* ",
            "=",
            "---",
            "!",
            "![",
            " ",
            "\t",
            "a",
            "b1",
            "A",
            "\u00E9",
            "\u00DF",
            "&amp;",
            "&#32;",
            "&#113;",
            "&#xe9;",
            "&#x1F600;",
            "&nbsp;",
            "\r",
            "\U0001F600",
            "\u2028",
            "\f",
            "\u00A0",
            "\uFEFF",
            "https://x.y/",
            "<http:",
            "<mailto:a>",
            "\"",
            "'",
            " \"t\"",
            "[a](b)",
            "![i](u)",
            "[![c](d)](e)",
            "1. ",
            "    ",
            "\u6F22",
            "\u0301",
            "_\u65E5",
            "key: v",
            "e\u0301",
            "\uFB01",
            "s",
            "ss",
            "f",
            "i",
            "I",
            "\u0130",
            "\u0131",
            "\u0307",
            "\uD55C",
            "\uD558",
            "\u11AB",
            "\u304C",
            "\u304B",
            "\u3099",
            "\uFF76",
            "\uFF9E",
            "\uFF21",
            "\uFF08",
            "\u0915",
            "\u093C",
            "\u094D",
            "\u00BD",
            "\uFDFA",
            "\u212A",
            "k",
            "q",
            "Q",
            "\u03A3",
            "\u03C2",
            "\u0390",
            "\uFFFD",
            "\u200D",
            "\uFE0F",
            "\u0149",
            "n",
            "[a](<x y>)",
            "[a](<x](y)>)",
            "[b](u 'q')",
            "`q` ",
            "\\q",
            "\\*",
        });
        return pieces[below(pieces.size())];
    }

    std::string text(std::size_t mostPieces) {
        std::string made;
        for (std::size_t count = below(mostPieces + 1); count > 0; --count) {
            made += piece();
        }
        return made;
    }

    /// Makes a file, sometimes with settings on top, other line ends or bytes that are no text.
    std::string file() {
        std::string made = below(20) == 0 ? "\uFEFF" : "";
        if (below(6) == 0) {
            made += "---\nkey: " + text(3) + "\n" + text(4) + "\n---\n";
        }
        made += below(3) == 0 ? "# " : "";
        for (std::size_t count = below(5); count > 0; --count) {
            made += text(10);
            made += below(4) == 0 ? "\r\n" : "\n";
        }
        made += text(6);
        if (below(8) == 0 && !made.empty()) {
            made.erase(below(made.size()), 1);
        }
        return made;
    }

    /// Returns a part of a text in UTF-8, of at most that many bytes.
    std::string partOf(const std::string& text, std::size_t mostBytes) {
        if (text.empty()) {
            return {};
        }
        const auto isInside = [&](std::size_t at) {
            return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80;
        };
        std::size_t begin = below(text.size());
        while (isInside(begin)) {
            --begin;
        }
        std::size_t end = begin + below(mostBytes) + 1;
        while (isInside(end)) {
            ++end;
        }
        return text.substr(begin, end - begin);
    }

private:
    std::mt19937 random_;
};

} // namespace velmiro::osascript
