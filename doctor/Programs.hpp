#pragma once

#include <string>

namespace velmiro::doctor {

/// Returns the path of a program in the folder of this one; if it is not there, its bare name.
std::string programBeside(const std::string& name);

} // namespace velmiro::doctor
