#include "velmiro_mcp/services/Approval.hpp"

#include "MCPStdio/concurrency/Continuation.hpp"
#include "velmiro_mcp/ports/SupportFolder.hpp"
#include "velmiro_mcp/services/LocalSocket.hpp"

#include <array>
#include <cstdlib>

namespace velmiro {
namespace {

using MCPStdio::JSONValue;

/// Returns the host's first line, without its line feed; nullopt if the host closes the connection
/// before that, or is silent for too long.
std::optional<std::string> readLine(const LocalSocket& host) {
    std::string received;
    std::array<char, 1024> chunk{};
    while (received.find('\n') == std::string::npos) {
        const std::size_t count = host.read(chunk);
        if (count == 0) {
            return std::nullopt;
        }
        received.append(chunk.data(), count);
    }
    received.erase(received.find('\n'));
    return received;
}

bool isYes(const std::string& reply) {
    const auto value = JSONValue::parse(reply);
    const JSONValue* allow = value["allow"];
    return allow != nullptr && allow->boolValue() == true;
}

MCPStdio::Task<bool> requestOnItsOwnThread(Approval approval, std::string tool,
                                           std::string summary) {
    auto exchange = MCPStdio::blocking([&] { return approval.request(tool, summary); });
    const bool allowed = co_await exchange;
    co_return allowed;
}

} // namespace

MCPStdio::Task<bool> Approval::ask(std::string tool, std::string summary) const {
    return requestOnItsOwnThread(*this, std::move(tool), std::move(summary));
}

bool Approval::request(const std::string& tool, const std::string& summary) const noexcept {
    try {
        const auto host = LocalSocket::connect(approvalSocketPath(), receiveTimeout_);
        if (!host) {
            return false;
        }
        const auto question = JSONValue::object({{"tool", tool}, {"summary", summary}});
        if (!host->writeAll(question.jsonString() + '\n')) {
            return false;
        }
        const auto reply = readLine(*host);
        return reply && isYes(*reply);
    } catch (const std::exception&) { // not JSON, or out of memory
        return false;
    }
}

std::string approvalSocketPath() {
    const char* named = std::getenv("VELMIRO_APPROVAL_SOCKET");
    if (named != nullptr && *named != '\0') {
        return named;
    }
    return applicationSupportDirectory() + "/Velmiro/approval.sock";
}

MCPStdio::MCPToolResult denial(const std::string& summary) {
    return MCPStdio::MCPToolResult::error("The user did not allow this (" + summary +
                                          "). Do not retry unless the user asks.");
}

} // namespace velmiro
