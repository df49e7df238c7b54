#pragma once

#include "velmiro_mcp/platform/local/libraries/SharedLibrary.hpp"

// Classes would have to be linked, and so would what the headers alone make of them since ICU 76.
#define U_SHOW_CPLUSPLUS_API 0
#define U_SHOW_CPLUSPLUS_HEADER_API 0

#include <unicode/ubrk.h>
#include <unicode/ucal.h>
#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/udat.h>
#include <unicode/uloc.h>
#include <unicode/unorm2.h>
#include <unicode/uscript.h>
#include <unicode/ustring.h>
#include <unicode/utext.h>

/// ICU's functions that are used here, by their own names: `icuCommon().u_charType(scalar)`. Of its
/// headers, everything that is a type, a constant or a macro without a call can be used as it is.
namespace velmiro::local {

/// Characters: what they are, how they are encoded, composed and compared.
struct ICUCommon {
    SharedLibrary library{"ICU", "libicuuc.so." U_ICU_VERSION_SHORT};
    VELMIRO_LIBRARY_FUNCTION(u_charType);
    VELMIRO_LIBRARY_FUNCTION(u_isalnum);
    VELMIRO_LIBRARY_FUNCTION(u_isUWhiteSpace);
    VELMIRO_LIBRARY_FUNCTION(u_strFromUTF8WithSub);
    VELMIRO_LIBRARY_FUNCTION(u_strToLower);
    VELMIRO_LIBRARY_FUNCTION(u_strToUTF8WithSub);
    VELMIRO_LIBRARY_FUNCTION(ubrk_close);
    VELMIRO_LIBRARY_FUNCTION(ubrk_first);
    VELMIRO_LIBRARY_FUNCTION(ubrk_next);
    VELMIRO_LIBRARY_FUNCTION(ubrk_open);
    VELMIRO_LIBRARY_FUNCTION(ubrk_setUText);
    VELMIRO_LIBRARY_FUNCTION(ucnv_close);
    VELMIRO_LIBRARY_FUNCTION(ucnv_countAliases);
    VELMIRO_LIBRARY_FUNCTION(ucnv_open);
    VELMIRO_LIBRARY_FUNCTION(ucnv_toUChars);
    VELMIRO_LIBRARY_FUNCTION(uloc_setDefault);
    VELMIRO_LIBRARY_FUNCTION(unorm2_getNFCInstance);
    VELMIRO_LIBRARY_FUNCTION(unorm2_getNFDInstance);
    VELMIRO_LIBRARY_FUNCTION(unorm2_getNFKCCasefoldInstance);
    VELMIRO_LIBRARY_FUNCTION(unorm2_normalize);
    VELMIRO_LIBRARY_FUNCTION(unorm_compare);
    VELMIRO_LIBRARY_FUNCTION(uscript_getScript);
    VELMIRO_LIBRARY_FUNCTION(utext_close);
    VELMIRO_LIBRARY_FUNCTION(utext_openUTF8);
};

/// Dates, in the user's language, and time zones.
struct ICUDates {
    SharedLibrary library{"ICU", "libicui18n.so." U_ICU_VERSION_SHORT};
    VELMIRO_LIBRARY_FUNCTION(ucal_close);
    VELMIRO_LIBRARY_FUNCTION(ucal_get);
    VELMIRO_LIBRARY_FUNCTION(ucal_getCanonicalTimeZoneID);
    VELMIRO_LIBRARY_FUNCTION(ucal_getTimeZoneIDForWindowsID);
    VELMIRO_LIBRARY_FUNCTION(ucal_getTimeZoneTransitionDate);
    VELMIRO_LIBRARY_FUNCTION(ucal_open);
    VELMIRO_LIBRARY_FUNCTION(ucal_setMillis);
    VELMIRO_LIBRARY_FUNCTION(udat_close);
    VELMIRO_LIBRARY_FUNCTION(udat_format);
    VELMIRO_LIBRARY_FUNCTION(udat_open);
};

/// The library, loaded by the first call, on any thread. Throws PlatformError when it cannot be.
const ICUCommon& icuCommon();
const ICUDates& icuDates();

} // namespace velmiro::local
