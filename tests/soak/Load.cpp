#include "tests/soak/Load.hpp"

#include "MCPStdio/json/JSONValue.hpp"

#include <algorithm>
#include <map>
#include <stdexcept>

namespace velmiro::soak {
namespace {

using Expected = Request::Expected;
using MCPStdio::JSONValue;
using theorem::Random;

Request call(const std::string& tool, const std::string& arguments,
             Expected expected = Expected::result) {
    return {R"(,"method":"tools/call","params":{"name":")" + tool + R"(","arguments":)" +
                arguments + "}",
            expected};
}

Expected kindOf(const JSONValue& reply) {
    const JSONValue* result = reply["result"];
    if (result == nullptr) {
        return Expected::error;
    }
    const JSONValue* isError = (*result)["isError"];
    return isError != nullptr && isError->boolValue() == true ? Expected::errorResult
                                                              : Expected::result;
}

std::string numbered(const std::string& title, Random& random) {
    return R"({"title":")" + title + " " + std::to_string(random.next()) + "\"";
}

} // namespace

Request requestToHello(Random& random) {
    const std::size_t kind = random.below(100);
    if (kind < 60) {
        return {R"(,"method":"ping")"};
    }
    if (kind < 65) {
        return {R"(,"method":"tools/list")"};
    }
    if (kind < 95) {
        const std::size_t size = random.percent(1) ? random.below(100'000) : random.below(200);
        return call("echo", R"({"text":")" + std::string(size, 'e') + "\"}");
    }
    return {R"(,"method":"no/such/method")", Expected::error};
}

Request requestToServer(Random& random) {
    const Request request = requestToHello(random);
    return request.members.find("\"echo\"") == std::string::npos
               ? request
               : Request{request.members, Expected::error};
}

Request callOfTool(Random& random) {
    const std::size_t kind = random.below(1000);
    if (kind < 300) {
        return call("calendar_list_events", R"({"start":"2026-10-01","days":31})");
    }
    if (kind < 500) {
        return call("reminders_list", R"({"include_completed":true})");
    }
    if (kind < 650) {
        return call("contacts_search", R"({"query":"Ada"})");
    }
    if (kind < 700) {
        return call("calendar_create_event", R"({"title":"x","start":"tomorrow"})",
                    Expected::errorResult);
    }
    if (kind < 750) {
        return call("reminders_complete", R"({"id":"none"})", Expected::errorResult);
    }
    if (kind < 850) {
        return call("reminders_create", numbered("Refused", random) + "}", Expected::errorResult);
    }
    if (kind < 950) {
        return call("calendar_create_event",
                    numbered("Refused", random) + R"(,"start":"2026-10-14T15:00"})",
                    Expected::errorResult);
    }
    if (kind < 970) {
        return call("reminders_create", numbered("Allowed", random) + "}");
    }
    if (kind < 990) {
        return call("calendar_create_event",
                    numbered("Allowed", random) + R"(,"start":"2026-10-14T15:00"})");
    }
    return random.percent(50) ? call("notes_search", R"({"query":"a"})")
                              : call("mail_list", R"({"days":3})");
}

void send(support::ChildProcess& server, std::size_t count, const RandomRequest& next,
          Random& random) {
    constexpr std::size_t atOnce = 100;
    while (count > 0) {
        std::map<std::int64_t, Expected> waiting;
        std::string lines;
        for (std::size_t left = std::min(count, atOnce); left > 0; --left) {
            const auto id = static_cast<std::int64_t>(count--);
            const Request request = next(random);
            waiting.emplace(id, request.expected);
            lines += R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + request.members + "}\n";
        }
        server.write(lines);
        while (!waiting.empty()) {
            const auto line = server.readLine(std::chrono::seconds{100});
            if (!line) {
                throw std::runtime_error{std::to_string(waiting.size()) + " replies are missing"};
            }
            const auto reply = JSONValue::parse(*line);
            const auto found = waiting.find(reply["id"]->intValue().value_or(-1));
            if (found == waiting.end() || found->second != kindOf(reply)) {
                throw std::runtime_error{"an unexpected reply: " + line->substr(0, 500)};
            }
            waiting.erase(found);
        }
    }
}

} // namespace velmiro::soak
