#include "velmiro_mcp/platform/local/CalendarFolders.hpp"

#include "velmiro_mcp/platform/local/CalendarErrors.hpp"
#include "velmiro_mcp/platform/local/files/Files.hpp"
#include "velmiro_mcp/platform/local/files/LocalFolders.hpp"

#include <algorithm>
#include <utility>

namespace velmiro::local {
namespace {

Vdir root(EntityType type) {
    return Vdir{dataFolder(type == EntityType::event ? "Calendars" : "Reminders")};
}

Vdir openRoot(EntityType type) {
    Vdir opened = root(type);
    opened.makeIfMissing(type == EntityType::event ? "Calendar" : "Reminders");
    return opened;
}

} // namespace

std::string storedAt(const Collection& collection, const std::string& item) {
    return collection.folder + "/" + item;
}

bool CalendarFolders::isAccessible(EntityType type) {
    return root(type).isAccessible();
}

std::vector<Collection> CalendarFolders::collections(EntityType type) {
    return reading(nameOf(type), [&] { return openRoot(type).collections(); });
}

std::optional<Collection> CalendarFolders::firstWritable(EntityType type) {
    auto all = collections(type);
    return reading(nameOf(type), [&]() -> std::optional<Collection> {
        const auto first = std::ranges::find_if(all, isWritableFolder, &Collection::path);
        return first == all.end() ? std::nullopt : std::optional{std::move(*first)};
    });
}

std::optional<Collection> CalendarFolders::collection(EntityType type, const Calendar& calendar) {
    return reading(nameOf(type, calendar.title),
                   [&] { return openRoot(type).collection(calendar.identifier); });
}

void CalendarFolders::forEachFile(EntityType type, const Calendar* calendar, const Visit& visit) {
    reading(nameOf(type), [&] { files_.refresh(); });
    std::vector<Collection> wanted;
    if (calendar == nullptr) {
        wanted = collections(type);
    } else if (auto one = collection(type, *calendar)) {
        wanted.push_back(std::move(*one));
    }
    for (const Collection& collection : wanted) {
        const std::string name = nameOf(type, collection.title);
        const auto visitFile = [&](const std::string& item,
                                   const std::shared_ptr<const CalendarFile>& contents) {
            return visit({collection, item, contents});
        };
        if (!reading(name, [&] { return files_.visit(collection, visitFile); })) {
            return;
        }
    }
}

} // namespace velmiro::local
