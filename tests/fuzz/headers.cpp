// The header of a message, as the inbox reads it: every text is UTF-8 in one line, every date is a
// date.

#include "MCPStdio/text/UTF8.hpp"
#include "osascript/mail/Header.hpp"
#include "osascript/mail/HeaderDate.hpp"
#include "tests/fuzz/Fuzz.hpp"

#include <cmath>
#include <string>

namespace {

using namespace velmiro;
using namespace velmiro::osascript;
using fuzz::require;

constexpr double now = 1'792'000'000'000;

void requireLine(std::string_view text, const char* what) {
    require(MCPStdio::isValidUTF8(text) && text.find_first_of("\r\n") == std::string_view::npos,
            what);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view message = fuzz::textOf(bytes, size);
    const std::string_view header = message.substr(0, headerEnd(message));
    for (const char* const name : {"subject", "message-id"}) {
        requireLine(decodedValue(header, name), "a value is a line of UTF-8");
    }
    for (const char* const name : {"from", "to", "cc"}) {
        for (const Mailbox& mailbox : mailboxesOf(header, name)) {
            requireLine(mailbox.name, "a name is a line of UTF-8");
            requireLine(mailbox.address, "an address is a line of UTF-8");
            require(!mailbox.name.empty() || !mailbox.address.empty(), "a mailbox has something");
        }
    }
    const double received = receivedDate(header, now, now);
    require(std::isfinite(received) && received <= now, "a message was received before now");
    static_cast<void>(headerDate(message));
    static_cast<void>(deliveryDate(message, now));
    return 0;
}
