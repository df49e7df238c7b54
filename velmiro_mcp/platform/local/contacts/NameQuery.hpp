#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Finding people by their names.
///
/// A name is kept as its words, folded (see UnicodeText.hpp), each with a blank before it. Where
/// something stands within a word, the words on its sides count and the whole without it:
/// O'Brien is o, brien and obrien.
namespace velmiro::local {

/// Appends the words of a name.
void appendWords(std::string& words, std::string_view name);

/// What somebody asks for: all words of it must begin a word of the name, in whatever order.
class NameQuery {
public:
    explicit NameQuery(std::string_view text);

    /// Whether a name with these words is asked for. Nothing is when the query has no word.
    [[nodiscard]] bool matches(std::string_view words) const;

private:
    /// O'Brien is found as a whole or by its parts. Each has a blank before it.
    struct Word {
        std::string whole;
        std::vector<std::string> parts; ///< none when it has but one

        auto operator<=>(const Word&) const = default;
    };

    std::vector<Word> words_;
};

} // namespace velmiro::local
