#include "osascript/message/HTMLNesting.hpp"

#include <algorithm>
#include <array>
#include <vector>

namespace velmiro::osascript {
namespace {

using namespace std::string_view_literals;

constexpr auto whiteSpace = " \t\r\n\f"sv;

/// Elements that do not nest in themselves: void ones, and those whose end tag is optional. Sorted.
constexpr std::array notNesting{
    "area"sv,  "base"sv,  "body"sv,  "br"sv,       "caption"sv, "col"sv,  "colgroup"sv, "dd"sv,
    "dt"sv,    "embed"sv, "frame"sv, "head"sv,     "hr"sv,      "html"sv, "img"sv,      "input"sv,
    "li"sv,    "link"sv,  "meta"sv,  "optgroup"sv, "option"sv,  "p"sv,    "param"sv,    "source"sv,
    "tbody"sv, "td"sv,    "tfoot"sv, "th"sv,       "thead"sv,   "tr"sv,   "track"sv,    "wbr"sv};
static_assert(std::ranges::is_sorted(notNesting));

/// Elements that hold text and no tags. Sorted.
constexpr std::array rawText{"iframe"sv, "noembed"sv,  "noframes"sv, "script"sv,
                             "style"sv,  "textarea"sv, "title"sv,    "xmp"sv};
static_assert(std::ranges::is_sorted(rawText));

/// Elements whose end tag leaves open what is within them. Sorted.
constexpr std::array formatting{"a"sv,     "b"sv,      "big"sv,    "code"sv, "em"sv,
                                "font"sv,  "form"sv,   "i"sv,      "nobr"sv, "s"sv,
                                "small"sv, "strike"sv, "strong"sv, "tt"sv,   "u"sv};
static_assert(std::ranges::is_sorted(formatting));

/// Elements from within which nothing outside can be closed. Sorted.
constexpr std::array scopes{"applet"sv, "marquee"sv, "object"sv, "table"sv, "template"sv};
static_assert(std::ranges::is_sorted(scopes));

template <typename Names>
bool contains(const Names& names, std::string_view name) {
    return std::ranges::binary_search(names, name);
}

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

char lowerCase(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::size_t find(std::string_view text, std::string_view what, std::size_t from) {
    return std::min(text.find(what, from), text.size());
}

/// Returns the index after the comment or declaration that begins at an index.
std::size_t afterMarkup(std::string_view html, std::size_t begin) {
    if (!html.substr(begin).starts_with("<!--")) {
        return std::min(find(html, ">", begin) + 1, html.size());
    }
    const std::size_t content = begin + 4;
    for (const std::string_view end : {">"sv, "->"sv}) {
        if (html.substr(content).starts_with(end)) {
            return content + end.size();
        }
    }
    for (std::size_t dashes = find(html, "--", content); dashes < html.size();
         dashes = find(html, "--", dashes + 1)) {
        for (const std::string_view end : {"-->"sv, "--!>"sv}) {
            if (html.substr(dashes).starts_with(end)) {
                return dashes + end.size();
            }
        }
    }
    return html.size();
}

/// Where a tag ends, and whether it has so many attributes that comparing them all takes too long.
struct TagEnd {
    std::size_t after;
    bool isSane;
};

/// Finds the end of the tag whose name ends at an index. A `>` within quotes does not end it.
TagEnd endOfTag(std::string_view html, std::size_t at) {
    constexpr std::size_t mostAttributes = 100;
    std::size_t attributes = 0; // at most, by what separates them
    while (at < html.size()) {
        at = std::min(html.find_first_of(">=/ \t\r\n\f", at), html.size());
        if (at == html.size() || html[at] == '>') {
            break;
        }
        attributes += html[at] == '=' ? 0 : 1;
        const bool isValue = html[at] == '=';
        at = std::min(html.find_first_not_of(whiteSpace, at + 1), html.size());
        if (isValue && at < html.size() && (html[at] == '"' || html[at] == '\'')) {
            at = std::min(find(html, html.substr(at, 1), at + 1) + 1, html.size());
        }
    }
    return {std::min(at + 1, html.size()), attributes <= mostAttributes};
}

/// Returns the index of the end tag of an element that holds only text.
std::size_t endOfRawText(std::string_view html, std::size_t at, std::string_view name) {
    for (at = find(html, "</", at); at < html.size(); at = find(html, "</", at + 2)) {
        const auto candidate = html.substr(at + 2, name.size());
        if (std::ranges::equal(candidate, name, {}, lowerCase)) {
            break;
        }
    }
    return at;
}

class Nesting {
public:
    Nesting(std::string_view html, std::size_t deepest) : html_{html}, deepest_{deepest} {}

    std::string bounded() {
        kept_.reserve(html_.size());
        std::size_t at = 0;
        while (at < html_.size()) {
            const std::size_t tag = find(html_, "<", at);
            keep(at, tag);
            at = tag < html_.size() ? afterOpening(tag) : tag;
        }
        return std::move(kept_);
    }

private:
    void keep(std::size_t begin, std::size_t end) { kept_ += html_.substr(begin, end - begin); }

    /// Handles what begins with `<` at an index, and returns the index after it.
    std::size_t afterOpening(std::size_t begin) {
        const char next = begin + 1 < html_.size() ? html_[begin + 1] : ' ';
        const std::size_t name = begin + (next == '/' ? 2 : 1);
        std::size_t end = begin + 1;
        bool isKept = true;
        if (name < html_.size() && isLetter(html_[name])) {
            const std::size_t nameEnd =
                std::min(html_.find_first_of(" \t\r\n\f/>", name), html_.size());
            std::string lower{html_.substr(name, nameEnd - name)};
            std::ranges::transform(lower, lower.begin(), lowerCase);
            const TagEnd tag = endOfTag(html_, nameEnd);
            end = tag.after;
            if (!tag.isSane || lower == "svg" || lower == "math") { // both have rules of their own
                isKept = false;
            } else if (next == '/') {
                isKept = close(lower);
            } else if (contains(rawText, lower)) {
                end = endOfRawText(html_, end, lower);
            } else {
                isKept = open(lower);
            }
        } else if (next == '!' || next == '?' || next == '/') {
            end = afterMarkup(html_, begin);
        }
        if (isKept) {
            keep(begin, end);
        }
        return end;
    }

    /// Returns whether the start tag is kept.
    bool open(const std::string& name) {
        if (contains(notNesting, name)) {
            return true;
        }
        if (name == "a") {
            close(name); // links do not nest
        }
        if (open_.size() >= deepest_) {
            ++dropped_;
            return false;
        }
        open_.push_back(name);
        return true;
    }

    /// Returns whether the end tag is kept.
    bool close(const std::string& name) {
        if (contains(notNesting, name)) {
            return true;
        }
        if (dropped_ > 0) { // the end of an element that was left out, as far as one can tell
            --dropped_;
            return false;
        }
        const auto last = std::ranges::find_if(open_.rbegin(), open_.rend(), [&](const auto& one) {
            return one == name || contains(scopes, one);
        });
        if (last == open_.rend() || *last != name) {
            return true;
        }
        const auto found = std::prev(last.base());
        open_.erase(found, contains(formatting, name) ? std::next(found) : open_.end());
        return true;
    }

    std::string_view html_;
    std::size_t deepest_;
    std::string kept_;
    std::vector<std::string> open_;
    std::size_t dropped_ = 0;
};

} // namespace

std::string withBoundedNesting(std::string_view html, std::size_t deepest) {
    return Nesting{html, deepest}.bounded();
}

} // namespace velmiro::osascript
