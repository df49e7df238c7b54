#include "osascript/message/CharacterSets.hpp"

#include "MCPStdio/text/UTF8.hpp"
#include "velmiro_mcp/platform/local/libraries/ICU.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

namespace velmiro::osascript {
namespace {

using local::icuCommon;
using local::ICUCommon;
using namespace std::string_view_literals;

constexpr auto utf8 = "UTF-8"sv;
constexpr auto utf7 = "UTF-7"sv;
constexpr auto windows1252 = "windows-1252"sv;
constexpr auto iso8859Part16 = "ISO-8859-16"sv;
constexpr auto windows1254 = "windows-1254"sv;
constexpr auto windows874 = "windows-874-2000"sv;
constexpr auto hebrew = "iso-8859-8"sv;
constexpr auto arabic = "iso-8859-6"sv;
constexpr auto chinese = "gb18030"sv;
constexpr auto big5 = "ibm-1375_P100-2008"sv; // with HKSCS
constexpr auto korean = "windows-949-2000"sv;
constexpr auto shiftJIS = "ibm-943_P15A-2003"sv;
constexpr auto iso2022JP = "ISO_2022,locale=ja,version=4"sv; // with every set that was ever added
constexpr auto macRoman = "macintosh"sv;

/// Labels that ICU does not know or reads more narrowly than mail programs do, without case and
/// punctuation, and the converters that they mean. Sorted.
constexpr std::array<std::pair<std::string_view, std::string_view>, 76> meanings{{
    {"88591", windows1252},
    {"ansi", windows1252},
    {"ansix341968", windows1252},
    {"ascii", windows1252},
    {"big5", big5},
    {"big5eten", big5},
    {"big5hkscs", big5},
    {"chinese", chinese},
    {"cnbig5", big5},
    {"cngb", chinese},
    {"cp1252", windows1252},
    {"cp50220", iso2022JP},
    {"cp50221", iso2022JP},
    {"cp50222", iso2022JP},
    {"cp819", windows1252},
    {"cp932", shiftJIS},
    {"cp936", chinese},
    {"cp949", korean},
    {"cp950", big5},
    {"csbig5", big5},
    {"cseuckr", korean},
    {"csgb2312", chinese},
    {"csiso2022jp", iso2022JP},
    {"csiso58gb231280", chinese},
    {"csiso88596e", arabic},
    {"csiso88596i", arabic},
    {"csiso88598e", hebrew},
    {"csiso88598i", hebrew},
    {"csisolatin1", windows1252},
    {"csisolatin5", windows1254},
    {"csksc56011987", korean},
    {"csshiftjis", shiftJIS},
    {"euccn", chinese},
    {"euckr", korean},
    {"gb2312", chinese},
    {"gb231280", chinese},
    {"gbk", chinese},
    {"ibm819", windows1252},
    {"iso2022jp", iso2022JP},
    {"iso2022jp1", iso2022JP},
    {"iso2022jp2", iso2022JP},
    {"iso2022jp3", iso2022JP},
    {"iso2022jpms", iso2022JP},
    {"iso646us", windows1252},
    {"iso88591", windows1252},
    {"iso885911", windows874},
    {"iso885916", iso8859Part16},
    {"iso88596e", arabic},
    {"iso88596i", arabic},
    {"iso88598e", hebrew},
    {"iso88598i", hebrew},
    {"iso88599", windows1254},
    {"isoir100", windows1252},
    {"isoir148", windows1254},
    {"isoir149", korean},
    {"isoir58", chinese},
    {"korean", korean},
    {"ksc5601", korean},
    {"ksc56011987", korean},
    {"ksc56011989", korean},
    {"l1", windows1252},
    {"latin1", windows1252},
    {"latin5", windows1254},
    {"mskanji", shiftJIS},
    {"shiftjis", shiftJIS},
    {"sjis", shiftJIS},
    {"tis620", windows874},
    {"uhc", korean},
    {"unicode11utf7", utf7},
    {"unicode11utf8", utf8},
    {"usascii", windows1252},
    {"utf8", utf8},
    {"utf8mb4", utf8},
    {"windows1252", windows1252},
    {"windows31j", shiftJIS},
    {"xmacroman", macRoman},
}};
static_assert(std::ranges::is_sorted(meanings));

/// Returns the letters and digits of a label in lower case, as far as a label can be long.
std::string plainLabel(std::string_view label) {
    constexpr std::size_t longest = 40;
    std::string plain;
    for (const char c : label.substr(0, longest)) {
        if (c >= 'A' && c <= 'Z') {
            plain += static_cast<char>(c - 'A' + 'a');
        } else if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) {
            plain += c;
        }
    }
    return plain;
}

/// Returns the name of the converter that a label means; an empty one if that is up to ICU.
std::string_view meaning(std::string_view label) {
    const std::string plain = plainLabel(label);
    const auto first = [](const auto& entry) { return entry.first; };
    const auto* const found = std::ranges::lower_bound(meanings, plain, {}, first);
    return found != meanings.end() && found->first == plain ? found->second : std::string_view{};
}

std::string fromUTF8(std::string_view bytes) {
    constexpr auto byteOrderMark = "\uFEFF"sv;
    if (bytes.starts_with(byteOrderMark)) {
        bytes.remove_prefix(byteOrderMark.size());
    }
    return MCPStdio::repairUTF8(std::string{bytes});
}

/// Converts from a set that differs from ISO 8859-1 in the characters from `first` on.
std::string fromSingleBytes(std::string_view bytes, unsigned char first,
                            std::u32string_view differing) {
    std::string text;
    text.reserve(bytes.size() + bytes.size() / 8);
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        const bool differs = byte >= first && byte - first < static_cast<int>(differing.size());
        MCPStdio::appendUTF8(text, differs ? differing[byte - first] : byte);
    }
    return text;
}

