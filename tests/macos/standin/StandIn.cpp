#include "tests/macos/standin/StandIn.hpp"

#include "velmiro_mcp/platform/local/LocalStores.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include <algorithm>

// Leaks that the sanitizer must not report: the runtime and Foundation never free what they keep
// about classes and threads.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libobjc\nleak:libgnustep-base\n";
}

extern "C" const char* __lsan_default_options();
extern "C" const char* __lsan_default_options() {
    return "print_suppressions=0";
}

namespace velmiro::test {
namespace {

template <typename Save>
StandIn::Saved outcomeOf(const Save& save) {
    try {
        return {save(), {}};
    } catch (const PlatformError& error) {
        return {{}, error.what()};
    }
}

} // namespace

StandIn& StandIn::shared() {
    static auto* const only = new StandIn; // outlives every thread
    return *only;
}

void StandIn::reset() {
    resetFoundation();
    database = local::openCalendarFolders();
    openContacts = local::openCardFolders;
    contactsStatus.reset();
    dueParts.clear();
    eventIdentifiers.clear();
    currentCalendar = "gregorian";
    isMultiThreaded = true;
    raises.clear();
    errors.clear();
    refusals.clear();
    nils.clear();
    deliver = [](const std::function<void()>& complete) { complete(); };
    completesWithNil = false;
    clearJournal();
}

int StandIn::filesContactsStatus() {
    return static_cast<int>(local::cardFoldersStatus());
}

StandIn::Saved StandIn::save(const NewEvent& event, const Calendar& calendar) {
    Saved saved = outcomeOf([&] { return database->saveEvent(event, calendar); });
    if (saved.problem.empty()) {
        eventIdentifiers.insert(saved.identifier);
    }
    return saved;
}

StandIn::Saved StandIn::save(const NewReminder& reminder, const Calendar& list) {
    return outcomeOf([&] { return database->saveReminder(reminder, list); });
}

StandIn::Saved StandIn::complete(const std::string& identifier) {
    return outcomeOf([&] {
        return database->completeReminder(identifier)
                   ? identifier
                   : throw PlatformError{"The reminder is not there any more."};
    });
}

std::vector<std::string> StandIn::journal() const {
    const std::scoped_lock lock{mutex_};
    return journal_;
}

void StandIn::clearJournal() {
    const std::scoped_lock lock{mutex_};
    journal_.clear();
    counts_.clear();
}

int StandIn::countOf(const std::string& call) const {
    const std::scoped_lock lock{mutex_};
    const auto found = counts_.find(call);
    return found == counts_.end() ? 0 : found->second;
}

std::set<std::string> StandIn::allCalled() const {
    const std::scoped_lock lock{mutex_};
    std::set<std::string> calls;
    for (const auto& [call, count] : counts_) {
        calls.insert(call);
    }
    return calls;
}

void StandIn::count(const std::string& call) {
    const std::scoped_lock lock{mutex_};
    ++counts_[call];
}

std::vector<std::string> withoutStoreCreation(std::vector<std::string> journal) {
    const auto made = std::ranges::find(journal, "EKEventStore init");
    if (made != journal.end()) {
        journal.erase(made - 2, made + 1);
    }
    return journal;
}

void StandIn::note(std::string call) {
    const std::scoped_lock lock{mutex_};
    journal_.push_back(std::move(call));
}

} // namespace velmiro::test
