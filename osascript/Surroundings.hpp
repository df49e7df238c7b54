#pragma once

#include <stdexcept>

/// What the engine demands of the process that it runs in.
namespace velmiro::osascript {

/// A limit of the process is too low for the engine.
class TooLittleRoom : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Prepares the process for the engine, before anything uses it. Removes settings for it from the
/// environment, which are meant for other programs and could make it print, and keeps it from
/// compiling scripts. If the engine gives up,
/// for want of memory as a rule, one line says so and the exit status is 1; no core file is left.
/// Throws TooLittleRoom.
void prepareForEngine();

} // namespace velmiro::osascript
