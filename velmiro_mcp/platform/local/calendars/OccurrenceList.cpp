#include "velmiro_mcp/platform/local/calendars/OccurrenceList.hpp"

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace velmiro::local {
namespace {

std::size_t textSize(const StoredEvent& event) {
    return event.identifier.size() + event.title.value_or("").size() +
           event.location.value_or("").size() + event.notes.value_or("").size();
}

} // namespace

void OccurrenceList::add(const std::vector<Occurrence>& occurrences,
                         std::shared_ptr<const std::vector<StoredEvent>> events,
                         const std::string& calendar) {
    if (occurrences.empty()) {
        return;
    }
    if (calendars_.empty() || calendars_.back() != calendar) {
        calendars_.push_back(calendar);
    }
    events_.push_back(std::move(events));
    for (const Occurrence& occurrence : occurrences) {
        entries_.push_back({occurrence, calendars_.size() - 1, added_++});
    }
    if (entries_.size() > 4 * mostOccurrences) {
        keepEarliest();
    }
}

void OccurrenceList::keepEarliest() {
    std::ranges::sort(entries_, {}, [](const Entry& entry) {
        return std::pair{entry.occurrence.start, entry.order};
    });
    if (entries_.size() > mostOccurrences) {
        entries_.resize(mostOccurrences);
    }
}

std::vector<Event> OccurrenceList::take() {
    keepEarliest();
    std::vector<Event> records;
    records.reserve(entries_.size());
    std::unordered_set<const StoredEvent*> seen;
    std::size_t repeated = 0;
    for (const Entry& entry : entries_) {
        const StoredEvent& event = *entry.occurrence.event;
        if (!seen.insert(&event).second) {
            const std::size_t size = textSize(event);
            if (size > shortText && repeated + size > mostRepeatedText) {
                continue;
            }
            repeated += size;
        }
        records.push_back({event.identifier, event.title, entry.occurrence.start,
                           entry.occurrence.end, event.isAllDay(), calendars_[entry.calendar],
                           event.location, event.notes});
    }
    entries_.clear();
    return records;
}

} // namespace velmiro::local
