#pragma once

#include "velmiro_mcp/platform/local/libraries/SharedLibrary.hpp"

// ICU's C++ classes would have to be linked, and since ICU 76 so would its header-only C++ API.
#define U_SHOW_CPLUSPLUS_API 0
#define U_SHOW_CPLUSPLUS_HEADER_API 0

#include <unicode/ubrk.h>
#include <unicode/ucal.h>
#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/udat.h>
#include <unicode/uloc.h>
#include <unicode/unorm2.h>
#include <unicode/uscript.h>
#include <unicode/ustring.h>
#include <unicode/utext.h>

/// The ICU functions that this program uses, under their own names:
/// `icuCommon().u_charType(scalar)`. Types, constants, and macros that call nothing are used
/// straight from ICU's headers.
namespace velmiro::local {

/// Character properties, encodings, normalization and comparison.
struct ICUCommon {
    SharedLibrary library{"ICU", "libicuuc.so." U_ICU_VERSION_SHORT};
    VELMIRO_LIBRARY_FUNCTION(u_charType);
    VELMIRO_LIBRARY_FUNCTION(u_getCombiningClass);
    VELMIRO_LIBRARY_FUNCTION(u_isalnum);
    VELMIRO_LIBRARY_FUNCTION(u_isUWhiteSpace);
    VELMIRO_LIBRARY_FUNCTION(u_strFromUTF8WithSub);
    VELMIRO_LIBRARY_FUNCTION(u_strToLower);
    VELMIRO_LIBRARY_FUNCTION(u_strToUpper);
    VELMIRO_LIBRARY_FUNCTION(u_strToUTF8WithSub);
    VELMIRO_LIBRARY_FUNCTION(ubrk_close);
    VELMIRO_LIBRARY_FUNCTION(ubrk_first);
    VELMIRO_LIBRARY_FUNCTION(ubrk_next);
    VELMIRO_LIBRARY_FUNCTION(ubrk_open);
    VELMIRO_LIBRARY_FUNCTION(ubrk_setUText);
    VELMIRO_LIBRARY_FUNCTION(ucnv_cbToUWriteUChars);
    VELMIRO_LIBRARY_FUNCTION(ucnv_close);
    VELMIRO_LIBRARY_FUNCTION(ucnv_convertEx);
    VELMIRO_LIBRARY_FUNCTION(ucnv_countAliases);
    VELMIRO_LIBRARY_FUNCTION(ucnv_open);
    VELMIRO_LIBRARY_FUNCTION(ucnv_setToUCallBack);
    VELMIRO_LIBRARY_FUNCTION(ucnv_toUChars);
    VELMIRO_LIBRARY_FUNCTION(uloc_setDefault);
    VELMIRO_LIBRARY_FUNCTION(unorm2_getNFCInstance);
    VELMIRO_LIBRARY_FUNCTION(unorm2_getNFDInstance);
    VELMIRO_LIBRARY_FUNCTION(unorm2_getNFKCCasefoldInstance);
    VELMIRO_LIBRARY_FUNCTION(unorm2_getNFKDInstance);
    VELMIRO_LIBRARY_FUNCTION(unorm2_hasBoundaryBefore);
    VELMIRO_LIBRARY_FUNCTION(unorm2_normalize);
    VELMIRO_LIBRARY_FUNCTION(unorm_compare);
    VELMIRO_LIBRARY_FUNCTION(uscript_getScript);
    VELMIRO_LIBRARY_FUNCTION(utext_close);
    VELMIRO_LIBRARY_FUNCTION(utext_openUTF8);
};

/// Dates in the user's language, and time zones.
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

/// Returns the library, which the first call loads, on any thread. Throws PlatformError if it
/// cannot be loaded.
const ICUCommon& icuCommon();
const ICUDates& icuDates();

} // namespace velmiro::local
