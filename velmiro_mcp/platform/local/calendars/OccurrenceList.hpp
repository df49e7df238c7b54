#pragma once

#include "velmiro_mcp/platform/local/calendars/Occurrence.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace velmiro::local {

/// Gathers the occurrences of all files and makes the records of them, within bounds.
///
/// Without bounds a file of some lines could fill the memory: with millions of occurrences, or with
/// thousands that all repeat a long note. So there are at most so many, those that begin first; and
/// the text that is there more than once, because an event repeats, has a limit altogether, past
/// which further repetitions of long texts are left out. The first occurrence of every event is
/// always there.
class OccurrenceList {
public:
    static constexpr std::size_t mostOccurrences = 50'000;
    static constexpr std::size_t mostRepeatedText = 64UL << 20;
    static constexpr std::size_t shortText = 1024;

    /// `events` stay alive with the list; the occurrences point into them.
    void add(const std::vector<Occurrence>& occurrences,
             std::shared_ptr<const std::vector<StoredEvent>> events, const std::string& calendar);

    /// The records, in the order of their starts; those that start at once, in the order of adding.
    [[nodiscard]] std::vector<Event> take();

private:
    struct Entry {
        Occurrence occurrence;
        std::size_t calendar;
        std::size_t order; ///< of adding
    };

    void keepEarliest();

    std::vector<Entry> entries_;
    std::size_t added_ = 0;
    std::vector<std::string> calendars_;
    std::vector<std::shared_ptr<const std::vector<StoredEvent>>> events_;
};

} // namespace velmiro::local
