#include "approval_host/screens/WindowProgram.hpp"

#include "approval_host/screens/WindowText.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace velmiro::host {

namespace {

constexpr const char* title = "Allow this change?";

/// What a program prints when the user allows, if its exit status alone does not say so.
constexpr std::string_view consent = "allow\n";

/// The window's text is an argument, so no script is made of it. `activate` brings the window to
/// the front, where the system lets it.
constexpr const char* appleScript = R"(on run argv
    try
        tell me to activate
    end try
    try
        display dialog (item 1 of argv) with title (item 2 of argv) ¬
            buttons {"Allow", "Refuse"} default button "Refuse" cancel button "Refuse" ¬
            with icon caution
        if button returned of result is "Allow" then return "allow"
    on error number -128
    end try
    return "refuse"
end run)";

std::string joined(const std::vector<std::string>& rows) {
    std::string text;
    for (const std::string& row : rows) {
        text += text.empty() ? "" : "\n";
        text += row;
    }
    return text;
}

/// Returns the rows as HTML that shows just them. Backslashes are doubled, because kdialog undoes
/// escapes before it reads the text.
std::string asHTML(const std::vector<std::string>& rows) {
    std::string html = "<qt>";
    for (const std::string& row : rows) {
        html += R"(<div align="left" style="white-space:pre">)";
        for (const char character : row) {
            switch (character) {
            case '&':
                html += "&amp;";
                break;
            case '<':
                html += "&lt;";
                break;
            case '>':
                html += "&gt;";
                break;
            case '\\':
                html += "\\\\";
                break;
            default:
                html += character;
            }
        }
        html += "</div>";
    }
    return html + "</qt>";
}

bool isProgram(const std::string& path) {
    struct stat found{};
    return ::stat(path.c_str(), &found) == 0 && S_ISREG(found.st_mode) &&
           ::access(path.c_str(), X_OK) == 0;
}

std::optional<std::string> findIn(std::string_view searchPath, std::string_view name) {
    while (!searchPath.empty()) {
        const std::string_view folder = searchPath.substr(0, searchPath.find(':'));
        searchPath.remove_prefix(std::min(searchPath.size(), folder.size() + 1));
        std::string path = std::string{folder} + '/' + std::string{name};
        // A relative folder would mean another program wherever the host is started.
        if (folder.starts_with('/') && isProgram(path)) {
            return path;
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<WindowProgram> findWindowProgram(std::string_view searchPath,
                                               const std::string& system) {
    using Kind = WindowProgram::Kind;
    if (isProgram(system)) {
        return WindowProgram{Kind::osascript, system};
    }
    if (auto path = findIn(searchPath, "zenity")) {
        return WindowProgram{Kind::zenity, *std::move(path)};
    }
    if (auto path = findIn(searchPath, "kdialog")) {
        return WindowProgram{Kind::kdialog, *std::move(path)};
    }
    return std::nullopt;
}

std::vector<std::string> windowCommand(const WindowProgram& program, const Question& question,
                                       std::size_t waiting) {
    const std::vector<std::string> rows = windowRows(question, waiting);
    switch (program.kind) {
    case WindowProgram::Kind::osascript:
        return {program.path, "-e", appleScript, joined(rows), title};
    case WindowProgram::Kind::zenity:
        return {program.path,
                "--question",
                "--no-markup",
                "--no-wrap",
                "--default-cancel",
                std::string{"--title="} + title,
                "--ok-label=Allow",
                "--cancel-label=Refuse",
                "--text=" + joined(rows)};
    case WindowProgram::Kind::kdialog:
        // Its questions with two buttons begin with yes, and a broken connection to the desktop has
        // the same status as no, so the buttons cannot change places. A list can begin with no, and
        // says in words what was chosen. The signs keep letters that were meant for another window
        // from choosing a row.
        return {program.path, "--title", title,     "--menu",    asHTML(rows), "refuse",
                "✕ Refuse",   "allow",   "✓ Allow", "--default", "✕ Refuse"};
    }
    return {};
}

bool isConsent(WindowProgram::Kind kind, std::string_view printed) {
    return kind == WindowProgram::Kind::zenity || printed == consent;
}

} // namespace velmiro::host
