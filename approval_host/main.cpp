// Answers approval questions: at a terminal, or unattended.

#include "approval_host/CommandLine.hpp"
#include "approval_host/Host.hpp"
#include "approval_host/HostError.hpp"
#include "approval_host/ListeningSocket.hpp"
#include "approval_host/Process.hpp"
#include "approval_host/SocketPath.hpp"

#include <csignal>
#include <exception>
#include <string>

namespace {

using namespace velmiro::host;

void report(const std::string& problem, int stop) {
    static_cast<void>(Output{STDERR_FILENO, stop}.write("approval_host: " + problem + '\n'));
}

int runHost(const Options& options, const StopSignals& signals) {
    const Output output{STDOUT_FILENO, signals.descriptor()};
    if (options.help) {
        return output.write(usage) ? 0 : 1;
    }
    if (options.version) {
        return output.write("approval_host " VELMIRO_VERSION "\n") ? 0 : 1;
    }
    const ListeningSocket listener{socketPath(options.socketPath)};
    if (output.write("listening at " + listener.path() + '\n')) {
        Host{{listener.descriptor(), STDIN_FILENO, signals.descriptor()}, output, options.policy}
            .run();
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
