#include "osascript/drafts/DraftSender.hpp"

#include "osascript/drafts/DraftAddresses.hpp"
#include "osascript/message/GMime.hpp"
#include "velmiro_mcp/platform/local/files/Files.hpp"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <system_error>
#include <tuple>
#include <utility>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace velmiro::osascript {
namespace {

constexpr std::size_t mostMessages = 200;

/// A sent message has passed no server, so its header is short.
constexpr std::size_t mostOfHeader = 16UL << 10;

struct SentMessage {
    std::uint64_t time = 0; ///< seconds since 1970, as its name says
    const local::OpenFolder* folder = nullptr;
    std::string name;
};

std::uint64_t timeIn(std::string_view name) {
    std::uint64_t time = 0;
    const auto end = std::from_chars(name.data(), name.data() + name.size(), time);
    return end.ec == std::errc{} ? time : 0;
}

/// Returns the latest messages, the last one first.
std::vector<SentMessage> latestMessages(const std::vector<local::OpenFolder>& folders) {
    std::vector<SentMessage> messages;
    for (const local::OpenFolder& folder : folders) {
        for (std::string& name : folder.visibleNames()) {
            messages.push_back({timeIn(name), &folder, std::move(name)});
        }
    }
    const auto count = static_cast<std::ptrdiff_t>(std::min(messages.size(), mostMessages));
    std::ranges::partial_sort(messages, messages.begin() + count, std::ranges::greater{},
                              [](const SentMessage& one) { return std::tie(one.time, one.name); });
    messages.erase(messages.begin() + count, messages.end());
    return messages;
}

/// Returns the header of a message, or its beginning; empty if it cannot be read.
std::string headerOf(const SentMessage& message) {
    const local::Descriptor file =
        local::openForReading(message.folder->descriptor(), message.name);
    struct stat about{};
    if (!file || fstat(file.get(), &about) != 0 || !S_ISREG(about.st_mode)) {
        return {};
    }
    std::string header(mostOfHeader, '\0');
    const ssize_t length = pread(file.get(), header.data(), header.size(), 0);
    header.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    for (const std::string_view end : {"\n\n", "\n\r\n"}) {
        if (const std::size_t at = header.find(end); at != std::string::npos) {
            header.resize(at + 1);
        }
    }
    return header + '\n';
}

/// Returns the addresses that a message with this header is from.
std::vector<Mailbox> sendersIn(const std::string& header) {
    g_mime_init();
    const Owned<GMimeStream> stream{
        g_mime_stream_mem_new_with_buffer(header.data(), header.size())};
    const Owned<GMimeParser> parser{g_mime_parser_new_with_stream(stream.get())};
    const Owned<GMimeMessage> message{g_mime_parser_construct_message(parser.get(), nullptr)};
    if (!message) {
        return {};
    }
    std::vector<Mailbox> senders = mailboxesIn(g_mime_message_get_from(message.get()));
    std::erase_if(senders,
                  [](const Mailbox& one) { return one.address.find('@') == std::string::npos; });
    return senders;
}

/// Returns whether two addresses reach the same person: domains have no case.
bool isSameAddress(std::string_view one, std::string_view other) {
    const std::size_t at = one.rfind('@');
    return one.size() == other.size() && one.substr(0, at) == other.substr(0, at) &&
           g_ascii_strcasecmp(std::string{one}.c_str(), std::string{other}.c_str()) == 0;
}

std::vector<local::OpenFolder> foldersOfSent(const std::string& maildir) {
    std::vector<local::OpenFolder> folders;
    for (const char* name : {"/.Sent/cur", "/.Sent/new"}) {
        if (auto folder = local::openFolderIfThere(maildir + name)) {
            folders.push_back(std::move(*folder));
        }
    }
    return folders;
}

std::optional<Mailbox> onlySender(const std::string& maildir) {
    const std::vector<local::OpenFolder> folders = foldersOfSent(maildir);
    std::optional<Mailbox> only;
    for (const SentMessage& message : latestMessages(folders)) {
        for (Mailbox& sender : sendersIn(headerOf(message))) {
            if (only && !isSameAddress(only->address, sender.address)) {
                return std::nullopt;
            }
            if (!only) {
                only = std::move(sender);
            }
        }
    }
    return only;
}

} // namespace

std::optional<Mailbox> draftSender(const std::string& maildir) {
    const char* const given = std::getenv("EMAIL");
    if (auto sender = soleMailbox(given == nullptr ? "" : given)) {
        return sender;
    }
    try {
        return onlySender(maildir);
    } catch (const std::system_error&) { // a folder that cannot be read names nobody
        return std::nullopt;
    }
}

} // namespace velmiro::osascript
