// A host's answer: only a line of JSON whose `allow` is true is a yes.

#include "velmiro_mcp/services/Approval.hpp"
#include "MCPStdio/json/JSONReader.hpp"
#include "MCPStdio/transport/Descriptor.hpp"
#include "tests/fuzz/Fuzz.hpp"

#include <array>
#include <cstdlib>
#include <cstring>
#include <thread>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using namespace velmiro;
using MCPStdio::Descriptor;
using MCPStdio::JSONValue;

/// A host that listens for as long as the process runs.
class Host {
public:
    Host() : path_{"/tmp/fuzz-approval-" + std::to_string(::getpid())} {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path_.c_str(), sizeof address.sun_path - 1);
        ::unlink(path_.c_str());
        socket_ = Descriptor{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
        fuzz::require(::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address),
                             sizeof address) == 0 &&
                          ::listen(socket_.get(), 8) == 0,
                      "the host listens");
        ::setenv("VELMIRO_APPROVAL_SOCKET", path_.c_str(), 1);
    }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;
    ~Host() { ::unlink(path_.c_str()); }

    /// Answers one question with these bytes, in two pieces, and hangs up.
    void answer(std::string_view bytes, std::size_t firstPiece) const {
        const Descriptor connection{::accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC)};
        std::array<char, 512> question{};
        static_cast<void>(::read(connection.get(), question.data(), question.size()));
        const std::size_t cut = std::min(firstPiece, bytes.size());
        for (const auto piece : {bytes.substr(0, cut), bytes.substr(cut)}) {
            static_cast<void>(::send(connection.get(), piece.data(), piece.size(), MSG_NOSIGNAL));
        }
    }

private:
    std::string path_;
    Descriptor socket_;
};

bool isYes(std::string_view answer) {
    const auto end = answer.find('\n');
    if (end == std::string_view::npos) {
        return false;
    }
    try {
        const auto value = JSONValue::parse(answer.substr(0, end));
        return value["allow"] != nullptr && *value["allow"] == JSONValue{true};
    } catch (const MCPStdio::JSONError&) {
        return false;
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static const Host host;
    if (size == 0) {
        return 0;
    }
    const auto answer = fuzz::textOf(bytes + 1, size - 1);
    std::thread answering{[&] { host.answer(answer, *bytes); }};
    const bool allowed = Approval{std::chrono::seconds{10}}.request("tool", "summary");
    answering.join();
    fuzz::require(allowed == isYes(answer), "only an explicit yes is a yes");
    return 0;
}
