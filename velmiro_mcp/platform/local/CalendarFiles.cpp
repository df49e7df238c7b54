#include "velmiro_mcp/platform/local/CalendarFiles.hpp"

#include <utility>

namespace velmiro::local {

void CalendarFiles::refresh() {
    if (!zones_->isCurrent()) {
        cache_.clear();
        zones_ = std::make_unique<ZoneCatalogue>();
    }
}

std::shared_ptr<const CalendarFile> CalendarFiles::read(const Collection& collection,
                                                        const std::string& item) {
    return cache_.read(collection.path + "/" + item, largestItem, [&](std::string bytes) {
        return parse(std::move(bytes), collection, item);
    });
}

CalendarFile CalendarFiles::parse(std::string bytes, const Collection& collection,
                                  const std::string& item) {
    return readCalendarFile(std::move(bytes), collection.folder + "/" + item, *zones_);
}

} // namespace velmiro::local
