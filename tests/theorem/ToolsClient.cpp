// The tools of the program, with the real approval client, in this process. What they change is a
// journal.

#include "MCPStdio/concurrency/SyncWait.hpp"
#include "MCPStdio/transport/Descriptor.hpp"
#include "tests/theorem/Client.hpp"
#include "velmiro_mcp/AppleTools/AppleTools.hpp"
#include "velmiro_mcp/AppleTools/Scripts.hpp"
#include "velmiro_mcp/services/EventStore.hpp"

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <mutex>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace velmiro::theorem {
namespace {

using MCPStdio::JSONValue;
using MCPStdio::MCPTool;
using MCPStdio::MCPToolResult;
using MCPStdio::Task;

class Journal {
public:
    void record(std::string_view tool, std::string_view content) {
        const std::lock_guard lock{mutex_};
        changes_.push_back(changeText(tool, content));
    }
    std::vector<std::string> take() {
        const std::lock_guard lock{mutex_};
        return std::exchange(changes_, {});
    }

private:
    std::mutex mutex_;
    std::vector<std::string> changes_;
};

/// A database that has one calendar, one list and a few reminders, and records each change.
class JournalDatabase final : public EventDatabase {
public:
    explicit JournalDatabase(Journal& journal) : journal_{journal} {}

    AuthorizationStatus authorizationStatus(EntityType /*type*/) override {
        return AuthorizationStatus::fullAccess;
    }
    std::vector<Calendar> calendars(EntityType /*type*/) override { return {collection()}; }
    std::optional<Calendar> defaultCalendarForNewEvents() override { return collection(); }
    std::optional<Calendar> defaultListForNewReminders() override { return collection(); }
    std::vector<Event> events(Instant /*start*/, Instant /*end*/,
                              const Calendar* /*calendar*/) override {
        return {};
    }
    void fetchReminders(const ReminderQuery& /*query*/, RemindersFound found) override {
        found(std::vector<Reminder>{});
    }
    std::string saveEvent(const NewEvent& event, const Calendar& /*calendar*/) override {
        const auto start = event.start.time_since_epoch() / std::chrono::seconds{1};
        journal_.record("calendar_create_event", event.title + "|" + std::to_string(start));
        return "id";
    }
    std::string saveReminder(const NewReminder& reminder, const Calendar& /*list*/) override {
        journal_.record("reminders_create", reminder.title);
        return "id";
    }
    std::optional<Reminder> reminder(const std::string& identifier) override {
        for (std::size_t index = 0; index < knownReminders; ++index) {
            if (reminderIdentifier(index) == identifier) {
                return Reminder{.identifier = identifier,
                                .title = reminderTitle(index),
                                .list = {},
                                .due = {},
                                .notes = {}};
            }
        }
        return std::nullopt;
    }
    bool completeReminder(const std::string& identifier, const std::string& /*storedAt*/) override {
        journal_.record("reminders_complete", identifier);
        return true;
    }

private:
    static Calendar collection() { return {"c", "Home"}; }

    Journal& journal_;
};

Task<JSONValue> runInJournal(Journal& journal, std::string script,
                             std::vector<std::string> arguments) {
    std::string content;
    for (const std::string& argument : arguments) {
        content += (content.empty() ? "" : "|") + argument;
    }
    const bool isNote = script == scripts::notesCreate;
    journal.record(isNote                               ? "notes_create"
                   : script == scripts::mailCreateDraft ? "mail_create_draft"
                                                        : "another script",
                   content);
    co_return JSONValue::object({{"created", true}});
}

Outcome resultOf(const MCPTool& tool, const JSONValue& arguments) {
    try {
        const auto result = MCPStdio::syncWait(tool.handler(arguments));
        return {result.text, result.isError};
    } catch (const std::exception& error) {
        return {error.what(), true};
    }
}

class ToolsClient final : public Client {
public:
    ToolsClient() {
        const Ask ask = [this](std::string tool, std::string summary) {
            return Approval{patience_}.ask(std::move(tool), std::move(summary));
        };
        const RunScript run = [this](std::string script, std::vector<std::string> arguments,
                                     std::chrono::milliseconds /*timeout*/) {
            return runInJournal(journal_, std::move(script), std::move(arguments));
        };
        for (auto& group : {calendarTools(store_, ask), remindersTools(store_, ask),
                            notesTools(run, ask), mailTools(run, ask)}) {
            for (const MCPTool& tool : group) {
                tools_.emplace(tool.name, tool);
            }
        }
    }

    void begin(std::chrono::seconds patience) override {
        patience_ = patience;
        journal_.take();
        outcomes_.clear();
    }

    void start(std::size_t question, const Call& call) override {
        calls_.emplace(question, std::thread{[this, question, &call] {
                           auto result = resultOf(tools_.at(call.tool), call.arguments);
                           const std::lock_guard lock{mutex_};
                           outcomes_.emplace(question, std::move(result));
                           const std::uint64_t one = 1;
                           static_cast<void>(::write(signal_.get(), &one, sizeof one) > 0);
                       }});
    }

    [[nodiscard]] int signal() const override { return signal_.get(); }

    std::optional<Outcome> outcome(std::size_t question) override {
        std::uint64_t ended = 0;
        static_cast<void>(::read(signal_.get(), &ended, sizeof ended) > 0);
        std::unique_lock lock{mutex_};
        const auto found = outcomes_.find(question);
        if (found == outcomes_.end()) {
            return std::nullopt;
        }
        auto result = found->second;
        lock.unlock();
        if (const auto call = calls_.find(question); call != calls_.end()) {
            call->second.join();
            calls_.erase(call);
        }
        return result;
    }

    std::vector<std::string> changes() override { return journal_.take(); }

    [[nodiscard]] std::size_t descriptors() const override {
        std::size_t count = 0;
        for (const auto& entry : std::filesystem::directory_iterator{"/proc/self/fd"}) {
            count += entry.path().empty() ? 0U : 1U;
        }
        return count;
    }

private:
    Journal journal_;
    EventStore store_{std::make_unique<JournalDatabase>(journal_)};
    std::chrono::seconds patience_{100};
    std::map<std::string, MCPTool> tools_;
    MCPStdio::Descriptor signal_{::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    std::map<std::size_t, std::thread> calls_;
    std::mutex mutex_;
    std::map<std::size_t, Outcome> outcomes_; ///< guarded by the mutex
};

} // namespace

std::unique_ptr<Client> toolsInProcess() {
    return std::make_unique<ToolsClient>();
}

} // namespace velmiro::theorem
