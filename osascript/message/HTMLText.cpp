#include "osascript/message/HTMLText.hpp"

#include "osascript/message/CharacterSets.hpp"
#include "osascript/message/HTMLNesting.hpp"
#include "osascript/message/InlineStyle.hpp"
#include "osascript/message/NamedCharset.hpp"
#include "osascript/message/TextLayout.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <gumbo.h>
#include <iterator>
#include <vector>

// The parser is gumbo: exact HTML5, down to the end tags that mail leaves out. Its time is
// quadratic in the depth of a document, which is therefore bounded before.

namespace velmiro::osascript {
namespace {

using namespace std::string_view_literals;

constexpr std::size_t deepest = 100; // besides rows, cells and paragraphs

enum class Kind { plain, block, hidden, lineBreak, rule, link, list, quote, preformatted, cell };

/// How an element is shown.
struct Style {
    GumboTag tag = GUMBO_TAG_UNKNOWN;
    Kind kind = Kind::plain;
    std::size_t before = 0; ///< line breaks
    std::size_t after = 0;
};

constexpr std::array styles{
    Style{GUMBO_TAG_A, Kind::link},
    Style{GUMBO_TAG_ADDRESS, Kind::block, 1, 1},
    Style{GUMBO_TAG_ARTICLE, Kind::block, 1, 1},
    Style{GUMBO_TAG_ASIDE, Kind::block, 1, 1},
    Style{GUMBO_TAG_BLOCKQUOTE, Kind::quote, 2, 2},
    Style{GUMBO_TAG_BODY, Kind::block, 1, 1},
    Style{GUMBO_TAG_BR, Kind::lineBreak},
    Style{GUMBO_TAG_CAPTION, Kind::block, 1, 1},
    Style{GUMBO_TAG_CENTER, Kind::block, 1, 1},
    Style{GUMBO_TAG_DD, Kind::block, 1, 1},
    Style{GUMBO_TAG_DETAILS, Kind::block, 1, 1},
    Style{GUMBO_TAG_DIR, Kind::list, 2, 2},
    Style{GUMBO_TAG_DIV, Kind::block, 1, 1},
    Style{GUMBO_TAG_DL, Kind::block, 2, 2},
    Style{GUMBO_TAG_DT, Kind::block, 1, 1},
    Style{GUMBO_TAG_FIELDSET, Kind::block, 1, 1},
    Style{GUMBO_TAG_FIGCAPTION, Kind::block, 1, 1},
    Style{GUMBO_TAG_FIGURE, Kind::block, 1, 1},
    Style{GUMBO_TAG_FOOTER, Kind::block, 1, 1},
    Style{GUMBO_TAG_FORM, Kind::block, 1, 1},
    Style{GUMBO_TAG_H1, Kind::block, 3, 2},
    Style{GUMBO_TAG_H2, Kind::block, 3, 2},
    Style{GUMBO_TAG_H3, Kind::block, 3, 2},
    Style{GUMBO_TAG_H4, Kind::block, 2, 2},
    Style{GUMBO_TAG_H5, Kind::block, 2, 2},
    Style{GUMBO_TAG_H6, Kind::block, 2, 2},
    Style{GUMBO_TAG_HEAD, Kind::hidden},
    Style{GUMBO_TAG_HEADER, Kind::block, 1, 1},
    Style{GUMBO_TAG_HR, Kind::rule, 2, 2},
    Style{GUMBO_TAG_IFRAME, Kind::hidden},
    Style{GUMBO_TAG_LEGEND, Kind::block, 1, 1},
    Style{GUMBO_TAG_LI, Kind::block, 1, 1},
    Style{GUMBO_TAG_LISTING, Kind::preformatted, 2, 2},
    Style{GUMBO_TAG_MAIN, Kind::block, 1, 1},
    Style{GUMBO_TAG_MENU, Kind::list, 2, 2},
    Style{GUMBO_TAG_NAV, Kind::block, 1, 1},
    Style{GUMBO_TAG_NOEMBED, Kind::hidden},
    Style{GUMBO_TAG_NOFRAMES, Kind::hidden},
    Style{GUMBO_TAG_OL, Kind::list, 2, 2},
    Style{GUMBO_TAG_P, Kind::block, 2, 2},
    Style{GUMBO_TAG_PLAINTEXT, Kind::preformatted, 2, 2},
    Style{GUMBO_TAG_PRE, Kind::preformatted, 2, 2},
    Style{GUMBO_TAG_SCRIPT, Kind::hidden},
    Style{GUMBO_TAG_SECTION, Kind::block, 1, 1},
    Style{GUMBO_TAG_STYLE, Kind::hidden},
    Style{GUMBO_TAG_SUMMARY, Kind::block, 1, 1},
    Style{GUMBO_TAG_TABLE, Kind::block, 2, 2},
    Style{GUMBO_TAG_TD, Kind::cell},
    Style{GUMBO_TAG_TEMPLATE, Kind::hidden},
    Style{GUMBO_TAG_TH, Kind::cell},
    Style{GUMBO_TAG_TITLE, Kind::hidden},
    Style{GUMBO_TAG_TR, Kind::block, 1, 1},
    Style{GUMBO_TAG_UL, Kind::list, 2, 2},
    Style{GUMBO_TAG_XMP, Kind::preformatted, 2, 2},
};

constexpr auto stylesByTag = [] {
    std::array<Style, GUMBO_TAG_LAST> all{};
    for (const Style& style : styles) {
        all[style.tag] = style;
    }
    return all;
}();

const Style& styleOf(GumboTag tag) {
    return stylesByTag[tag];
}

bool isElement(const GumboNode& node) {
    return node.type == GUMBO_NODE_ELEMENT;
}

bool isList(const GumboNode* node) {
    return node != nullptr && isElement(*node) && styleOf(node->v.element.tag).kind == Kind::list;
}

bool isItem(const GumboNode& node) {
    return isElement(node) && node.v.element.tag == GUMBO_TAG_LI;
}

const GumboNode& child(const GumboElement& element, std::size_t index) {
    return *static_cast<const GumboNode*>(element.children.data[index]);
}

/// Returns an empty text if the element has no such attribute.
std::string_view attribute(const GumboElement& element, const char* name) {
    const GumboAttribute* const found = gumbo_get_attribute(&element.attributes, name);
    return found == nullptr ? std::string_view{} : found->value;
}

/// Returns whether an element's own attributes hide it, with all that is in it. A sender may so
/// show a text to programs that no reader sees.
bool isHidden(const GumboElement& element) {
    return gumbo_get_attribute(&element.attributes, "hidden") != nullptr ||
           hidesElement(attribute(element, "style"));
}

std::string letters(std::size_t number, char first) {
    constexpr std::size_t alphabet = 26;
    std::string text;
    for (; number > 0; number = (number - 1) / alphabet) {
        text.insert(text.begin(),
                    static_cast<char>(first + static_cast<char>((number - 1) % alphabet)));
    }
    return text;
}

/// Returns the number of an item of an ordered list, in the style that the list's `type` names.
std::string numeral(std::string_view type, std::size_t number) {
    if (number > 0 && (type == "a" || type == "A")) {
        return letters(number, type.front());
    }
    return std::to_string(number);
}

/// The items of a list that is open.
struct List {
    bool isOrdered = false;
    bool isNested = false; ///< directly within an item
    std::string_view type;
    std::size_t number = 1; ///< of the next item
    std::size_t width = 0;  ///< of the longest marker

