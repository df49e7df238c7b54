#include "osascript/notes/NoteHTML.hpp"

#include "MCPStdio/text/UTF8.hpp"
#include "osascript/notes/CharacterReference.hpp"
#include "osascript/text/CharacterKinds.hpp"

#include <algorithm>
#include <array>
#include <optional>

namespace velmiro::osascript {
namespace {

struct Tag {
    std::string name; ///< in lower case
    bool isClosing = false;
    std::size_t length = 0; ///< in bytes, with `<` and `>`
};

char lowered(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool isNameCharacter(char lower, bool isFirst) {
    return (lower >= 'a' && lower <= 'z') || (!isFirst && lower >= '0' && lower <= '9');
}

/// Returns the tag at the beginning of a text; nullopt if there is none.
std::optional<Tag> tagIn(std::string_view text) {
    Tag tag;
    std::size_t at = 1;
    if (text.substr(at).starts_with('/')) {
        tag.isClosing = true;
        ++at;
    }
    while (at < text.size() && isNameCharacter(lowered(text[at]), tag.name.empty())) {
        tag.name += lowered(text[at++]);
    }
    if (tag.name.empty()) {
        return std::nullopt;
    }
    if (spaceAtFront(text.substr(at)) > 0) {
        at = text.find_first_of("<>", at);
    } else if (text.substr(at).starts_with('/')) {
        ++at;
    }
    if (at >= text.size() || text[at] != '>') {
        return std::nullopt;
    }
    tag.length = at + 1;
    return tag;
}

bool isBlock(std::string_view name) {
    constexpr std::array<std::string_view, 19> blocks{
        "div", "p",     "h1", "h2", "h3",         "h4",  "h5",   "h6",   "ul",   "ol",
        "li",  "table", "tr", "td", "blockquote", "pre", "html", "body", "tbody"};
    return std::ranges::find(blocks, name) != blocks.end();
}

/// The lines of a body, as they are read.
class BodyLines {
public:
    void add(std::string_view text) { line_ += text; }
    void add(char32_t character) { MCPStdio::appendUTF8(line_, character); }

    void add(const Tag& tag) {
        if (isBlock(tag.name)) {
            endBlock(tag.isClosing);
        } else if (tag.name == "br") {
            lines_.push_back(std::move(line_));
            line_.clear();
        }
    }

    std::vector<std::string> take() {
        endBlock(false);
        return std::move(lines_);
    }

private:
    /// Ends the line where a block opens or closes. White space is a line only if it is all that is
    /// between the two.
    void endBlock(bool isClosing) {
        if (!isBlank(line_) || (!line_.empty() && hasOpened_ && isClosing)) {
            lines_.push_back(std::move(line_));
        }
        line_.clear();
        hasOpened_ = !isClosing;
    }

    std::vector<std::string> lines_;
    std::string line_;
    bool hasOpened_ = false; ///< whether a block has opened since the last one opened or closed
};

void appendEscaped(std::string& html, std::string_view text) {
    for (const char letter : text) {
        switch (letter) {
        case '&':
            html += "&amp;";
            break;
        case '<':
            html += "&lt;";
            break;
        case '>':
            html += "&gt;";
            break;
        default:
            html += letter;
        }
    }
}

} // namespace

std::vector<std::string> linesOfHTML(std::string_view html) {
    BodyLines lines;
    while (!html.empty()) {
        const std::size_t next = std::min(html.find_first_of("<&"), html.size());
        lines.add(html.substr(0, next));
        html.remove_prefix(next);
        if (html.empty()) {
            break;
        }
        if (const auto reference = characterReference(html)) {
            lines.add(reference->character);
            html.remove_prefix(reference->length);
        } else if (const auto tag = html.front() == '<' ? tagIn(html) : std::nullopt) {
            lines.add(*tag);
            html.remove_prefix(tag->length);
        } else {
            lines.add(html.substr(0, 1));
            html.remove_prefix(1);
        }
    }
    return lines.take();
}

std::string noteHTML(std::string_view title, const std::vector<std::string>& lines) {
    std::string html = "<div><h1>";
    appendEscaped(html, title);
    html += "</h1></div>";
    for (const std::string& line : lines) {
        html += "<div>";
        appendEscaped(html, line);
        html += line.empty() ? "<br></div>" : "</div>";
    }
    return html;
}

} // namespace velmiro::osascript
