#include "velmiro_mcp/platform/local/ICU.hpp"

namespace velmiro::local {

const ICUCommon& icuCommon() {
    static const ICUCommon loaded;
    return loaded;
}

const ICUDates& icuDates() {
    static const ICUDates loaded;
    return loaded;
}

} // namespace velmiro::local
