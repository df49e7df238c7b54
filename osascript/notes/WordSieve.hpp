#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace velmiro::osascript {

/// Rules out notes that do not show some words, without reading them as Markdown or folding them:
/// for most notes of a search that is all the work.
class WordSieve {
public:
    /// `folded` are the words, folded for searching.
    explicit WordSieve(std::string_view folded);

    /// Returns false only if no text that the bytes of a file can show, in any format, contains the
    /// words once it is folded.
    [[nodiscard]] bool mayShow(std::string_view bytes);

private:
    /// The beginnings of the words that end at one place of a text: bit n for the first n
    /// characters of their outline. Bit zero is always set.
    using Beginnings = std::uint64_t;

    /// How a character takes these to the next place. One that is not in outlines changes nothing.
    struct Step {
        Beginnings mask = ~Beginnings{0};
        std::uint8_t shift = 0;
        bool isSpecial = true; ///< whether it needs a closer look
    };

    /// The steps of a character that is not ASCII.
    struct Steps {
        static constexpr std::size_t most = 4;

        char32_t character = 0;
        std::uint8_t count = 0; ///< more than `most` if its outline is longer
        bool hasAnchor = false; ///< whether its outline has the anchor
        std::array<Beginnings, most> masks{};
    };

    [[nodiscard]] static Beginnings after(Beginnings beginnings, Step step) {
        return ((beginnings << step.shift) | 1U) & step.mask;
    }

    [[nodiscard]] Beginnings maskOf(char32_t character) const;
    [[nodiscard]] const Steps& stepsOf(char32_t character);
    [[nodiscard]] bool isWhole(Beginnings beginnings) const { return (beginnings & whole_) != 0; }
    [[nodiscard]] Beginnings afterReference(Beginnings now, std::string_view reference) const;
    [[nodiscard]] Beginnings afterCharacter(Beginnings now, char32_t character);
    [[nodiscard]] bool lineMayShow(std::string_view line);
    [[nodiscard]] bool isInteresting(std::string_view bytes, std::size_t& at);

    std::u32string outline_;
    Beginnings whole_ = 0; ///< the bit of all of the outline; zero if everything must be read
    char32_t anchor_ = 0;  ///< the rarest character of the outline
    std::array<Step, 256> bytes_{};
    std::vector<Steps> known_; ///< by character, those met last
};

} // namespace velmiro::osascript
