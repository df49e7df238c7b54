#pragma once

#include "approval_host/question/Question.hpp"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The programs that show a question in a window, and what each of them must be told.
///
/// Such a program takes its text for markup, undoes escapes in it, wraps its rows, or does
/// something else with every release. What it gets here has one meaning only: all characters are
/// plain, each row of a summary begins with a bar that the host draws, and no row is wide enough to
/// be wrapped. So nothing in a summary acts, and nothing in it can pose as the host's own words.
namespace velmiro::host {

/// A program that shows windows, found on this machine.
struct WindowProgram {
    enum class Kind {
        osascript, ///< the system's own on a Mac
        zenity,
        kdialog,
    };

    Kind kind;
    std::string path;
};

/// Finds the system's program, else zenity, else kdialog, in the folders of `searchPath`, which has
/// the form of PATH; `nullopt` if there is none. `system` is the path of the system's program.
std::optional<WindowProgram> findWindowProgram(std::string_view searchPath,
                                               const std::string& system = "/usr/bin/osascript");

/// Returns the command that asks the question, the program's path first. `waiting` is the number of
/// questions after it. Refusing is what the window begins with, and what closing it means.
std::vector<std::string> windowCommand(const WindowProgram& program, const Question& question,
                                       std::size_t waiting);

/// Returns whether a program that has ended well and printed this says that the user allowed.
bool isConsent(WindowProgram::Kind kind, std::string_view printed);

} // namespace velmiro::host