    [[nodiscard]] std::string marker(std::size_t itsNumber) const {
        std::string text = isOrdered ? numeral(type, itsNumber) + ". " : "* ";
        return isNested ? text : " " + std::move(text);
    }
};

List listOf(const GumboElement& element, bool isNested) {
    List list{element.tag == GUMBO_TAG_OL, isNested, attribute(element, "type")};
    const std::string_view start = attribute(element, "start");
    constexpr std::size_t mostNumber = 1'000'000'000;
    std::size_t number = 0;
    if (std::from_chars(start.data(), start.data() + start.size(), number).ec == std::errc{}) {
        list.number = std::min(number, mostNumber);
    }
    std::size_t next = list.number;
    for (unsigned i = 0; i < element.children.length; ++i) {
        if (isItem(child(element, i))) {
            list.width = std::max(list.width, list.marker(next++).size());
        }
    }
    return list;
}

/// Returns where a link leads, empty if to a place within the document.
std::string linkTarget(const GumboElement& element) {
    constexpr auto mail = "mailto:"sv;
    std::string target;
    std::ranges::copy_if(attribute(element, "href"), std::back_inserter(target),
                         [](char c) { return static_cast<unsigned char>(c) > ' '; });
    if (target.starts_with(mail)) {
        target.erase(0, mail.size());
    }
    return target.starts_with('#') ? std::string{} : target;
}

/// Walks through a document, whose depth must not matter, and lays out its text.
class Renderer {
public:
    std::string text(const GumboNode& root) {
        enter(root);
        while (!path_.empty()) {
            Step& step = path_.back();
            const GumboElement& element = step.node->v.element;
            if (step.next < element.children.length) {
                enter(child(element, step.next++));
            } else {
                leave(*step.node);
                path_.pop_back();
            }
        }
        return layout_.take();
    }

    [[nodiscard]] std::size_t deepest() const { return deepest_; }

private:
    struct Step {
        const GumboNode* node;
        unsigned next = 0;
    };

    void enter(const GumboNode& node) {
        switch (node.type) {
        case GUMBO_NODE_ELEMENT:
            open(node);
            break;
        case GUMBO_NODE_TEXT:
        case GUMBO_NODE_CDATA:
        case GUMBO_NODE_WHITESPACE:
            add(node.v.text.text);
            break;
        default:
            break;
        }
    }

