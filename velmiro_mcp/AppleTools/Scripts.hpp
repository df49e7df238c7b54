#pragma once

#include <string_view>

/// The automation scripts, embedded by the build: byte for byte the files in scripts/, whose names
/// are these in snake case.
namespace velmiro::scripts {

extern const std::string_view mailCreateDraft;
extern const std::string_view mailList;
extern const std::string_view mailRead;
extern const std::string_view notesCreate;
extern const std::string_view notesSearch;

} // namespace velmiro::scripts
