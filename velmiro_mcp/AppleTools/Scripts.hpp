#pragma once

#include <string_view>

/// The automation scripts, byte for byte as they lie in scripts/ under the same names in lower
/// case. The build embeds them.
namespace velmiro::scripts {

extern const std::string_view mailCreateDraft;
extern const std::string_view mailList;
extern const std::string_view mailRead;
extern const std::string_view notesCreate;
extern const std::string_view notesSearch;

} // namespace velmiro::scripts
