#pragma once

#include <chrono>
#include <string>

namespace velmiro::bench {

/// Returns a name as programs give it to what they store: a UUID that contains this number.
std::string itemName(int number);

/// Returns a number as a person would write it: 10,000.
std::string counted(int number);

/// Return 20260501, and 2026-05-01.
std::string basicDate(std::chrono::sys_days day);
std::string isoDate(std::chrono::sys_days day);

} // namespace velmiro::bench
