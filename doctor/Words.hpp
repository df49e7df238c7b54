#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>

/// Names and numbers for a person to read, and commands to paste.
namespace velmiro::doctor {

/// Returns text from elsewhere in visible characters only, and shortened if it is very long. It
/// cannot move the cursor, begin a new line or look empty.
std::string visible(std::string_view text);

/// Returns the same in quotation marks: ‘Work’.
std::string named(std::string_view name);

/// Returns a number with commas: 12,345.
std::string grouped(std::size_t number);

/// Returns a number with its noun: 1 event, 12,345 events. `plural` is only needed if it is not the
/// noun with an s.
std::string counted(std::size_t number, std::string_view noun, std::string_view plural = {});

/// Returns the reason of an error with a small first letter: permission denied.
std::string reasonOf(const std::error_code& error);

/// Returns one word of a POSIX shell that means exactly these bytes. A name with characters that
/// cannot be seen is written in the form $'…', which bash, zsh and ksh read.
std::string shellWord(std::string_view word);

} // namespace velmiro::doctor
