#pragma once

#include <filesystem>
#include <optional>
#include <string>

/// The files that the server and its neighbours change: reminders with a number that their owner
/// counts up, so that it can tell whether its last change is still there.
namespace velmiro::neighbours {

/// Returns an open reminder. The number always takes the same room, for owners that write in place.
std::string itemText(const std::string& uid, unsigned number);

/// Returns the number that a text has; nullopt if the text is not a whole item.
std::optional<unsigned> numberIn(const std::string& text);

/// Returns where the digits of the number begin; npos if there is none.
std::size_t placeOfNumber(const std::string& text);

/// Returns the digits of a number, as they are stored.
std::string digitsOf(unsigned number);

/// Returns whether the text is an item from its first line to its last.
bool isWhole(const std::string& text);

/// Replaces a file as most programs do: writes a hidden file and renames it.
void replaceByRename(const std::filesystem::path& file, const std::string& text);

} // namespace velmiro::neighbours
