#include "velmiro_mcp/platform/local/icalendar/ContentLine.hpp"

#include "MCPStdio/text/UTF8.hpp"

#include <algorithm>
#include <cstddef>

namespace velmiro::local {
namespace {

char lowered(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

/// Returns the position of the first `wanted` outside quotes, or `npos`.
std::size_t findUnquoted(std::string_view text, char wanted) {
    bool quoted = false;
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] == '"') {
            quoted = !quoted;
        } else if (text[index] == wanted && !quoted) {
            return index;
        }
    }
    return std::string_view::npos;
}

} // namespace

bool sameWord(std::string_view left, std::string_view right) {
    return std::ranges::equal(left, right, {}, lowered, lowered);
}

void unfold(std::string& text) {
    std::size_t kept = 0;
    std::size_t begin = 0;
    const auto keepUpTo = [&](std::size_t end) {
        std::copy(text.begin() + static_cast<std::ptrdiff_t>(begin),
                  text.begin() + static_cast<std::ptrdiff_t>(end),
                  text.begin() + static_cast<std::ptrdiff_t>(kept));
        kept += end - begin;
    };
    for (auto found = text.find('\n'); found != std::string::npos; found = text.find('\n', found)) {
        const char next = found + 1 < text.size() ? text[found + 1] : '\0';
        if (next != ' ' && next != '\t') {
            ++found;
            continue;
        }
        keepUpTo(found);
        while (kept > 0 && text[kept - 1] == '\r') {
            --kept;
        }
        begin = found = found + 2;
    }
    if (begin > 0) {
        keepUpTo(text.size());
        text.resize(kept);
    }
}

std::string unfoldedText(std::string bytes) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (bytes.starts_with(byteOrderMark)) {
        bytes.erase(0, byteOrderMark.size());
    }
    unfold(bytes);
    std::string text = MCPStdio::repairUTF8(std::move(bytes));
    for (auto found = text.find('\0'); found != std::string::npos; found = text.find('\0', found)) {
        text.replace(found, 1, "\xEF\xBF\xBD");
    }
    return text;
}

bool ContentLine::is(std::string_view wanted) const {
    return sameWord(name, wanted);
}

Parameter takeParameter(std::string_view& parameters) {
    parameters.remove_prefix(1);
    const auto whole = parameters.substr(0, findUnquoted(parameters, ';'));
    parameters.remove_prefix(whole.size());
    const auto name = whole.substr(0, whole.find('='));
    const auto contents = whole.substr(std::min(name.size() + 1, whole.size()));
    const auto content =
        contents.starts_with('"') ? contents.substr(1, contents.find('"', 1) - 1) : contents;
    return {name, content};
}

std::string_view ContentLine::parameter(std::string_view wanted) const {
    for (std::string_view rest = parameters; !rest.empty();) {
        const Parameter found = takeParameter(rest);
        if (sameWord(found.name, wanted)) {
            return found.content;
        }
    }
    return {};
}

ContentLine takeLine(std::string_view& text) {
    auto line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    while (line.ends_with('\r')) { // more than one if a program translated line breaks twice
        line.remove_suffix(1);
    }
    const auto colon = findUnquoted(line, ':');
    if (colon == std::string_view::npos) {
        return {};
    }
    const auto head = line.substr(0, colon);
    const auto nameSize = std::min(head.find(';'), head.size());
    return {head.substr(0, nameSize), head.substr(nameSize), line.substr(colon + 1)};
}

std::string_view trimWSP(std::string_view text) {
    const auto first = std::min(text.find_first_not_of(" \t"), text.size());
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string unescapedText(std::string_view value) {
    if (value.find('\\') == std::string_view::npos) {
        return std::string{value};
    }
    std::string text;
    text.reserve(value.size());
    for (std::size_t index = 0; index < value.size(); ++index) {
        const char next =
            value[index] == '\\' && index + 1 < value.size() ? value[index + 1] : '\0';
        if (next == 'n' || next == 'N') {
            text += '\n';
            ++index;
        } else if (next == '\\' || next == ';' || next == ',') {
            text += next;
            ++index;
        } else {
            text += value[index];
        }
    }
    return text;
}

} // namespace velmiro::local
