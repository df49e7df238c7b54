#pragma once

#include "tests/macos_check/Talk.hpp"

#include <string>

/// The assumptions that only a Mac can confirm, one by one. The first group needs no permission.
namespace velmiro::check {

void withoutPermission(Talk& talk, const std::string& osascript);
void access(Talk& talk);
void reading(Talk& talk);
void writing(Talk& talk);
void scripts(Talk& talk, const std::string& osascript);

} // namespace velmiro::check
