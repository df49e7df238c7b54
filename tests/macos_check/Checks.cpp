#include "tests/macos_check/Checks.hpp"

#include "MCPStdio/MCPTool.hpp"
#include "MCPStdio/concurrency/SyncWait.hpp"
#include "tests/macos_check/Probes.hpp"
#include "velmiro_mcp/AppleTools/Scripts.hpp"
#include "velmiro_mcp/base/Dates.hpp"
#include "velmiro_mcp/base/WholeDays.hpp"
#include "velmiro_mcp/ports/LocalizedDates.hpp"
#include "velmiro_mcp/ports/ProgramStart.hpp"
#include "velmiro_mcp/services/ScriptRunner.hpp"

#include <algorithm>
#include <condition_variable>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <optional>
#include <sys/wait.h>
#include <unistd.h>

namespace velmiro::check {
namespace {

using MCPStdio::JSONValue;
using Seconds = std::chrono::duration<double>;

const std::string mark = "velmiro check";

/// A script's result, or its error, and how long it took.
struct Run {
    std::string text;
    bool failed = false;
    double seconds = 0;

    [[nodiscard]] std::string summary() const {
        return text.substr(0, 200) + " after " + std::to_string(seconds) + " s";
    }
};

Run run(const std::string& osascript, std::string_view script,
        const std::vector<std::string>& arguments) {
    const auto since = std::chrono::steady_clock::now();
    Run result;
    ScriptRunner runner{osascript};
    try {
        auto running = runner.run(std::string{script}, arguments, std::chrono::seconds{60});
        result.text = MCPStdio::syncWait(std::move(running)).jsonString();
    } catch (const MCPStdio::MCPToolError& error) {
        result = {error.message, true, 0};
    }
    result.seconds = Seconds{std::chrono::steady_clock::now() - since}.count();
    return result;
}

void argumentsOfScripts(Talk& talk, const std::string& osascript) {
    const std::string echo = "function run(argv) { return JSON.stringify(argv); }";
    for (const std::string first : {"-milk", "-efunction run(argv) { return 'mine'; }", "-e", "-i",
                                    "--", "-", "-1", "", "a"}) {
        const auto expected = JSONValue::array(first, "-e", "--").jsonString();
        const Run seen = run(osascript, echo, {first, "-e", "--"});
        talk.found("an argument ‘" + first + "’ reaches the script", expected, seen.text,
                   seen.text == expected);
    }
}

void allDayEvents(Talk& talk) {
    const Instant start = parseDate("2030-01-02").value();
    const Instant end = parseDate("2030-01-03").value();
    const Instant last = lastSecond(wholeDays(start, end));
    const auto text = [](const std::optional<Instant>& instant) {
        return instant ? dateText(*instant) : "none";
    };
    const auto kept = endOfUnsavedAllDayEvent(start, last);
    talk.found("the end of an all-day event of one day, unsaved", dateText(last), text(kept),
               kept == last);
    talk.remark("Given the midnight after its day, its end is " +
                text(endOfUnsavedAllDayEvent(start, end)) + ".");
}

/// Starts programs while the frameworks have threads of their own.
void children(Talk& talk) {
    constexpr int count = 100;
    const auto database = openEventDatabase();
    database->calendars(EntityType::event); // creates the store
    const int devNull = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    int good = 0;
    for (int number = 0; number < count; ++number) {
        const pid_t child = startProgram("/usr/bin/true", {"true"}, devNull, devNull);
        int status = -1;
        good += ::waitpid(child, &status, 0) == child && status == 0 ? 1 : 0;
    }
    ::close(devNull);
    talk.found("programs start beside the frameworks' threads", std::to_string(count) + " of them",
               std::to_string(good), good == count);
}

std::string nameOf(EntityType type) {
    return type == EntityType::event ? "calendars" : "reminders";
}

bool isFull(EventDatabase& database, EntityType type) {
    return database.authorizationStatus(type) == AuthorizationStatus::fullAccess;
}

/// Waits for a fetch as long as the server would. Returns nullopt if it never completes.
std::optional<std::size_t> countReminders(EventDatabase& database, bool completed) {
    struct Answer {
        std::mutex mutex;
        std::condition_variable came;
        std::optional<std::size_t> count;
    };
    const auto answer = std::make_shared<Answer>();
    database.fetchReminders({completed, {}, nullptr}, [answer](const auto& found) {
        const std::scoped_lock lock{answer->mutex};
        answer->count = found ? found->size() : 0;
        answer->came.notify_all();
    });
    std::unique_lock lock{answer->mutex};
    answer->came.wait_for(lock, std::chrono::seconds{30},
                          [&] { return answer->count.has_value(); });
    return answer->count;
}

/// Returns the number of today's events that have the check's title.
std::ptrdiff_t marked(EventDatabase& database) {
    const Instant today = startOfToday();
    const auto found = database.events(today, today + std::chrono::hours{24}, nullptr);
    return std::ranges::count(found, mark, &Event::title);
}

void searchOfNotes(Talk& talk, const std::string& osascript) {
    const std::string search = "a search of the notes' texts takes less than 60 seconds";
    if (!talk.agrees("Search Notes for ‘" + mark + "’? macOS may ask whether that is allowed.")) {
        talk.skipped(search, "not allowed");
        return;
    }
    const Run notes = run(osascript, velmiro::scripts::notesSearch, {mark, "5"});
    talk.found(search, "a list of notes", notes.summary(), !notes.failed);
}

/// What is listed is not shown: the report is to be pasted.
void listOfMail(Talk& talk, const std::string& osascript) {
    const std::string list = "the messages of a week are listed in less than 60 seconds";
    if (!talk.agrees("List five messages of Mail's inbox? The report will not contain them.")) {
        talk.skipped(list, "not allowed");
        return;
    }
    const Run mail = run(osascript, velmiro::scripts::mailList, {"7", "5", "false"});
    const Run shown{mail.failed ? mail.text : "a list", mail.failed, mail.seconds};
    talk.found(list, "a list", shown.summary(), !mail.failed);
}

void draftOfMail(Talk& talk, const std::string& osascript) {
    const std::string draft = "a draft is saved in less than 60 seconds";
    const std::string text = "its text is the author's own, not a quotation";
    if (!talk.agrees("Save a draft ‘" + mark + "’ in Mail and delete it again?")) {
        talk.skipped(draft, "not allowed");
        talk.skipped(text, "not allowed");
        return;
    }
    const Run mail = run(osascript, velmiro::scripts::mailCreateDraft,
                         {R"(["nobody@example.org"])", "[]", mark, "x"});
    talk.found(draft, R"({"saved_as_draft":true})", mail.summary(), !mail.failed);
    const std::string ofDrafts = "function run(argv) { const found = Application('Mail')."
                                 "draftsMailbox.messages.whose({subject: argv[0]})(); ";
    const Run quoted = run(osascript,
                           ofDrafts + "return JSON.stringify(found.some(m => "
                                      "/type=(3D)?.?cite/.test(m.source()))); }",
                           {mark});
    if (quoted.failed) {
        talk.skipped(text, quoted.text);
    } else {
        talk.found(text, "false", quoted.text, quoted.text == "false");
    }
    const Run removal =
        run(osascript, ofDrafts + "found.forEach(m => m.delete()); return String(found.length); }",
            {mark});
    talk.remark(removal.failed || removal.text != "1"
                    ? "Please delete the draft ‘" + mark + "’ yourself: " + removal.summary()
                    : "The draft is deleted.");
}

} // namespace

void withoutPermission(Talk& talk, const std::string& osascript) {
    argumentsOfScripts(talk, osascript);
    allDayEvents(talk);
    const Unwound unwound = exceptionThroughCpp();
    talk.found("an NSException passes through C++", "a reason, and objects of C++ destroyed",
               "‘" + unwound.reason + "’" + (unwound.destroyed ? ", destroyed" : ", not destroyed"),
               !unwound.reason.empty() && unwound.destroyed);
    children(talk);
    talk.remark("A date in your language: " + localizedDateTime(startOfToday()));
}

void access(Talk& talk) {
    const auto database = openEventDatabase();
    for (const EntityType type : {EntityType::event, EntityType::reminder}) {
        const std::string what = "access to " + nameOf(type) + " that is given meanwhile is seen";
        const auto before = database->authorizationStatus(type);
        if (before == AuthorizationStatus::fullAccess) {
            talk.skipped(what,
                         "this terminal has full access already; run this again without it, in "
                         "System Settings › Privacy & Security");
            continue;
        }
        bool done = false;
        const StoreView view = viewOfStoreMadeBefore(type, [&] {
            done = talk.waitsFor("Give this terminal full access to " + nameOf(type) +
                                 " in System Settings › Privacy & Security.");
        });
        if (!done) {
            talk.skipped(what, "status " + std::to_string(static_cast<int>(before)));
            continue;
        }
        talk.found(what, "status 3, without a restart",
                   "status " +
                       std::to_string(static_cast<int>(database->authorizationStatus(type))),
                   isFull(*database, type));
        talk.found("a store made before holds " + nameOf(type) + " after reset", "some",
                   std::to_string(view.before) + " before it, " + std::to_string(view.after) +
                       " after",
                   view.after > 0);
    }
    talk.skipped("access under the hardened runtime comes with the responsible app's entitlements",
                 "sign a host with and without them, as docs/macos.md says, and call the tools");
}

void reading(Talk& talk) {
    const auto database = openEventDatabase();
    for (const bool completed : {false, true}) {
        const std::string what = completed ? "a fetch of all reminders completes"
                                           : "a fetch of open reminders completes";
        if (!isFull(*database, EntityType::reminder)) {
            talk.skipped(what, "no access to reminders");
            continue;
        }
        const auto count = countReminders(*database, completed);
        talk.found(what, "within 30 seconds",
                   count ? std::to_string(*count) + " of them" : "nothing", count.has_value());
    }
    const std::string revoked = "a fetch completes also when access is taken meanwhile";
    if (isFull(*database, EntityType::reminder) &&
        talk.waitsFor("Take this terminal's access to reminders away; macOS may offer to quit it: "
                      "choose Later.")) {
        const auto count = countReminders(*database, true);
        talk.found(revoked, "within 30 seconds",
                   count ? std::to_string(*count) + " of them" : "nothing", count.has_value());
    } else {
        talk.skipped(revoked, "not tried");
    }
    const std::string others = "what another program changes is seen";
    if (isFull(*database, EntityType::event)) {
        const auto before = marked(*database);
        if (talk.waitsFor("Add an event ‘" + mark + "’ to today in Calendar.")) {
            const auto after = marked(*database);
            talk.found(others, "one more", std::to_string(after - before) + " more",
                       after > before);
            talk.remark("Please remove that event again.");
            return;
        }
    }
    talk.skipped(others, "not tried");
}

void writing(Talk& talk) {
    const auto database = openEventDatabase();
    if (!isFull(*database, EntityType::event)) {
        talk.skipped("a saved all-day event", "no access to calendars");
    } else {
        for (const Account& account : accounts()) {
            const std::string what = "a saved all-day event of one day, " + account.kind;
            if (!talk.agrees("Save an event ‘" + mark + "’ on 2 January 2030 in the calendar ‘" +
                             account.calendar.title + "’ and remove it again?")) {
                talk.skipped(what, "not allowed");
                continue;
            }
            const Instant start = parseDate("2030-01-02").value();
            const Instant end = parseDate("2030-01-03").value();
            const auto identifier =
                database->saveEvent({mark, start, end, true, {}, {}}, account.calendar);
            const auto all = database->events(start - std::chrono::hours{48},
                                              end + std::chrono::hours{48}, &account.calendar);
            const auto saved = std::ranges::find(all, identifier, &Event::identifier);
            const Instant last = lastSecond(wholeDays(start, end));
            const bool isThere = saved != all.end() && saved->end.has_value();
            talk.found(what, dateText(last), isThere ? dateText(*saved->end) : "none",
                       isThere && *saved->end == last);
            talk.found("it is removed", "yes", removeEvent(identifier) + ".",
                       std::ranges::count(database->events(start, end, &account.calendar),
                                          identifier, &Event::identifier) == 0);
        }
    }
    const auto list = isFull(*database, EntityType::reminder)
                          ? database->defaultListForNewReminders()
                          : std::nullopt;
    if (!list || !talk.agrees("Save a reminder ‘" + mark + "’ in the list ‘" + list->title +
                              "’, complete it and remove it again?")) {
        talk.skipped("a saved reminder", "no access, no list, or not allowed");
        return;
    }
    const Instant due = parseDate("2030-01-02T15:00").value();
    const auto identifier = database->saveReminder({mark, {}, 0, due}, *list);
    database->completeReminder(identifier);
    const auto saved = database->reminder(identifier);
    talk.found("a saved reminder is due when it was to be, and completed", dateText(due),
               saved && saved->due ? dateText(*saved->due) : "none",
               saved && saved->due == due && saved->completed);
    removeReminder(identifier);
    talk.found("it is removed", "yes", database->reminder(identifier) ? "no" : "yes",
               !database->reminder(identifier));
}

void scripts(Talk& talk, const std::string& osascript) {
    searchOfNotes(talk, osascript);
    listOfMail(talk, osascript);
    draftOfMail(talk, osascript);
}

} // namespace velmiro::check
