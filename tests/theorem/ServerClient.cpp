// The whole server as a child. What it changes are files, which are read here without its help.

#include "MCPStdio/json/JSONValue.hpp"
#include "support/ChildProcess.hpp"
#include "support/Files.hpp"
#include "tests/theorem/Client.hpp"

#include <filesystem>
#include <map>
#include <stdexcept>

namespace velmiro::theorem {
namespace {

namespace fs = std::filesystem;
using MCPStdio::JSONValue;

/// Returns an item's text with its folded lines joined. A fold may separate an escape from what it
/// escapes, so this comes first.
std::string unfolded(std::string item) {
    for (auto at = item.find("\r\n "); at != std::string::npos; at = item.find("\r\n ", at)) {
        item.erase(at, 3);
    }
    return item;
}

/// Returns the value of the first content line of that name, without its escapes.
std::string valueOf(const std::string& name, const std::string& folded) {
    const std::string item = unfolded(folded);
    const auto line = item.find("\r\n" + name);
    if (line == std::string::npos) {
        return {};
    }
    std::string value;
    for (auto at = item.find(':', line) + 1; at < item.size() && item[at] != '\r'; ++at) {
        if (item[at] == '\\') {
            ++at;
            value += item[at] == 'n' ? '\n' : item[at];
        } else {
            value += item[at];
        }
    }
    return value;
}

std::string knownReminder(std::size_t index) {
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//t//EN\r\nBEGIN:VTODO\r\nUID:" +
           reminderIdentifier(index) +
           "\r\nDTSTAMP:20260901T080000Z\r\nSUMMARY:" + reminderTitle(index) +
           "\r\nEND:VTODO\r\nEND:VCALENDAR\r\n";
}

/// The local times of the events that calls create, in seconds since 1970.
std::string secondsOf(const std::string& start) {
    static const std::map<std::string, std::string> known{
        {"20261014T150000", "1791982800"}, {"20261014T130000Z", "1791982800"},
        {"20270131T235900", "1801436340"}, {"20270131T225900Z", "1801436340"},
        {"20260301T000500", "1772319900"}, {"20260228T230500Z", "1772319900"}};
    const auto found = known.find(start);
    return found == known.end() ? "at " + start : found->second;
}

class ServerClient final : public Client {
public:
    ServerClient(const std::string& binary, const std::string& home, const std::string& socket)
        : folder_{fs::path{home} / "Library/Application Support/Velmiro"},
          process_{{.arguments = {binary},
                    .environment = {{"HOME", home},
                                    {"TZ", "Europe/Berlin"},
                                    {"LC_ALL", "en_GB.UTF-8"},
                                    {"VELMIRO_APPROVAL_SOCKET", socket}}}} {}

    void begin(std::chrono::seconds /*patience*/) override {
        outcomes_.clear();
        ++history_;
        for (const char* kind : {"Calendars", "Reminders"}) {
            fs::remove_all(folder_ / kind / "Home");
            fs::create_directories(folder_ / kind / "Home");
        }
        for (std::size_t index = 0; index < knownReminders; ++index) {
            support::writeFile(folder_ / "Reminders/Home" / (reminderIdentifier(index) + ".ics"),
                               knownReminder(index));
        }
    }

    void start(std::size_t question, const Call& call) override {
        const auto request = JSONValue::object(
            {{"jsonrpc", "2.0"},
             {"id", identifier(question)},
             {"method", "tools/call"},
             {"params", JSONValue::object({{"name", call.tool}, {"arguments", call.arguments}})}});
        process_.writeLine(request.jsonString());
    }

    [[nodiscard]] int signal() const override { return process_.outputDescriptor(); }

    std::optional<Outcome> outcome(std::size_t question) override {
        while (const auto line = process_.readLine(std::chrono::milliseconds{1})) {
            const auto reply = JSONValue::parse(*line);
            const JSONValue& result = *reply["result"];
            outcomes_.emplace(
                std::string{*reply["id"]->stringValue()},
                Outcome{std::string{*(*(*result["content"])[0])["text"]->stringValue()},
                        result["isError"]->boolValue() == true});
        }
        if (process_.outputHasEnded()) {
            throw std::runtime_error{"the server has ended"};
        }
        const auto found = outcomes_.find(identifier(question));
        return found == outcomes_.end() ? std::nullopt : std::optional{found->second};
    }

    std::vector<std::string> changes() override {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator{folder_ / "Calendars/Home"}) {
            const auto item = support::readFile(entry.path());
            found.push_back(
                changeText("calendar_create_event",
                           valueOf("SUMMARY", item) + "|" + secondsOf(valueOf("DTSTART", item))));
        }
        for (const auto& entry : fs::directory_iterator{folder_ / "Reminders/Home"}) {
            const auto item = support::readFile(entry.path());
            const auto known = knownIndex(valueOf("UID", item));
            if (!known) {
                found.push_back(changeText("reminders_create", valueOf("SUMMARY", item)));
            } else if (valueOf("STATUS", item) == "COMPLETED") {
                found.push_back(changeText("reminders_complete", reminderIdentifier(*known)));
            } else if (item != knownReminder(*known)) {
                found.push_back("a reminder was changed: " + item);
            }
        }
        return found;
    }

    [[nodiscard]] std::size_t descriptors() const override { return process_.descriptorCount(); }

private:
    [[nodiscard]] std::string identifier(std::size_t question) const {
        return std::to_string(history_) + "-" + std::to_string(question);
    }

    static std::optional<std::size_t> knownIndex(const std::string& uid) {
        for (std::size_t index = 0; index < knownReminders; ++index) {
            if (uid == reminderIdentifier(index)) {
                return index;
            }
        }
        return std::nullopt;
    }

    fs::path folder_;
    support::ChildProcess process_;
    std::size_t history_ = 0;
    std::map<std::string, Outcome> outcomes_; ///< by the requests' identifiers
};

} // namespace

std::unique_ptr<Client> server(const std::string& binary, const std::string& home,
                               const std::string& socket) {
    return std::make_unique<ServerClient>(binary, home, socket);
}

} // namespace velmiro::theorem
