#include "velmiro_mcp/platform/local/calendars/CalendarFiles.hpp"

#include <algorithm>
#include <utility>

namespace velmiro::local {

void CalendarFiles::refresh() {
    if (!zones_ || !zones_->isCurrent()) {
        cache_.clear();
        zones_ = std::make_unique<ZoneCatalogue>();
    }
}

bool CalendarFiles::visit(const Collection& collection, const Visit& visit) {
    const auto folder = openFolderIfThere(collection.path);
    if (!folder) {
        return true;
    }
    ParseCache<CalendarFile>::Reader reader{cache_, *folder};
    const auto names = Vdir::items(*folder, ".ics");
    const bool isWhole = std::ranges::all_of(names, [&](const std::string& item) {
        const auto file = reader.read(item, largestItem, [&](std::string bytes) {
            return parse(std::move(bytes), collection, item);
        });
        return !file || visit(item, file);
    });
    if (isWhole) {
        reader.forgetOthers();
    }
    return isWhole;
}

CalendarFile CalendarFiles::parse(std::string bytes, const Collection& collection,
                                  const std::string& item) {
    return readCalendarFile(std::move(bytes), collection.folder + "/" + item, *zones_);
}

} // namespace velmiro::local