std::string fromWindows1252(std::string_view bytes) {
    // Those that are not assigned stay control characters.
    constexpr auto differing = U"\u20AC\x81\u201A\u0192\u201E\u2026\u2020\u2021"
                               U"\u02C6\u2030\u0160\u2039\u0152\x8D\u017D\x8F"
                               U"\x90\u2018\u2019\u201C\u201D\u2022\u2013\u2014"
                               U"\u02DC\u2122\u0161\u203A\u0153\x9D\u017E\u0178"sv;
    return fromSingleBytes(bytes, 0x80, differing);
}

/// ICU has no converter for it.
std::string fromISO8859Part16(std::string_view bytes) {
    constexpr auto differing = U"\u00A0\u0104\u0105\u0141\u20AC\u201E\u0160\u00A7"
                               U"\u0161\u00A9\u0218\u00AB\u0179\u00AD\u017A\u017B"
                               U"\u00B0\u00B1\u010C\u0142\u017D\u201D\u00B6\u00B7"
                               U"\u017E\u010D\u0219\u00BB\u0152\u0153\u0178\u017C"
                               U"\u00C0\u00C1\u00C2\u0102\u00C4\u0106\u00C6\u00C7"
                               U"\u00C8\u00C9\u00CA\u00CB\u00CC\u00CD\u00CE\u00CF"
                               U"\u0110\u0143\u00D2\u00D3\u00D4\u0150\u00D6\u015A"
                               U"\u0170\u00D9\u00DA\u00DB\u00DC\u0118\u021A\u00DF"
                               U"\u00E0\u00E1\u00E2\u0103\u00E4\u0107\u00E6\u00E7"
                               U"\u00E8\u00E9\u00EA\u00EB\u00EC\u00ED\u00EE\u00EF"
                               U"\u0111\u0144\u00F2\u00F3\u00F4\u0151\u00F6\u015B"
                               U"\u0171\u00F9\u00FA\u00FB\u00FC\u0119\u021B\u00FF"sv;
    return fromSingleBytes(bytes, 0xA0, differing);
}

using Converter = std::unique_ptr<UConverter, decltype(&::ucnv_close)>;

