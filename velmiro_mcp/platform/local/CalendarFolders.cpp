#include "velmiro_mcp/platform/local/CalendarFolders.hpp"

#include "velmiro_mcp/platform/local/CalendarErrors.hpp"
#include "velmiro_mcp/platform/local/files/Files.hpp"
#include "velmiro_mcp/platform/local/files/LocalFolders.hpp"

#include <utility>

namespace velmiro::local {
namespace {

Vdir root(EntityType type) {
    return type == EntityType::event ? Vdir{dataFolder("Calendars"), "Calendar"}
                                     : Vdir{dataFolder("Reminders"), "Reminders"};
}

} // namespace

std::string storedAt(const Collection& collection, const std::string& item) {
    return collection.folder + "/" + item;
}

bool CalendarFolders::isAccessible(EntityType type) {
    return root(type).isAccessible();
}

std::vector<Collection> CalendarFolders::collections(EntityType type) {
    return reading(nameOf(type), [&] { return root(type).collections(); });
}

std::optional<Collection> CalendarFolders::firstWritable(EntityType type) {
    return reading(nameOf(type), [&] { return root(type).firstWritable(); });
}

std::optional<Collection> CalendarFolders::collection(EntityType type, const Calendar& calendar) {
    return reading(nameOf(type, calendar.title),
                   [&] { return root(type).collection(calendar.identifier); });
}

std::error_code CalendarFolders::createItem(EntityType type, const Calendar& calendar,
                                            const std::string& name, std::string_view contents) {
    try {
        return root(type).createItem(calendar.identifier, calendar.title, name, contents);
    } catch (const std::system_error& error) {
        return error.code();
    }
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