    void add(std::string_view text) {
        if (preformatted_ > 0) {
            layout_.addPreformatted(text);
            return;
        }
        // A space of no width shows where a long word may be broken.
        constexpr auto widthless = "\u200B"sv;
        for (std::size_t at = text.find(widthless); at != std::string_view::npos;
             at = text.find(widthless)) {
            layout_.addText(text.substr(0, at));
            text.remove_prefix(at + widthless.size());
        }
        layout_.addText(text);
    }

    void open(const GumboNode& node) {
        const GumboElement& element = node.v.element;
        const Style& style = styleOf(element.tag);
        if (style.kind == Kind::hidden || isHidden(element)) {
            return;
        }
        const bool isNestedList = style.kind == Kind::list && isItem(*node.parent);
        layout_.separate(isNestedList ? 1 : style.before);
        if (isList(node.parent)) {
            openItem(node);
        }
        switch (style.kind) {
        case Kind::list:
            lists_.push_back(listOf(element, isNestedList));
            break;
        case Kind::quote:
            layout_.openPrefix("> ", "> ");
            break;
        case Kind::preformatted:
            ++preformatted_;
            break;
        case Kind::link:
            layout_.record();
            break;
        case Kind::lineBreak:
            layout_.breakLine();
            break;
        case Kind::rule:
            layout_.addText(std::string(40, '-'));
            break;
        default:
            break;
        }
        path_.push_back({&node});
        deepest_ = std::max(deepest_, path_.size());
    }

    void leave(const GumboNode& node) {
        const GumboElement& element = node.v.element;
        const Style& style = styleOf(element.tag);
        switch (style.kind) {
        case Kind::list:
            lists_.pop_back();
            break;
        case Kind::quote:
            layout_.closePrefix();
            break;
        case Kind::preformatted:
            --preformatted_;
            break;
        case Kind::link:
            closeLink(element);
            break;
        case Kind::cell:
            layout_.addBlank();
            break;
        default:
            break;
        }
        const bool isNestedList = style.kind == Kind::list && isItem(*node.parent);
        layout_.separate(isNestedList ? 1 : style.after);
        if (isList(node.parent)) {
            layout_.closePrefix();
        }
    }

    /// Opens a child of a list, which is not always an item.
    void openItem(const GumboNode& node) {
        List& list = lists_.back();
        std::string marker = isItem(node) ? list.marker(list.number++) : std::string{};
        marker.resize(std::max(marker.size(), list.width), ' ');
        std::string rest(marker.size(), ' ');
        layout_.openPrefix(std::move(marker), std::move(rest));
    }

    void closeLink(const GumboElement& element) {
        const std::string shown = layout_.recorded();
        const std::string target = linkTarget(element);
        if (target.empty() || target == shown) {
            return;
        }
        if (shown.empty()) {
            layout_.addWord(target); // the link is an image
        } else {
            layout_.appendToLast(" [" + target + "]");
        }
    }

    TextLayout layout_;
    std::vector<Step> path_;
    std::vector<List> lists_;
    std::size_t preformatted_ = 0; ///< open elements
    std::size_t deepest_ = 0;
};

/// Returns the beginning of a text in UTF-8, without a part of a character.
std::string_view beginning(std::string_view text, std::size_t most) {
    std::size_t end = std::min(most, text.size());
    while (end < text.size() && end > 0 &&
           (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80) {
        --end;
    }
    return text.substr(0, end);
}

} // namespace

std::string htmlText(std::string_view html) {
    const std::string document = withBoundedNesting(beginning(html, mostHTML), deepest);
    GumboOptions options = kGumboDefaultOptions;
    options.max_errors = 0; // nobody reads them
    GumboOutput* const parsed =
        gumbo_parse_with_options(&options, document.data(), document.size());
    Renderer renderer;
    std::string text = renderer.text(*parsed->root);
    // It is freed recursively: one that is deep after all stays in memory, or the stack would end.
    constexpr std::size_t freedSafely = 10'000;
    if (renderer.deepest() < freedSafely) {
        gumbo_destroy_output(&options, parsed);
    }
    return text;
}

std::string_view htmlCharset(std::string_view bytes) {
    constexpr std::size_t declared = 4096;
    constexpr auto tag = "<meta"sv;
    std::string_view head = bytes.substr(0, declared);
    for (head = fromWord(head, tag); !head.empty(); head = fromWord(head.substr(1), tag)) {
        const auto charset = namedCharset(head.substr(0, head.find('>')));
        if (!charset.empty()) {
            // The name was read as ASCII, so it is not true of a set such as UTF-16.
            return decoded(tag, charset) == tag ? charset : std::string_view{};
        }
    }
    return {};
}

} // namespace velmiro::osascript
