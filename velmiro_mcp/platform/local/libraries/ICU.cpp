#include "velmiro_mcp/platform/local/libraries/ICU.hpp"

#include "velmiro_mcp/platform/local/libraries/Locale.hpp"

namespace velmiro::local {

namespace {

/// Sets ICU's default locale. ICU would otherwise take it from the environment unchecked, and a
/// malformed one can end the process, or turn every zone into UTC.
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
    icuCommon(); // loads what the second library depends on, and sets the locale
    static const ICUDates loaded;
    return loaded;
}

} // namespace velmiro::local
