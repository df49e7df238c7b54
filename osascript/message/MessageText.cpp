#include "osascript/message/MessageText.hpp"

#include "osascript/message/CharacterSets.hpp"
#include "osascript/message/GMime.hpp"
#include "osascript/message/HTMLText.hpp"
#include "osascript/message/MessageHeader.hpp"
#include "osascript/message/TextPart.hpp"
#include "osascript/text/CharacterKinds.hpp"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <optional>
#include <string_view>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace velmiro::osascript {
namespace {

/// How deep parts and messages within one another are read.
constexpr int deepestPart = 50;

/// A file is not read beyond this many bytes, half of the address space that its reader gets.
constexpr off_t mostOfAFile = off_t{1} << 29U;

/// More text than this is not read, and messages that have to be held in memory are cut there.
constexpr std::size_t mostText = std::size_t{64} << 20U;

/// Texts that say the same, or a single one.
struct Texts {
    std::vector<std::string> plain;
    std::vector<std::string> html;
};

/// The alternative around a part: the index of its texts, as soon as there is one.
using Alternative = std::optional<std::size_t>;

/// Returns whether a reader sees nothing of a text.
bool isInvisible(std::string_view text) {
    // Programs fill an empty part with characters that have no width.
    constexpr std::array<std::string_view, 6> widthless{
        "\u00AD", "\u034F", "\u200B", "\u200C", "\u200D", "\u2060",
    };
    while (!text.empty()) {
        const auto* const found = std::ranges::find_if(
            widthless, [&](std::string_view one) { return text.starts_with(one); });
        const std::size_t length = found != widthless.end() ? found->size() : spaceAtFront(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

/// Returns whether a report about delivery is among the parts. It returns the message, which its
/// sender knows.
bool holdsReport(GMimeObject* part, int depth = 0) {
    if (depth > deepestPart || !GMIME_IS_MULTIPART(part)) {
        return isReport(part);
    }
    auto* const parts = GMIME_MULTIPART(part);
    for (int i = 0; i < g_mime_multipart_get_count(parts); ++i) {
        if (holdsReport(g_mime_multipart_get_part(parts, i), depth + 1)) {
            return true;
        }
    }
    return false;
}

Owned<GMimeMessage> parsed(GMimeStream* stream) {
    const Owned<GMimeParser> parser{g_mime_parser_new_with_stream(stream)};
    return Owned<GMimeMessage>{g_mime_parser_construct_message(parser.get(), nullptr)};
}

/// Returns a stream over the beginning of a file. It is mapped because the library takes a failed
/// read for the end of the message; in a mapping, an error ends the process.
Owned<GMimeStream> mapped(int descriptor, off_t size) {
    const int own = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0); // the stream closes it
    GMimeStream* const stream =
        own < 0 ? nullptr
                : g_mime_stream_mmap_new_with_bounds(own, PROT_READ, MAP_PRIVATE, 0, size);
    if (stream == nullptr) {
        ::close(own);
        throw UnreadableMessage{"The message cannot be mapped into memory."};
    }
    return Owned<GMimeStream>{stream};
}

std::string_view mappedBytes(GMimeStream* stream) {
    const auto* const map = GMIME_STREAM_MMAP(stream);
    return {map->map, map->maplen};
}

Owned<GMimeStream> streamOver(const std::string& bytes) {
    return Owned<GMimeStream>{g_mime_stream_mem_new_with_buffer(bytes.data(), bytes.size())};
}

/// Collects the texts of a message in order.
class Collector {
public:
    /// `everything`: also parts that are read only in a message without other text.
    explicit Collector(bool everything) : everything_{everything} {}

    void addMessage(GMimeMessage* message, int depth) {
        GMimeObject* const body = g_mime_message_get_mime_part(message);
        if (body == nullptr) {
            return;
        }
        const bool outer = std::exchange(showsMessages_, everything_ || !holdsReport(body));
        add(body, nullptr, depth);
        showsMessages_ = outer;
    }

    [[nodiscard]] bool foundText() const { return foundText_; }
    [[nodiscard]] bool isCut() const { return isCut_; }

    /// Returns the texts with a blank line between them, HTML only where there is no other.
    [[nodiscard]] std::string joined() const {
        std::string all;
        std::size_t htmlLeft = mostHTML;
        for (const Texts& texts : texts_) {
            if (!std::ranges::all_of(texts.plain, isInvisible)) {
                std::ranges::for_each(texts.plain, [&](const auto& text) { join(all, text); });
                continue;
            }
            for (const std::string& html : texts.html) {
                const auto read = std::string_view{html}.substr(0, htmlLeft);
                htmlLeft -= read.size();
                join(all, htmlText(read));
            }
        }
        return all;
    }

private:
    static void join(std::string& all, std::string_view text) {
        if (!isInvisible(text)) {
            all += all.empty() ? "" : "\n\n";
            all += text.substr(0, text.find_last_not_of('\n') + 1);
        }
    }

    void add(GMimeObject* part, Alternative* alternative, int depth) {
        if (depth > deepestPart) {
            isCut_ = true;
        } else if (GMIME_IS_MULTIPART(part)) {
            addParts(GMIME_MULTIPART(part), alternative, depth);
        } else if (isAttachment(part)) {
            return;
        } else if (GMIME_IS_MESSAGE_PART(part)) {
            addInner(g_mime_message_part_get_message(GMIME_MESSAGE_PART(part)), depth);
        } else if (isEncodedMessage(part)) {
            const std::string bytes = bytesOf(GMIME_PART(part), mostText);
            addInner(parsed(streamOver(bytes).get()).get(), depth);
        } else if (GMIME_IS_PART(part)) {
            addText(GMIME_PART(part), alternative);
        }
    }

    void addParts(GMimeMultipart* parts, Alternative* alternative, int depth) {
        GMimeContentType* const type = g_mime_object_get_content_type(GMIME_OBJECT(parts));
        Alternative own;
        if (g_mime_content_type_is_type(type, "multipart", "alternative") != FALSE) {
            alternative = &own;
        }
        const int count = g_mime_multipart_get_count(parts);
        for (int i = 0; i < count; ++i) {
            add(g_mime_multipart_get_part(parts, i), alternative, depth + 1);
        }
        const char* const prologue = g_mime_multipart_get_prologue(parts);
        if (count == 0 && prologue != nullptr) { // its boundary is missing or wrong
            foundText_ = true;
            texts_.push_back({{textOf(prologue, {TextKind::plain, {}})}, {}});
        }
    }

    void addInner(GMimeMessage* message, int depth) {
        if (message != nullptr && showsMessages_) {
            const std::string above = texts_.empty() ? "" : "\n";
            texts_.push_back({{above + messageHeader(message)}, {}});
            addMessage(message, depth + 1);
        }
    }

    void addText(GMimePart* part, Alternative* alternative) {
        const TextType type = typeOf(part);
        const bool isOther = type.kind == TextKind::other;
        const bool isKnown = alternative != nullptr && alternative->has_value();
        if (type.kind == TextKind::none || (isOther && (!everything_ || isKnown)) || room_ == 0) {
            return;
        }
        foundText_ = true;
        const std::string bytes = bytesOf(part, room_);
        room_ -= bytes.size();
        if (!isKnown) {
            texts_.emplace_back();
        }
        if (alternative != nullptr && !isKnown) {
            *alternative = texts_.size() - 1;
        }
        Texts& texts = isKnown ? texts_[**alternative] : texts_.back();
        auto& same = type.kind == TextKind::html ? texts.html : texts.plain;
        same.push_back(textOf(bytes, type));
    }

    bool everything_;
    bool showsMessages_ = true;
    bool foundText_ = false;
    bool isCut_ = false;
    std::size_t room_ = mostText;
    std::vector<Texts> texts_;
};

/// Returns the text after the first blank line of what has no header.
std::string textWithoutHeader(std::string_view message) {
    const std::string text = textOf(message.substr(0, mostText), {TextKind::plain, {}});
    const std::size_t end = text.find("\n\n");
    return end == std::string::npos ? std::string{} : text.substr(end + 2);
}

/// Returns whether a line in the header ends with more than one carriage return.
bool doublesReturns(std::string_view beginning) {
    const std::size_t at = beginning.find("\r\r\n");
    return at < beginning.find("\n\n") && at < beginning.find("\n\r\n");
}

std::string withoutReturnsAtLineEnds(std::string_view text) {
    std::string lines;
    lines.reserve(text.size());
    for (const char letter : text) {
        if (letter == '\n') {
            lines.resize(lines.find_last_not_of('\r') + 1);
        }
        lines += letter;
    }
    return lines;
}

/// Returns a message with line feeds whose line ends the library does not know: bare carriage
/// returns, or several before a line feed. Returns an empty text for any other message.
std::string repairedLines(std::string_view message) {
    const std::string_view beginning = message.substr(0, 64UL * 1024);
    const std::string_view read = message.substr(0, mostText);
    if (doublesReturns(beginning)) {
        return withoutReturnsAtLineEnds(read);
    }
    if (beginning.find('\n') != std::string_view::npos ||
        beginning.find('\r') == std::string_view::npos) {
        return {};
    }
    std::string text{read};
    std::ranges::replace(text, '\r', '\n');
    return text;
}

std::string collected(GMimeMessage* message) {
    for (const bool everything : {false, true}) {
        Collector texts{everything};
        texts.addMessage(message, 0);
        if (texts.foundText() || everything) {
            std::string all = texts.joined();
            if (isInvisible(all) && texts.isCut()) {
                throw UnreadableMessage{"The parts of the message are nested too deep."};
            }
            return all;
        }
    }
    return {};
}

} // namespace

std::string messageText(int descriptor) {
    struct stat status{};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        throw UnreadableMessage{"A message is read from a regular file."};
    }
    if (status.st_size == 0) {
        return {};
    }
    g_mime_init();
    const Owned<GMimeStream> file = mapped(descriptor, std::min(status.st_size, mostOfAFile));
    std::string_view bytes = mappedBytes(file.get());
    constexpr std::string_view byteOrderMark = "\uFEFF"; // the library would lose the first field
    if (bytes.starts_with(byteOrderMark)) {
        bytes.remove_prefix(byteOrderMark.size());
        g_mime_stream_seek(file.get(), byteOrderMark.size(), GMIME_STREAM_SEEK_SET);
    }
    const std::string repaired = repairedLines(bytes);
    const Owned<GMimeStream> lines = repaired.empty() ? nullptr : streamOver(repaired);
    const Owned<GMimeMessage> message = parsed(lines ? lines.get() : file.get());
    std::string text = message ? collected(message.get()) : textWithoutHeader(bytes);
    text.resize(text.find_last_not_of('\n') + 1);
    return text;
}

} // namespace velmiro::osascript
