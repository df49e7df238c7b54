#include "tests/faults/Session.hpp"

#include "MCPStdio/json/JSONValue.hpp"
#include "support/Files.hpp"
#include "tests/support/Snapshot.hpp"

#include <csignal>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace velmiro::test {
namespace {

using MCPStdio::JSONValue;

constexpr std::chrono::seconds hang{20}; ///< longer than any call here may take

std::string request(int id, const std::string& method, const std::string& params) {
    return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":")" + method +
           R"(","params":)" + params + "}";
}

} // namespace

Session::Session()
    : failures{FAILING_CALLS},
      host_{elsewhere_.path() / "approval.sock", [](int connection) {
                readQuestion(connection);
                answerWith(connection, "{\"allow\":true}\n");
            }} {}

void Session::start() {
    std::signal(SIGPIPE, SIG_IGN); // a server that has ended is an error like any other
    support::ChildProcess::Options options{.arguments = {SERVER_BINARY}};
    options.environment = failures.environment();
    options.environment.insert(
        {{"HOME", home_.path().string()},
         {"TZ", "Europe/Berlin"},
         {"LC_ALL", "en_GB.UTF-8"},
         {"VELMIRO_APPROVAL_SOCKET", (elsewhere_.path() / "approval.sock").string()}});
    server_.reset();
    server_ = std::make_unique<support::ChildProcess>(options);
}

std::string Session::argumentsOf(const ToolCall& call) {
    std::string arguments = call.arguments;
    const auto place = arguments.find(":ID");
    if (place != std::string::npos) {
        arguments.replace(place + 1, 2, messageID_);
    }
    return arguments;
}

Answer Session::call(const ToolCall& call) {
    if (call.arguments.find(":ID") != std::string::npos && messageID_.empty()) {
        const Answer list = this->call({.name = {}, .tool = "mail_list", .arguments = "{}"});
        const auto found = JSONValue::parse(list.text);
        const JSONValue* const messages = found["messages"];
        const JSONValue* const message = messages == nullptr ? nullptr : (*messages)[0];
        if (message == nullptr) {
            throw std::runtime_error{"the sample has no message: " + list.text};
        }
        messageID_ = (*message)["id"]->jsonString();
    }
    const int id = ++lastID_;
    try {
        server_->writeLine(
            request(id, "tools/call",
                    R"({"name":")" + call.tool + R"(","arguments":)" + argumentsOf(call) + "}"));
    } catch (const std::system_error&) {
        return {"(the server does not read)", true, false};
    }
    const auto line = server_->readLine(hang);
    if (!line) {
        return {server_->outputHasEnded()
                    ? "(the server ended: " + std::to_string(*server_->waitForEnd()) + ")"
                    : "(the server hangs)",
                true, false};
    }
    return answerIn(line);
}

bool Session::isAlive() {
    const int id = ++lastID_;
    try {
        server_->writeLine(request(id, "ping", "{}"));
    } catch (const std::system_error&) {
        return false;
    }
    return server_->readLine(hang) ==
           R"({"id":)" + std::to_string(id) + R"(,"jsonrpc":"2.0","result":{}})";
}

std::map<std::string, std::string> Session::files() const {
    return snapshot(home_.data());
}

VisibleState Session::state() const {
    return visibleState(files(), home_.data());
}

std::size_t Session::childCount() const {
    std::size_t count = 0;
    const std::string tasks = "/proc/" + std::to_string(server_->pid()) + "/task";
    for (const auto& task : std::filesystem::directory_iterator{tasks}) {
        std::istringstream children{support::readFile(task.path() / "children")};
        count += static_cast<std::size_t>(
            std::distance(std::istream_iterator<int>{children}, std::istream_iterator<int>{}));
    }
    return count;
}

} // namespace velmiro::test
