#include "tests/neighbours/Servers.hpp"

#include "MCPStdio/json/JSONValue.hpp"
#include "support/Files.hpp"
#include "tests/neighbours/Item.hpp"

#include <algorithm>
#include <array>
#include <random>
#include <stdexcept>

namespace velmiro::neighbours {
namespace {

namespace fs = std::filesystem;
using MCPStdio::JSONValue;

std::string request(unsigned id, const std::string& tool, const std::string& arguments) {
    return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) +
           R"(,"method":"tools/call","params":{"name":")" + tool + R"(","arguments":)" + arguments +
           "}}";
}

struct Reply {
    std::string text;
    bool isError;
};

Reply replyOf(support::ChildProcess& server) {
    const auto line = server.readLine(std::chrono::seconds{100});
    if (!line) {
        throw std::runtime_error{"a server does not reply"};
    }
    const auto reply = JSONValue::parse(*line);
    const JSONValue& result = *reply["result"];
    return {std::string{*(*(*result["content"])[0])["text"]->stringValue()},
            result["isError"]->boolValue() == true};
}

/// Returns an error's text without what differs from call to call.
std::string kindOf(std::string text) {
    for (std::size_t at = 0; (at = text.find("‘", at)) != std::string::npos; ++at) {
        const auto end = text.find("’", at);
        text.erase(at + 3, end == std::string::npos ? end : end - at - 3);
    }
    return text.substr(0, 100);
}

} // namespace

bool Server::call(const std::string& tool, const std::string& arguments) {
    process_.writeLine(request(++calls_, tool, arguments));
    const Reply reply = replyOf(process_);
    ++outcomes_[tool + ": " + (reply.isError ? kindOf(reply.text) : "done")];
    return !reply.isError;
}

void Server::create(unsigned kind) {
    struct Kind {
        std::string tool;
        std::string arguments;
        std::string folder;
        std::string line;
    };
    const std::string title = "Made " + name_ + " " + std::to_string(++made_);
    const std::array<Kind, 4> kinds{{
        {"reminders_create", R"({"title":")" + title + R"(","list":"Home"})", "Reminders/Home",
         "SUMMARY:" + title + "\r\n"},
        {"calendar_create_event", R"({"title":")" + title + R"(","start":"2026-10-14T15:00"})",
         "Calendars/Home", "SUMMARY:" + title + "\r\n"},
        {"notes_create", R"({"title":")" + title + R"(","body":"Text"})", "Notes",
         "# " + title + "\n"},
        {"mail_create_draft",
         R"({"to":["a@example.org"],"subject":")" + title + R"(","body":"Text"})", "Mail/.Drafts",
         "Subject: " + title + "\n"},
    }};
    const Kind& one = kinds.at(kind);
    creations_.push_back({one.folder, one.line, call(one.tool, one.arguments)});
}

void Server::work(const std::vector<std::string>& uids, const std::atomic<bool>& isOver) {
    std::minstd_rand random{std::random_device{}()};
    for (const unsigned kind : {0U, 1U, 2U, 3U}) { // on a slow machine, chance might leave one out
        create(kind);
    }
    while (!isOver) {
        const auto choice = random() % 100;
        if (choice < 70) {
            call("reminders_complete", R"({"id":")" + uids[random() % uids.size()] + "\"}");
        } else if (choice < 80) {
            create(0);
        } else if (choice < 88) {
            create(1);
        } else if (choice < 90) {
            create(2);
        } else if (choice < 92) {
            create(3);
        } else if (choice < 94) {
            call("mail_list", R"({"days":31,"limit":100})");
        } else {
            call("reminders_list", R"({"include_completed":true})");
        }
    }
}

Record Server::created(const Home& home) const {
    Record record{.name = "server " + name_ + " creates"};
    std::map<std::string, std::string> contents; // of all files of a folder
    for (const Creation& creation : creations_) {
        std::string& content = contents[creation.folder];
        if (content.empty()) {
            for (const auto& entry :
                 fs::recursive_directory_iterator{home.data() / creation.folder}) {
                content += entry.is_regular_file() ? support::readFile(entry.path()) + "\n" : "";
            }
        }
        std::size_t found = 0;
        for (auto at = content.find(creation.line); at != std::string::npos;
             at = content.find(creation.line, at + 1)) {
            ++found;
        }
        ++record.changes;
        if (found != (creation.isDone ? 1U : 0U)) {
            ++record.lost;
            record.examples.push_back(creation.line + " is there " + std::to_string(found) +
                                      " times in " + creation.folder);
        }
    }
    return record;
}

Record completeTogether(const support::ChildProcess::Options& options, const Home& home,
                        bool mayMiss, const std::atomic<bool>& isOver) {
    Record record{.name = "two servers complete one"};
    support::ChildProcess one{options};
    support::ChildProcess other{options};
    while (!isOver) {
        for (const auto& entry : fs::directory_iterator{home.together()}) {
            fs::remove(entry.path());
        }
        const std::string uid = "t" + std::to_string(++record.changes);
        const fs::path file = home.together() / (uid + ".ics");
        std::string text = itemText(uid, 0);
        text.insert(text.find("SUMMARY"), "DUE:20261014T080000Z\r\nRRULE:FREQ=WEEKLY\r\n");
        replaceByRename(file, text);
        for (support::ChildProcess* server : {&one, &other}) {
            server->writeLine(request(1, "reminders_complete", R"({"id":")" + uid + "\"}"));
        }
        const Reply first = replyOf(one);
        const Reply second = replyOf(other);
        const std::string after = support::readFile(file);
        std::size_t next = 0;
        for (const auto& entry : fs::directory_iterator{home.together()}) {
            // FUSE keeps a replaced file under a hidden name until the kernel has closed it.
            if (entry.path().filename().string().starts_with('.')) {
                continue;
            }
            const std::string item = support::readFile(entry.path());
            next += item.find("RRULE:FREQ=WEEKLY") != std::string::npos && isWhole(item) ? 1U : 0U;
        }
        const bool isCompleted = after.find("STATUS:COMPLETED") != std::string::npos &&
                                 after.find("RRULE") == std::string::npos && isWhole(after);
        const bool areDone = !first.isError && !second.isError;
        if (!(areDone || mayMiss) || !isCompleted || next != 1) {
            ++record.lost;
            record.examples.push_back(first.text + " / " + second.text + ": " +
                                      std::to_string(next) + " follow\n" + after);
        }
    }
    return record;
}

} // namespace velmiro::neighbours
