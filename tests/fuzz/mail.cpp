// The text of a message: parts, encodings, character sets and HTML. A message that is too much for
// its reader is the limits' part, in tests/osascript/message_reader.

#include "MCPStdio/text/UTF8.hpp"
#include "MCPStdio/transport/Descriptor.hpp"
#include "osascript/message/MessageText.hpp"
#include "tests/fuzz/Fuzz.hpp"

#include <string>

#include <sys/mman.h>
#include <unistd.h>

namespace {

using namespace velmiro;
using fuzz::require;

/// A file in memory that holds one input after the other.
int fileWith(std::string_view text) {
    static const MCPStdio::Descriptor file{::memfd_create("message", MFD_CLOEXEC)};
    require(::ftruncate(file.get(), 0) == 0 && ::lseek(file.get(), 0, SEEK_SET) == 0 &&
                ::write(file.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size()),
            "the message can be written");
    return file.get();
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    try {
        const std::string text = osascript::messageText(fileWith(fuzz::textOf(bytes, size)));
        require(!text.ends_with('\n'), "a text does not end with a line break");
        // Whatever starts a reader of messages repairs what it writes, so that need not be UTF-8.
        require(text.size() <= 64 * size + 1024, "a text is not much longer than its message");
    } catch (const osascript::UnreadableMessage&) {
        return 0; // then it is shown as it stands
    }
    return 0;
}
