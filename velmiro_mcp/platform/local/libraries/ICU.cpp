#include "velmiro_mcp/platform/local/libraries/ICU.hpp"

#include "velmiro_mcp/platform/local/libraries/Locale.hpp"

namespace velmiro::local {

namespace {

/// Left to itself the library takes its default language from the environment as it stands there;
/// one that is none can end the process, or make every zone UTC.
struct ICUInUserLocale : ICUCommon {
    ICUInUserLocale() {
        UErrorCode status = U_ZERO_ERROR;
        uloc_setDefault(userLocale().c_str(), &status);
    }
};

} // namespace

const ICUCommon& icuCommon() {
    static const ICUInUserLocale loaded;
    return loaded;
}

const ICUDates& icuDates() {
    icuCommon(); // which it builds on
    static const ICUDates loaded;
    return loaded;
}

} // namespace velmiro::local
