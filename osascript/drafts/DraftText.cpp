#include "osascript/drafts/DraftText.hpp"

#include "osascript/drafts/DraftAddresses.hpp"
#include "osascript/drafts/DraftHeader.hpp"
#include "osascript/message/GMime.hpp"

#include <chrono>
#include <cstddef>

// GMime makes the structure and the quoted-printable. The values of the fields are made here, since
// its own would change some of them: it cuts long addresses, joins blanks and drops what it cannot
// parse.

namespace velmiro::osascript {
namespace {

/// Adds a field whose value is used as it is.
void addField(const Owned<GMimeMessage>& message, const char* name, const std::string& value) {
    GMimeHeaderList* const fields = g_mime_object_get_header_list(GMIME_OBJECT(message.get()));
    g_mime_header_list_append(fields, name, "", nullptr);
    g_mime_header_set_raw_value(g_mime_header_list_get_header(fields, name),
                                folded(name, value).c_str());
}

void addMailboxes(const Owned<GMimeMessage>& message, const char* name,
                  const std::vector<Mailbox>& mailboxes) {
    std::string value;
    for (const Mailbox& one : mailboxes) {
        value.append(value.empty() ? "" : ", ").append(recipientText(one));
    }
    if (!mailboxes.empty()) {
        addField(message, name, value);
    }
}

std::string dateText(Instant time) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time).time_since_epoch();
    const Owned<GDateTime> date{g_date_time_new_from_unix_utc(seconds.count())};
    return Owned<char>{g_mime_utils_header_format_date(date.get())}.get();
}

/// Returns the text with line feeds as line ends, one of them after the last line. Carriage returns
/// before a line feed are part of the line end.
std::string lines(std::string_view content) {
    std::string text;
    text.reserve(content.size() + 1);
    for (const char letter : content) {
        while (letter == '\n' && text.ends_with('\r')) {
            text.pop_back();
        }
        text += letter;
    }
    while (text.ends_with('\r')) {
        text.pop_back();
    }
    return text + '\n';
}

Owned<GMimeTextPart> textPart(std::string_view content) {
    const std::string text = lines(content);
    const Owned<GMimeStream> stream{g_mime_stream_mem_new_with_buffer(text.data(), text.size())};
    const Owned<GMimeDataWrapper> wrapper{
        g_mime_data_wrapper_new_with_stream(stream.get(), GMIME_CONTENT_ENCODING_DEFAULT)};
    Owned<GMimeTextPart> part{g_mime_text_part_new_with_subtype("plain")};
    g_mime_text_part_set_charset(part.get(), "utf-8");
    g_mime_part_set_content_encoding(GMIME_PART(part.get()),
                                     GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE);
    g_mime_part_set_content(GMIME_PART(part.get()), wrapper.get());
    return part;
}

std::string written(const Owned<GMimeMessage>& message) {
    const Owned<GMimeStream> memory{g_mime_stream_mem_new()};
    const Owned<GMimeStream> stream{g_mime_stream_filter_new(memory.get())};
    // A line that begins with "From " begins the next message of a mailbox in one file.
    const Owned<GMimeFilter> armor{g_mime_filter_from_new(GMIME_FILTER_FROM_MODE_ARMOR)};
    g_mime_stream_filter_add(GMIME_STREAM_FILTER(stream.get()), armor.get());
    g_mime_object_write_to_stream(GMIME_OBJECT(message.get()), nullptr, stream.get());
    g_mime_stream_flush(stream.get());
    const GByteArray* const bytes =
        g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(memory.get()));
    return {reinterpret_cast<const char*>(bytes->data), bytes->len};
}

} // namespace

std::string draftText(const Draft& draft, const DraftOrigin& origin) {
    g_mime_init();
    const Owned<GMimeMessage> message{g_mime_message_new(FALSE)};
    addField(message, "Date", dateText(origin.time));
    addField(message, "Message-ID", "<" + origin.identifier + ">");
    if (origin.sender) {
        addMailboxes(message, "From", {*origin.sender});
    }
    addMailboxes(message, "To", draft.to);
    addMailboxes(message, "Cc", draft.cc);
    addField(message, "Subject", unstructured(draft.subject));
    g_mime_message_set_mime_part(message.get(), GMIME_OBJECT(textPart(draft.content).get()));
    return written(message);
}

} // namespace velmiro::osascript
