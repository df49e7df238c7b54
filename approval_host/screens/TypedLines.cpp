#include "approval_host/screens/TypedLines.hpp"

namespace velmiro::host {

namespace {

/// Longer lines are not answers; the rest of them is not kept.
constexpr std::size_t longestLine = 80;

TypedLines::Answer meaning(std::string_view line) {
    constexpr std::string_view blanks = " \t\r";
    const auto first = line.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return TypedLines::Answer::unclear;
    }
    std::string word{line.substr(first, line.find_last_not_of(blanks) - first + 1)};
    for (char& letter : word) {
        if (letter >= 'A' && letter <= 'Z') {
            letter = static_cast<char>(letter - 'A' + 'a');
        }
    }
    if (word == "y" || word == "yes") {
        return TypedLines::Answer::yes;
    }
    return word == "n" || word == "no" ? TypedLines::Answer::no : TypedLines::Answer::unclear;
}

} // namespace

TypedLines::Answer TypedLines::add(std::string_view bytes) {
    Answer answer = Answer::none;
    for (const char byte : bytes) {
        if (byte != '\n') {
            if (begun_.size() <= longestLine) {
                begun_ += byte;
            }
            continue;
        }
        answer = begun_.size() > longestLine ? Answer::unclear : meaning(begun_);
        begun_.clear();
        if (answer != Answer::unclear) {
            break;
        }
    }
    return answer;
}

void TypedLines::clear() noexcept {
    begun_.clear();
}

} // namespace velmiro::host
