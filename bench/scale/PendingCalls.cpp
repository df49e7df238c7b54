#include "bench/scale/PendingCalls.hpp"

#include "bench/Load.hpp"
#include "bench/Replies.hpp"
#include "bench/System.hpp"
#include "bench/data/Home.hpp"
#include "bench/scale/SilentHost.hpp"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <sys/resource.h>

namespace velmiro::bench {
namespace {

using MCPStdio::JSONValue;

Request callOf(const char* tool, const JSONValue& arguments = JSONValue::object()) {
    const auto parameters = JSONValue::object({{"name", tool}, {"arguments", arguments}});
    return {R"(,"method":"tools/call","params":)" + parameters.jsonString()};
}

/// Returns the expected reply with a text, for ids that all have the same number of digits.
Expected replyWith(const std::string& text, bool isError) {
    auto result = JSONValue::object(
        {{"content", JSONValue::array(JSONValue::object({{"type", "text"}, {"text", text}}))},
         {"isError", isError}});
    const auto reply =
        JSONValue::object({{"jsonrpc", "2.0"}, {"id", Request::firstID}, {"result", result}});
    return {reply.jsonString().size() + 1, std::move(result)};
}

/// Sends lines, reads `count` replies and checks them. Returns the seconds since `start`.
double finish(Server& server, const std::string& lines, int count, const Expected& expected,
              double start) {
    std::string replies(expected.length * static_cast<std::size_t>(count), '\0');
    exchange(server, lines, replies);
    const double taken = seconds() - start;
    check(replies, count, expected);
    return taken;
}

class SuspendedCalls final : public PendingCalls {
public:
    SuspendedCalls() : PendingCalls{{programFolder() / "pending_server"}} {}

    void hold(int count) override {
        held_ = count;
        send(server(), wait_.lines(count));
        while (waiting() != std::to_string(count)) {
        }
    }

    double release() override {
        // The call that releases them gets the same reply as they do.
        const auto line = release_.line(Request::firstID + held_);
        return finish(server(), line, held_ + 1, released_, seconds());
    }

private:
    std::string waiting() {
        const auto result = resultOf(firstReply(server(), waiting_.lines(1)));
        return textOf(elementsOf(result["content"]).front()["text"]);
    }

    const Request wait_ = callOf("wait");
    const Request waiting_ = callOf("waiting");
    const Request release_ = callOf("release");
    const Expected released_ = replyWith("released", false);
    int held_ = 0;
};

/// A home, and the path of a socket in it for the server's questions.
class HomeWithSocket {
public:
    HomeWithSocket() { ::setenv("VELMIRO_APPROVAL_SOCKET", socket().c_str(), 1); }

    [[nodiscard]] std::filesystem::path socket() const { return home_.path() / "host.sock"; }

private:
    Home home_;
};

/// Raises the limit of descriptors: each question needs one on both sides.
void allowDescriptors(int count) {
    constexpr rlim_t others = 100;
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    const rlim_t needed = static_cast<rlim_t>(count) + others;
    if (limit.rlim_cur < needed) {
        limit.rlim_cur = needed;
        if (needed > limit.rlim_max || ::setrlimit(RLIMIT_NOFILE, &limit) != 0) {
            throw TooMany{"a process may have " + std::to_string(limit.rlim_max) +
                          " descriptors, they need " + std::to_string(needed)};
        }
    }
}

class BlockingCalls final : private HomeWithSocket, public PendingCalls {
public:
    BlockingCalls() : PendingCalls{{programFolder() / "velmiro_mcp"}}, host_{socket()} {}

    void hold(int count) override {
        held_ = count;
        send(server(), create_.lines(count));
        const auto came = host_.takeQuestions(static_cast<std::size_t>(count), patience);
        if (came < static_cast<std::size_t>(count)) {
            throw TooMany{"only " + std::to_string(came) + " questions come, on " +
                          std::to_string(threadsOf(server().process())) + " threads"};
        }
    }

    double release() override {
        const double start = seconds();
        // On another thread, as in a host: the server waits for a reader that does not read.
        auto refusing = std::async(std::launch::async, [this] { host_.refuseAll(); });
        const double taken = finish(server(), "", held_, denied_, start);
        refusing.get();
        return taken;
    }

private:
    static constexpr std::chrono::seconds patience{10};

    const Request create_ =
        callOf("reminders_create", JSONValue::object({{"title", "Water the plants"}}));
    const Expected denied_ = replyWith("The user did not allow this (Water the plants). Do not "
                                       "retry unless the user asks.",
                                       true);
    SilentHost host_;
    int held_ = 0;
};

} // namespace

PendingCalls::~PendingCalls() {
    server_.kill();
}

std::unique_ptr<PendingCalls> startSuspended(int) {
    return std::make_unique<SuspendedCalls>();
}

std::unique_ptr<PendingCalls> startBlocking(int most) {
    allowDescriptors(most); // the server inherits our limits
    return std::make_unique<BlockingCalls>();
}

} // namespace velmiro::bench