/// Writes U+FFFD for bytes that a set does not define, where ICU's own callback writes U+001A for
/// some sets.
void replace(const void*, UConverterToUnicodeArgs* arguments, const char*, std::int32_t,
             UConverterCallbackReason reason, UErrorCode* status) {
    if (reason <= UCNV_IRREGULAR) {
        constexpr char16_t unit = u'\uFFFD';
        *status = U_ZERO_ERROR;
        icuCommon().ucnv_cbToUWriteUChars(arguments, &unit, 1, 0, status);
    }
}

Converter openConverter(const std::string& name) {
    const ICUCommon& icu = icuCommon();
    UErrorCode status = U_ZERO_ERROR;
    Converter converter{icu.ucnv_open(name.c_str(), &status), icu.ucnv_close};
    if (converter) {
        icu.ucnv_setToUCallBack(converter.get(), replace, nullptr, nullptr, nullptr, &status);
    }
    return U_SUCCESS(status) ? std::move(converter) : Converter{nullptr, icu.ucnv_close};
}

/// Converts to UTF-8 a piece at a time: a message may be one large text.
std::string converted(std::string_view bytes, UConverter& from) {
    const ICUCommon& icu = icuCommon();
    const Converter into = openConverter("UTF-8");
    std::array<char16_t, 4096> units;
    std::array<char, 8192> piece;
    char16_t* begin = units.data();
    char16_t* end = units.data();
    const char* source = bytes.data();
    std::string text;
    text.reserve(bytes.size());
    for (bool isFirst = true, isDone = false; !isDone; isFirst = false) {
        char* target = piece.data();
        UErrorCode status = U_ZERO_ERROR;
        icu.ucnv_convertEx(into.get(), &from, &target, piece.data() + piece.size(), &source,
                           bytes.data() + bytes.size(), units.data(), &begin, &end,
                           units.data() + units.size(), isFirst ? 1 : 0, 1, &status);
        text.append(piece.data(), target);
        isDone = status != U_BUFFER_OVERFLOW_ERROR;
    }
    return text;
}

/// Removes escapes to ASCII that another escape follows: decoders take them for an error, but
/// programs that concatenate Japanese texts write them.
std::string withoutIdleEscapes(std::string_view bytes) {
    std::string kept;
    kept.reserve(bytes.size());
    while (!bytes.empty()) {
        const std::size_t escape = std::min(bytes.find('\x1B'), bytes.size());
        kept.append(bytes.substr(0, escape));
        bytes.remove_prefix(escape);
        const bool toASCII = bytes.starts_with("\x1B(B") || bytes.starts_with("\x1B(J");
        const std::string_view next = toASCII ? bytes.substr(3) : std::string_view{};
        if (next.starts_with("\x1B(") || next.starts_with("\x1B$")) {
            bytes = next;
        } else {
            kept.append(bytes.substr(0, 1));
            bytes.remove_prefix(std::min<std::size_t>(1, bytes.size()));
        }
    }
    return kept;
}

} // namespace

std::string decoded(std::string_view bytes, std::string_view label) {
    const std::string_view name = meaning(label);
    if (name == utf8) {
        return fromUTF8(bytes);
    }
    if (name == windows1252) {
        return fromWindows1252(bytes);
    }
    if (name == iso8859Part16) {
        return fromISO8859Part16(bytes);
    }
    const std::string known{name.empty() ? label : name};
    UErrorCode status = U_ZERO_ERROR;
    // ICU would search the disk for an unknown name.
    if (known.find('\0') != std::string::npos ||
        (name.empty() && icuCommon().ucnv_countAliases(known.c_str(), &status) == 0)) {
        return decodedUnlabelled(bytes);
    }
    const Converter from = openConverter(known);
    if (!from) {
        return decodedUnlabelled(bytes);
    }
    return name == iso2022JP ? converted(withoutIdleEscapes(bytes), *from)
                             : converted(bytes, *from);
}

std::string decodedUnlabelled(std::string_view bytes) {
    return MCPStdio::isValidUTF8(bytes) ? fromUTF8(bytes) : fromWindows1252(bytes);
}

bool isJoinable(std::string_view label) {
    return meaning(label) != utf7;
}

} // namespace velmiro::osascript
