#pragma once

#include "osascript/drafts/Mailbox.hpp"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The header of a message as it stands in the file. A line ends with a line feed and nothing else,
/// after any number of carriage returns; the names of fields ignore case.
namespace velmiro::osascript {

/// The rest of a longer header is not read.
inline constexpr std::size_t largestHeader = 1UL << 20;

/// A longer value is cut, after a line or else a word where it has any: it was written to make
/// readers slow.
inline constexpr std::size_t largestValue = 64UL << 10;

/// Returns where the empty line after the header begins, in a message or its beginning; npos if
/// that is not in there.
std::size_t headerEnd(std::string_view message);

/// Returns the value of the first field of that name, unfolded but not decoded; nullopt if there is
/// none.
std::optional<std::string> firstValue(std::string_view header, std::string_view name);

/// Returns those of all fields of that name.
std::vector<std::string> allValues(std::string_view header, std::string_view name);

/// Returns the first value as text in one line; empty if there is none.
std::string decodedValue(std::string_view header, std::string_view name);

/// Returns the mailboxes in all fields of that name, the members of a group one by one.
std::vector<Mailbox> mailboxesOf(std::string_view header, std::string_view name);

} // namespace velmiro::osascript
