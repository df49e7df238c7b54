#include "doctor/Examinations.hpp"

#include "doctor/Collections.hpp"
#include "doctor/Mends.hpp"
#include "doctor/Words.hpp"
#include "velmiro_mcp/platform/local/CalendarFolders.hpp"
#include "velmiro_mcp/platform/local/calendars/CalendarFile.hpp"
#include "velmiro_mcp/platform/local/files/LocalFolders.hpp"
#include "velmiro_mcp/platform/local/zones/ZoneCatalogue.hpp"

#include <algorithm>

namespace velmiro::doctor {
namespace {

bool isCalendarFile(std::string_view name) {
    return name.ends_with(".ics");
}

bool isMisnamedCalendarFile(std::string_view name) {
    return name.ends_with(".ICS") || name.ends_with(".Ics");
}

Layout layoutOf(EntityType type) {
    Layout layout{.root = "Calendars",
                  .collection = "calendar",
                  .files = ".ics files",
                  .ending = ".ics",
                  .isItem = isCalendarFile,
                  .isMisnamed = isMisnamedCalendarFile,
                  .titleOf = [type](const std::string& folder) -> std::optional<std::string> {
                      auto found = local::CalendarFolders::collection(type, {folder, folder});
                      return found ? std::optional{std::move(found->title)} : std::nullopt;
                  },
                  .oneFailsAll = true,
                  .listsCopies = true,
                  .allMustExist = true,
                  .hasDefault = true,
                  .first = "Calendar",
                  .ifMissing = "it counts as one empty calendar, ‘Calendar’",
                  .usual = {".calendars", "calendars", ".local/share/khal/calendars",
                            ".local/share/calendars", ".local/share/vdirsyncer/calendars"}};
    if (type == EntityType::reminder) {
        layout.root = "Reminders";
        layout.collection = "list";
        layout.first = "Reminders";
        layout.ifMissing = "it counts as one empty list, ‘Reminders’";
        layout.usual.insert(layout.usual.begin(), {".todo", ".reminders", ".local/share/todo"});
    }
    return layout;
}

/// Returns whether a file without events and reminders is a whole calendar all the same: an empty
/// one, or one of journals.
bool isWholeCalendar(const std::string& bytes) {
    const auto has = [&](std::string_view text) { return bytes.find(text) != std::string::npos; };
    return has("BEGIN:VCALENDAR") && has("END:VCALENDAR") && !has("BEGIN:VEVENT") &&
           !has("BEGIN:VTODO");
}

class CalendarReader final : public ItemReader {
public:
    explicit CalendarReader(EntityType type) : type_{type} {}

    std::string read(const local::OpenFolder& folder, const std::string& name) override {
        auto file = readItem(folder, name);
        if (!file) {
            return whyUnreadable(folder.path() + "/" + name);
        }
        const bool isWhole = isWholeCalendar(*file);
        const auto contents = local::readCalendarFile(std::move(*file), name, zones_);
        if (contents.events.empty() && contents.reminders.empty()) {
            return isWhole ? std::string{} : "no event or reminder in it can be read";
        }
        events_ += static_cast<std::size_t>(std::ranges::count_if(
            contents.events, [](const auto& event) { return !event.recurrenceID; }));
        for (const local::StoredReminder& reminder : contents.reminders) {
            reminders_ += reminder.isListed() ? 1U : 0U;
            open_ += reminder.isListed() && reminder.isOpen() ? 1U : 0U;
        }
        return {};
    }

    Count take() override {
        const bool isOfEvents = type_ == EntityType::event;
        Count count{isOfEvents ? events_ : reminders_, {}};
        const std::size_t others = isOfEvents ? reminders_ : events_;
        count.text = isOfEvents ? counted(events_, "event") : counted(reminders_, "reminder");
        if (!isOfEvents && reminders_ > 0) {
            count.text += ", " + grouped(open_) + " open";
        }
        if (others > 0) {
            count.text += isOfEvents ? " (and " + counted(others, "reminder") + ")"
                                     : " (and " + counted(others, "event") + ")";
        }
        othersOnly_ = count.items == 0 ? others : 0;
        events_ = reminders_ = open_ = 0;
        return count;
    }

    /// Returns how many items of the other type there were at the last `take`, if there was none of
    /// this.
    [[nodiscard]] std::size_t othersOnly() const noexcept { return othersOnly_; }

private:
    EntityType type_;
    local::ZoneCatalogue zones_;
    std::size_t events_ = 0;
    std::size_t reminders_ = 0;
    std::size_t open_ = 0;
    std::size_t othersOnly_ = 0;
};

/// Tells of a calendar of reminders, or a list of events, unless it is also where it belongs.
void tellOtherType(Section& section, EntityType type, const local::Collection& collection,
                   const Place& place) {
    const bool isOfEvents = type == EntityType::event;
    const std::string otherRoot = local::dataFolder(isOfEvents ? "Reminders" : "Calendars");
    const auto isSame = [&](const local::Collection& other) {
        return placeOf(other.path).identity == place.identity;
    };
    const EntityType otherType = isOfEvents ? EntityType::reminder : EntityType::event;
    if (placeOf(otherRoot).isFolder() &&
        std::ranges::any_of(local::CalendarFolders::collections(otherType), isSame)) {
        return;
    }
    const std::string path = place.isLink ? place.target : collection.path;
    section.hint(
        named(collection.title) + " holds only " +
            (isOfEvents ? "reminders: link it in Reminders" : "events: link it in Calendars"),
        linkCommand(path, otherRoot + "/" + collection.folder));
}

} // namespace

Section examineCalendars(EntityType type, const Bounds& bounds) {
    const bool isOfEvents = type == EntityType::event;
    Section section{isOfEvents ? "calendar" : "reminders"};
    const Layout layout = layoutOf(type);
    CalendarReader reader{type};
    std::string path = local::dataFolder(layout.root);
    const auto what = placeOf(path).what;
    // Anything else is told by the examination.
    const bool mayBeDenied = what == Place::What::folder || what == Place::What::missing;
    if (mayBeDenied && !local::CalendarFolders::isAccessible(type)) {
        while (placeOf(path).what == Place::What::missing) {
            path = local::parentOf(path);
        }
        section.problem(layout.root + " cannot be both read and written: access is denied",
                        rightsCommand(path, "u+rwx"));
        return section;
    }
    CollectionsExamination{section, layout, reader, bounds}.run(
        [&](const local::Collection& collection, const Place& place, const Count&) {
            if (reader.othersOnly() > 0) {
                tellOtherType(section, type, collection, place);
            }
        });
    return section;
}

} // namespace velmiro::doctor
