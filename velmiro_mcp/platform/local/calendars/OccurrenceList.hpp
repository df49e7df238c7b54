#pragma once

#include "velmiro_mcp/platform/local/calendars/Occurrence.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace velmiro::local {

/// Collects the occurrences of all files and turns them into records, within bounds.
///
/// Without bounds a file of a few lines could fill the memory: with millions of occurrences, or
/// with thousands that all repeat a long note. So only the earliest `mostOccurrences` are kept. The
/// text that recurring events repeat is limited in total; past the limit, further occurrences with
/// long texts are left out. The first occurrence of every event is always kept.
class OccurrenceList {
public:
    static constexpr std::size_t mostOccurrences = 50'000;
    static constexpr std::size_t mostRepeatedText = 64UL << 20;
    static constexpr std::size_t shortText = 1024;

    /// The list keeps `events` alive, because the occurrences point into them.
    void add(const std::vector<Occurrence>& occurrences,
             std::shared_ptr<const std::vector<StoredEvent>> events, const std::string& calendar);

    /// Returns the records in the order of their starts; those with the same start, in the order of
    /// addition.
    [[nodiscard]] std::vector<Event> take();

private:
    struct Entry {
        Occurrence occurrence;
        std::size_t calendar;
        std::size_t order; ///< of addition
    };

    void keepEarliest();

    std::vector<Entry> entries_;
    std::size_t added_ = 0;
    std::vector<std::string> calendars_;
    std::vector<std::shared_ptr<const std::vector<StoredEvent>>> events_;
};

} // namespace velmiro::local
