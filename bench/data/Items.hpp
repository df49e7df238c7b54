#pragma once

#include <chrono>
#include <string>

namespace velmiro::bench {

/// A name as programs give it to what they store: a UUID with this number in it.
std::string itemName(int number);

/// A number as a reader would write it: 10,000.
std::string counted(int number);

/// 20260501, and 2026-05-01.
std::string basicDate(std::chrono::sys_days day);
std::string isoDate(std::chrono::sys_days day);

} // namespace velmiro::bench
