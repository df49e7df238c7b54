#include "osascript/message/TextPart.hpp"

#include "osascript/message/Base64.hpp"
#include "osascript/message/CharacterSets.hpp"
#include "osascript/message/FlowedText.hpp"
#include "osascript/message/GMime.hpp"
#include "osascript/message/HTMLText.hpp"
#include "osascript/message/NamedCharset.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace velmiro::osascript {
namespace {

using namespace std::string_view_literals;

std::string_view viewOf(const char* text) {
    return text == nullptr ? std::string_view{} : text;
}

std::string lowerCase(std::string_view text) {
    std::string lower{text};
    std::ranges::transform(lower, lower.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return lower;
}

/// Returns the value of a header field as it stands in the message.
std::string_view rawHeader(GMimeObject* part, const char* name) {
    GMimeHeader* const header =
        g_mime_header_list_get_header(g_mime_object_get_header_list(part), name);
    return header == nullptr ? std::string_view{} : viewOf(g_mime_header_get_raw_value(header));
}

/// Returns the type that a field means, in lower case. The library takes what is malformed for
/// binary data.
std::string meantType(GMimeContentType* type, std::string_view field) {
    std::string parsed = lowerCase(viewOf(g_mime_content_type_get_media_type(type)));
    parsed += '/';
    parsed += lowerCase(viewOf(g_mime_content_type_get_media_subtype(type)));
    constexpr auto unknown = "application/octet-stream"sv;
    if (parsed != unknown) {
        return parsed;
    }
    constexpr auto around = " \t\r\n\"'"sv;
    field = field.substr(0, field.find(';'));
    field.remove_prefix(std::min(field.find_first_not_of(around), field.size()));
    const std::string named = lowerCase(field.substr(0, field.find_first_of(around)));
    if (named.empty() || named == "text" || named == "plain" || named == "text/") {
        return "text/plain";
    }
    if (named == "html") {
        return "text/html";
    }
    return named.find('/') == std::string::npos ? "text/unknown" : named;
}

TextKind kindOf(std::string_view type) {
    if (type == "text/plain") {
        return TextKind::plain;
    }
    if (type == "text/html") {
        return TextKind::html;
    }
    const bool isReadable = type.starts_with("text/") || type == "message/delivery-status";
    return isReadable ? TextKind::other : TextKind::none;
}

bool isSet(GMimeContentType* type, const char* parameter, std::string_view value) {
    return lowerCase(viewOf(g_mime_content_type_get_parameter(type, parameter))) == value;
}

GMimeContentEncoding encodingOf(GMimePart* part) {
    const GMimeContentEncoding parsed = g_mime_part_get_content_encoding(part);
    if (parsed != GMIME_CONTENT_ENCODING_DEFAULT) {
        return parsed;
    }
    // Programs add comments, parameters and quotes.
    constexpr std::array<std::pair<std::string_view, GMimeContentEncoding>, 2> encodings{{
        {"base64", GMIME_CONTENT_ENCODING_BASE64},
        {"quoted-printable", GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE},
    }};
    const auto field = rawHeader(GMIME_OBJECT(part), "Content-Transfer-Encoding");
    for (const auto& [name, encoding] : encodings) {
        if (!fromWord(field, name).empty()) {
            return encoding;
        }
    }
    return parsed;
}

std::string withLineFeeds(std::string text) {
    if (text.find('\r') == std::string::npos) {
        return text;
    }
    std::size_t size = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isPair = text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n';
        if (!isPair) {
            text[size++] = text[i] == '\r' ? '\n' : text[i];
        }
    }
    text.resize(size);
    return text;
}

} // namespace

TextType typeOf(GMimePart* part) {
    GMimeContentType* const type = g_mime_object_get_content_type(GMIME_OBJECT(part));
    const auto field = rawHeader(GMIME_OBJECT(part), "Content-Type");
    const auto charset = viewOf(g_mime_content_type_get_parameter(type, "charset"));
    return {kindOf(meantType(type, field)),
            std::string{charset.empty() ? namedCharset(field) : charset},
            isSet(type, "format", "flowed"), isSet(type, "delsp", "yes")};
}

bool isAttachment(GMimeObject* part) {
    return lowerCase(viewOf(g_mime_object_get_disposition(part))) == GMIME_DISPOSITION_ATTACHMENT;
}

bool isReport(GMimeObject* part) {
    GMimeContentType* const type = g_mime_object_get_content_type(part);
    return g_mime_content_type_is_type(type, "message", "delivery-status") != FALSE ||
           g_mime_content_type_is_type(type, "message", "feedback-report") != FALSE;
}

bool isEncodedMessage(GMimeObject* part) {
    GMimeContentType* const type = g_mime_object_get_content_type(part);
    return GMIME_IS_PART(part) &&
           (g_mime_content_type_is_type(type, "message", "rfc822") != FALSE ||
            g_mime_content_type_is_type(type, "message", "global") != FALSE);
}

std::string bytesOf(GMimePart* part, std::size_t most) {
    GMimeDataWrapper* const content = g_mime_part_get_content(part);
    if (content == nullptr) {
        return {};
    }
    GMimeStream* const source = g_mime_data_wrapper_get_stream(content);
    g_mime_stream_reset(source);
    const GMimeContentEncoding encoding = encodingOf(part);
    const bool isBase64 = encoding == GMIME_CONTENT_ENCODING_BASE64; // the library's ends too early
    const Owned<GMimeStream> decoding{g_mime_stream_filter_new(source)};
    if (!isBase64) {
        const Owned<GMimeFilter> filter{g_mime_filter_basic_new(encoding, FALSE)};
        g_mime_stream_filter_add(GMIME_STREAM_FILTER(decoding.get()), filter.get());
    }
    std::array<char, 32UL * 1024> piece;
    std::string bytes;
    while (bytes.size() < most) {
        const auto count = g_mime_stream_read(decoding.get(), piece.data(),
                                              std::min(piece.size(), most - bytes.size()));
        if (count <= 0) {
            break;
        }
        bytes.append(piece.data(), static_cast<std::size_t>(count));
    }
    if (isBase64) {
        std::string decoded;
        decoded.reserve(bytes.size() / 4 * 3);
        appendBase64(decoded, bytes);
        return decoded;
    }
    return bytes;
}

std::string textOf(std::string_view bytes, const TextType& type) {
    std::string_view label = type.charset;
    if (label.empty() && type.kind == TextKind::html) {
        label = htmlCharset(bytes);
    }
    std::string text = withLineFeeds(decoded(bytes, label));
    if (type.isFlowed) {
        text = unflowed(text, type.deletesSpace);
    }
    return text;
}

} // namespace velmiro::osascript
