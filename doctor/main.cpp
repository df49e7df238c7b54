// Tells a user what the server finds, and what is amiss.

#include "MCPStdio/transport/StandardStreams.hpp"
#include "doctor/CommandLine.hpp"
#include "doctor/Examinations.hpp"
#include "doctor/Mends.hpp"
#include "doctor/Report.hpp"
#include "doctor/Words.hpp"
#include "velmiro_mcp/Kind.hpp"
#include "velmiro_mcp/base/Environment.hpp"
#include "velmiro_mcp/base/ZoneVariable.hpp"
#include "velmiro_mcp/platform/local/files/LocalFolders.hpp"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <span>
#include <string>

#include <unistd.h>

namespace {

using namespace velmiro;
using namespace velmiro::doctor;

constexpr unsigned longest = 90; // seconds, for a file system that does not answer

/// Writes all of the text. Returns false if that fails.
bool print(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        text.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return true;
}

void giveUp(int /*signal*/) {
    constexpr std::string_view text =
        "velmiro_doctor: gave up, because a folder or a program does not answer\n";
    static_cast<void>(::write(STDERR_FILENO, text.data(), text.size()) > 0);
    ::_exit(1);
}

bool showsColour() {
    const char* const terminal = std::getenv("TERM");
    return ::isatty(STDOUT_FILENO) == 1 && std::getenv("NO_COLOR") == nullptr &&
           terminal != nullptr && std::string_view{terminal} != "dumb";
}

Section examine(Kind kind) {
    switch (kind) {
    case Kind::calendar:
        return examineCalendars(EntityType::event);
    case Kind::reminders:
        return examineCalendars(EntityType::reminder);
    case Kind::contacts:
        return examineContacts();
    case Kind::notes:
        return examineNotes();
    default:
        return examineMail();
    }
}

/// Prints one section after the other, as each is ready.
class Output {
public:
    void tell(const Section& section) {
        problems_ += section.problems();
        write('\n' + textOf(section, inColour_));
    }
    void write(const std::string& text) { isWritten_ = isWritten_ && print(STDOUT_FILENO, text); }

    [[nodiscard]] int finish() {
        write('\n' + verdict(problems_, inColour_));
        return problems_ == 0 && isWritten_ ? 0 : 1;
    }

private:
    bool inColour_ = showsColour();
    bool isWritten_ = true;
    std::size_t problems_ = 0;
};

int examineAll() {
    Output output;
    const std::string folder = local::parentOf(local::dataFolder("Calendars"));
    output.write("The server's data is in " + visible(folder) + '\n');
    const auto environment = processEnvironment();
    const auto enabled = enabledKinds(environment);
    output.tell(examineEnabled(environment));
    bool isAnythingThere = false;
    bool isAnythingKnown = false; // in other places
    for (const Kind kind : allCases) {
        if (!enabled.contains(kind)) {
            Section section{std::string{rawValue(kind)}};
            section.fact("not offered: VELMIRO_ENABLED does not name it");
            output.tell(section);
            continue;
        }
        const Section section = examine(kind);
        isAnythingThere = isAnythingThere || section.doesExist() || section.problems() > 0;
        isAnythingKnown = isAnythingKnown || section.hints() > 0;
        output.tell(section);
    }
    if (!isAnythingThere && !enabled.empty()) {
        Section section{"data"};
        section.problem("none of the folders exists: every answer is empty",
                        isAnythingKnown
                            ? "link what is there: the lines with ? say how"
                            : linkCommand("/FOLDER/WITH/CALENDARS", folder + "/Calendars"));
        output.tell(section);
    }
    output.tell(examineHost());
    const std::string home = local::parentOf(local::parentOf(local::supportFolder()));
    output.tell(examineClients(home));
    output.tell(examinePrograms());
    return output.finish();
}

int run(std::span<const char* const> arguments) {
    switch (parseCommandLine(arguments)) {
    case Request::help:
        return print(STDOUT_FILENO, usage) ? 0 : 1;
    case Request::version:
        return print(STDOUT_FILENO, "velmiro_doctor " VELMIRO_VERSION "\n") ? 0 : 1;
    default:
        return examineAll();
    }
}

} // namespace

int main(int count, char** arguments) {
    MCPStdio::openClosedStandardStreams(); // before anything else is opened
    sanitizeZoneVariable();
    std::signal(SIGALRM, giveUp);
    ::alarm(longest);
    try {
        const std::span all{arguments, static_cast<std::size_t>(count)};
        return run(all.subspan(all.empty() ? 0 : 1));
    } catch (const UsageError& error) {
        print(STDERR_FILENO, "velmiro_doctor: " + std::string{error.what()} + '\n');
        return 2;
    } catch (const std::exception& error) {
        print(STDERR_FILENO, "velmiro_doctor: " + visible(error.what()) + '\n');
        return 1;
    }
}
