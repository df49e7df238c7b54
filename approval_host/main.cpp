// Answers approval questions: at a terminal, in windows, or unattended.

#include "approval_host/CommandLine.hpp"
#include "approval_host/Host.hpp"
#include "approval_host/ListeningSocket.hpp"
#include "approval_host/SocketPath.hpp"
#include "approval_host/process/HostError.hpp"
#include "approval_host/process/Process.hpp"
#include "approval_host/screens/TerminalScreen.hpp"
#include "approval_host/screens/UnattendedScreen.hpp"
#include "approval_host/screens/WindowScreen.hpp"

#include <csignal>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>

namespace {

using namespace velmiro::host;

void report(const std::string& problem, int stop) {
    static_cast<void>(Output{STDERR_FILENO, stop}.write("approval_host: " + problem + '\n'));
}

bool isSet(const char* variable) {
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

/// Throws HostError if no window can be shown here.
std::unique_ptr<Screen> windowScreen(const Output& errors) {
    const char* const path = std::getenv("PATH");
    const auto program = findWindowProgram(path == nullptr ? "/usr/local/bin:/usr/bin:/bin" : path);
    if (!program) {
        throw HostError{"a window needs zenity or kdialog, and neither is installed"};
    }
    if (program->kind != WindowProgram::Kind::osascript && !isSet("WAYLAND_DISPLAY") &&
        !isSet("DISPLAY")) {
        throw HostError{"no desktop for a window: WAYLAND_DISPLAY and DISPLAY are not set"};
    }
    return std::make_unique<WindowScreen>(*program, errors);
}

std::unique_ptr<Screen> screenFor(Policy policy, const Output& output, const Output& errors) {
    switch (policy) {
    case Policy::askInWindow:
        return windowScreen(errors);
    case Policy::allowAll:
    case Policy::refuseAll:
        return std::make_unique<UnattendedScreen>(policy == Policy::allowAll, output);
    case Policy::askUser:
        break;
    }
    return std::make_unique<TerminalScreen>(STDIN_FILENO, output);
}

int runHost(const Options& options, const StopSignals& signals) {
    const Output output{STDOUT_FILENO, signals.descriptor()};
    if (options.help) {
        return output.write(usage) ? 0 : 1;
    }
    if (options.version) {
        return output.write("approval_host " VELMIRO_VERSION "\n") ? 0 : 1;
    }
    const Output errors{STDERR_FILENO, signals.descriptor()};
    const auto screen = screenFor(options.policy, output, errors);
    const ListeningSocket listener{socketPath(options.socketPath)};
    if (output.write("listening at " + listener.path() + '\n')) {
        Host{{listener.descriptor(), signals.descriptor()}, *screen}.run();
    }
    return 0;
}

} // namespace

int main(int count, char** arguments) {
    openStandardDescriptors();
    // If an asker or a reader has gone, the write fails; the program goes on.
    std::signal(SIGPIPE, SIG_IGN);
    raiseDescriptorLimit();
    try {
        const StopSignals signals;
        try {
            const std::span all{arguments, static_cast<std::size_t>(count)};
            return runHost(parseCommandLine(all.subspan(all.empty() ? 0 : 1)), signals);
        } catch (const UsageError& error) {
            report(error.what(), signals.descriptor());
            return 2;
        } catch (const std::exception& error) {
            report(error.what(), signals.descriptor());
            return 1;
        }
    } catch (const HostError&) {
        return 1;
    }
}
