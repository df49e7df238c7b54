#include "osascript/notes/MarkdownLink.hpp"

#include "osascript/text/CharacterKinds.hpp"

#include <algorithm>

namespace velmiro::osascript {
namespace {

bool isASCIILetter(char letter) {
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z');
}

/// Returns whether the text begins with some lower case ASCII text, in any case.
bool beginsIgnoringCase(std::string_view text, std::string_view beginning) {
    return text.size() >= beginning.size() &&
           std::ranges::equal(text.substr(0, beginning.size()), beginning, {}, [](char letter) {
               return static_cast<char>(isASCIILetter(letter) ? letter | 0x20 : letter);
           });
}

/// Returns the number of bytes before the first that is white space or one of `stops`.
std::size_t lengthBefore(std::string_view text, std::string_view stops) {
    std::size_t at = 0;
    while (at < text.size() && stops.find(text[at]) == std::string_view::npos &&
           spaceAtFront(text.substr(at)) == 0) {
        ++at;
    }
    return at;
}

bool beginsLine(std::string_view text) {
    return text.starts_with('\n') || text.starts_with('\r') || text.starts_with("\u2028") ||
           text.starts_with("\u2029");
}

std::size_t skipBlanks(std::string_view text, std::size_t at) {
    return std::min(text.find_first_not_of(" \t", at), text.size());
}

/// Returns the end of `(address "title")` at an index; nullopt if there is none.
std::optional<std::size_t> destinationEnd(std::string_view text, std::size_t at) {
    if (!text.substr(at).starts_with('(')) {
        return std::nullopt;
    }
    ++at;
    if (text.substr(at).starts_with('<')) {
        at = text.find_first_of("<>", at + 1);
        if (at == std::string_view::npos || text[at] != '>') {
            return std::nullopt;
        }
        ++at;
    } else {
        at += lengthBefore(text.substr(at), "()<>");
    }
    const std::size_t next = skipBlanks(text, at);
    if (next > at && next < text.size() && (text[next] == '"' || text[next] == '\'')) {
        at = text.find(text[next], next + 1);
        if (at == std::string_view::npos) {
            return std::nullopt;
        }
        ++at;
    }
    at = skipBlanks(text, at);
    return at < text.size() && text[at] == ')' ? std::optional{at + 1} : std::nullopt;
}

enum class Holding { textOnly, images };

/// Returns the link or image whose label begins after the `[` at an index; nullopt if there is
/// none.
std::optional<MarkdownLink> linkAt(std::string_view text, std::size_t bracket, Holding holding) {
    const std::size_t begin = bracket + 1;
    for (std::size_t at = begin;;) {
        at = text.find_first_of(holding == Holding::images ? "\\[]!" : "\\[]", at);
        if (at == std::string_view::npos || text[at] == '[') {
            return std::nullopt;
        }
        if (text[at] == ']') {
            const auto end = destinationEnd(text, at + 1);
            return end ? std::optional{MarkdownLink{begin, at, *end}} : std::nullopt;
        }
        if (text[at] == '\\') {
            if (at + 1 == text.size() || beginsLine(text.substr(at + 1))) {
                return std::nullopt;
            }
            at += 2;
        } else if (text.substr(at).starts_with("![")) {
            const auto image = linkAt(text, at + 1, Holding::textOnly);
            if (!image) {
                return std::nullopt;
            }
            at = image->end;
        } else {
            ++at;
        }
    }
}

} // namespace

std::size_t bareAddressLength(std::string_view text) {
    text.remove_prefix(1);
    for (const std::string_view scheme : {"http:", "https:", "mailto:"}) {
        if (beginsIgnoringCase(text, scheme)) {
            const std::size_t length = lengthBefore(text, "<>");
            const bool isClosed =
                length > scheme.size() && length < text.size() && text[length] == '>';
            return isClosed ? length + 2 : 0;
        }
    }
    return 0;
}

std::optional<MarkdownLink> markdownLink(std::string_view text, std::size_t bracket) {
    return linkAt(text, bracket, Holding::images);
}

} // namespace velmiro::osascript
