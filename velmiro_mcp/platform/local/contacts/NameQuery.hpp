#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Finds people by their names.
///
/// A name is stored as its words, folded (see UnicodeText.hpp), each with a space before it. If
/// other characters split a word, both the parts and the whole without those characters count:
/// O'Brien is o, brien and obrien.
namespace velmiro::local {

/// Appends the words of a name.
void appendWords(std::string& words, std::string_view name);

/// A search for a name. Each of its words must begin a word of the name, in any order.
class NameQuery {
public:
    explicit NameQuery(std::string_view text);

    /// Returns whether the query matches a name with these words. A query without words matches
    /// none.
    [[nodiscard]] bool matches(std::string_view words) const;

private:
    /// O'Brien is found as a whole or by its parts. Each has a space before it.
    struct Word {
        std::string whole;
        std::vector<std::string> parts; ///< empty if there is only one

        auto operator<=>(const Word&) const = default;
    };

    std::vector<Word> words_;
};

} // namespace velmiro::local
