#include "velmiro_mcp/platform/Platform.hpp"

#include "velmiro_mcp/platform/local/EventText.hpp"
#include "velmiro_mcp/platform/local/FileCreation.hpp"
#include "velmiro_mcp/platform/local/Files.hpp"
#include "velmiro_mcp/platform/local/LocalFolders.hpp"
#include "velmiro_mcp/platform/local/OccurrenceList.hpp"
#include "velmiro_mcp/platform/local/Random.hpp"
#include "velmiro_mcp/platform/local/Vdir.hpp"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace velmiro {
namespace {

using namespace local;

Calendar calendarOf(const Collection& collection) {
    return {collection.folder, collection.title};
}

PlatformError cannotWrite(const std::string& title, int error) {
    return PlatformError{"the calendar ‘" + title +
                         "’ cannot be written: " + std::generic_category().message(error)};
}

/// Calendars as folders of files. The folder of a calendar is its identifier.
class LocalEventDatabase final : public EventDatabase {
public:
    AuthorizationStatus authorizationStatus(EntityType type) override {
        return root(type).isAccessible() ? AuthorizationStatus::fullAccess
                                         : AuthorizationStatus::denied;
    }

    std::vector<Calendar> calendars(EntityType type) override {
        std::vector<Calendar> found;
        for (const Collection& collection : openRoot(type).collections()) {
            found.push_back(calendarOf(collection));
        }
        return found;
    }

    std::optional<Calendar> defaultCalendarForNewEvents() override {
        const auto all = openRoot(EntityType::event).collections();
        const auto first = std::ranges::find_if(
            all, [](const Collection& collection) { return isWritableFolder(collection.path); });
        return first == all.end() ? std::nullopt : std::optional{calendarOf(*first)};
    }

    std::vector<Event> events(Instant start, Instant end, const Calendar* calendar) override {
        const Vdir root = openRoot(EntityType::event);
        std::vector<Collection> wanted;
        if (calendar == nullptr) {
            wanted = root.collections();
        } else if (auto one = root.collection(calendar->identifier)) {
            wanted.push_back(std::move(*one));
        }
        OccurrenceList list;
        ZoneCatalogue zones;
        UserClock clock;
        for (const Collection& collection : wanted) {
            for (const std::string& item : Vdir::items(collection, ".ics")) {
                auto bytes = readRegularFile(collection.path + "/" + item, largestItem);
                if (!bytes) {
                    continue;
                }
                auto file = std::make_shared<const std::vector<StoredEvent>>(
                    readEventFile(std::move(*bytes), collection.folder + "/" + item, zones).events);
                WorkBudget budget{stepsOfFile(file->size())};
                const auto found = occurrences(*file, {start, end}, clock, budget);
                list.add(found, std::move(file), collection.title);
            }
        }
        return list.take();
    }

    std::string saveEvent(const NewEvent& event, const Calendar& calendar) override {
        const auto collection = openRoot(EntityType::event).collection(calendar.identifier);
        if (!collection) {
            throw cannotWrite(calendar.title, ENOENT);
        }
        const auto now =
            std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
        for (;;) {
            std::string uid = randomUUID();
            const std::string text = eventFileText(event, uid, now);
            const int error = createFile(collection->path, uid + ".ics", text);
            if (error == 0) {
                return uid;
            }
            if (error != EEXIST) {
                throw cannotWrite(collection->title, error);
            }
        }
    }

private:
    static Vdir root(EntityType type) {
        return Vdir{dataFolder(type == EntityType::event ? "Calendars" : "Reminders")};
    }

    /// The root, made when this is its first use.
    static Vdir openRoot(EntityType type) {
        Vdir opened = root(type);
        opened.makeIfMissing(type == EntityType::event ? "Calendar" : "Reminders");
        return opened;
    }
};

} // namespace

std::unique_ptr<EventDatabase> openEventDatabase() {
    return std::make_unique<LocalEventDatabase>();
}

} // namespace velmiro
