#include "velmiro_mcp/platform/local/contacts/VCardLines.hpp"

#include "MCPStdio/text/UTF8.hpp"
#include "velmiro_mcp/platform/local/libraries/UnicodeText.hpp"

#include <algorithm>
#include <cstdint>

namespace velmiro::local {
namespace {

constexpr std::size_t longestLine = 16UL << 10;

/// Returns whether a value has this encoding. Version 2.1 may omit the parameter's name:
/// TEL;BASE64:...
bool isEncoded(const ContentLine& line, std::string_view encoding) {
    for (std::string_view rest = line.parameters; !rest.empty();) {
        const Parameter found = takeParameter(rest);
        if (sameWord(found.name, encoding) ||
            (sameWord(found.name, "ENCODING") && sameWord(found.content, encoding))) {
            return true;
        }
    }
    return false;
}

bool isQuotedPrintable(const ContentLine& line) {
    return isEncoded(line, "QUOTED-PRINTABLE");
}

bool isBase64(const ContentLine& line) {
    return isEncoded(line, "BASE64") || isEncoded(line, "B");
}

/// Returns whether a quoted-printable line, or the last part of one, continues on the next line.
bool endsWithSoftBreak(std::string_view line) {
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    return line.ends_with('=');
}

std::optional<unsigned> hexDigit(char letter) {
    if (letter >= '0' && letter <= '9') {
        return letter - '0';
    }
    const char upper = static_cast<char>(letter & ~0x20);
    return upper >= 'A' && upper <= 'F' ? std::optional<unsigned>{upper - 'A' + 10} : std::nullopt;
}

/// Decodes a quoted-printable value. An equals sign that begins no code stays, unless it ends a
/// line.
std::string fromQuotedPrintable(std::string_view value) {
    const auto isBreak = [](char letter) { return letter == '\r' || letter == '\n'; };
    std::string bytes;
    for (std::size_t index = 0; index < value.size(); ++index) {
        const auto rest = value.substr(index + 1);
        if (isBreak(value[index])) {
            continue;
        }
        if (value[index] != '=') {
            bytes += value[index];
            continue;
        }
        const auto high = rest.size() >= 2 ? hexDigit(rest[0]) : std::nullopt;
        const auto low = high ? hexDigit(rest[1]) : std::nullopt;
        if (low) {
            bytes += static_cast<char>(*high * 16 + *low);
            index += 2;
        } else if (!rest.empty() && !isBreak(rest.front())) {
            bytes += '=';
        }
    }
    return bytes;
}

std::string fromBase64(std::string_view value) {
    constexpr std::string_view digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    std::uint32_t bits = 0;
    int count = 0;
    for (const char letter : value) {
        const auto digit = digits.find(letter);
        if (digit == std::string_view::npos) {
            continue; // a line break, white space, or the padding at the end
        }
        bits = bits << 6U | static_cast<std::uint32_t>(digit);
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes += static_cast<char>(bits >> static_cast<unsigned>(count) & 0xFFU);
        }
    }
    return bytes;
}

} // namespace

std::string_view takeFoldedLine(std::string_view& bytes) {
    std::size_t end = 0;
    std::optional<bool> quotedPrintable; // determined at the first soft break
    for (std::size_t begin = 0;; begin = end + 1) {
        end = std::min(bytes.find('\n', begin), bytes.size());
        if (end == bytes.size()) {
            break;
        }
        const char next = end + 1 < bytes.size() ? bytes[end + 1] : '\0';
        if (next == ' ' || next == '\t') {
            continue;
        }
        if (!endsWithSoftBreak(bytes.substr(begin, end - begin))) {
            break;
        }
        if (!quotedPrintable) {
            std::string_view first = bytes.substr(0, end);
            quotedPrintable = isQuotedPrintable(takeLine(first));
        }
        if (!*quotedPrintable) {
            break;
        }
    }
    const auto line = bytes.substr(0, end);
    bytes.remove_prefix(std::min(end + 1, bytes.size()));
    return line;
}

std::string_view propertyName(std::string_view foldedLine) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF"; // also where files were concatenated
    if (foldedLine.starts_with(byteOrderMark)) {
        foldedLine.remove_prefix(byteOrderMark.size());
    }
    const auto name = foldedLine.substr(0, foldedLine.find_first_of(";:"));
    return name.substr(name.find('.') + 1); // the whole name if there is no group
}

std::optional<std::string> valueOf(std::string_view foldedLine, Folding folding) {
    if (foldedLine.size() > longestLine) {
        return std::nullopt;
    }
    std::string text{foldedLine};
    std::string_view firstLine = text;
    const bool quotedPrintable = isQuotedPrintable(takeLine(firstLine));
    if (!quotedPrintable && folding == Folding::addsBlank) {
        unfold(text);
    } else if (!quotedPrintable) {
        std::erase(text, '\n');
        std::erase(text, '\r');
    }
    std::string_view rest = text;
    const ContentLine line = takeLine(rest);
    if (line.name.empty()) {
        return std::nullopt;
    }
    std::string bytes{line.value};
    if (quotedPrintable) {
        bytes = fromQuotedPrintable({line.value.data(), text.data() + text.size()});
    } else if (isBase64(line)) {
        bytes = fromBase64(line.value);
    }
    const auto characterSet = line.parameter("CHARSET");
    return characterSet.empty() || sameWord(characterSet, "UTF-8")
               ? MCPStdio::repairUTF8(std::move(bytes))
               : decodedText(bytes, characterSet);
}

} // namespace velmiro::local
