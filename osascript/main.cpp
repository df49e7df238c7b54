// The command `osascript -l JavaScript -e SCRIPT [ARGUMENT]…`: evaluates a script and prints what
// it returns. Standard input belongs to whoever started the server, and is never read.

#include "MCPStdio/json/JSONValue.hpp"
#include "MCPStdio/transport/StandardStreams.hpp"
#include "osascript/CommandLine.hpp"
#include "osascript/Surroundings.hpp"
#include "osascript/engine/Evaluation.hpp"
#include "osascript/mail/MailApplication.hpp"
#include "osascript/notes/NotesApplication.hpp"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <new>
#include <string_view>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

using namespace velmiro::osascript;

/// Writes all of a text, also to a pipe that does not block. Returns false if it cannot.
bool print(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN) {
            pollfd waiting{descriptor, POLLOUT, 0};
            ::poll(&waiting, 1, -1);
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

bool isOpen(int descriptor) {
    return ::fcntl(descriptor, F_GETFD) != -1;
}

/// Returns the exit status.
int report(const Evaluation& evaluation, const CommandLine& line) {
    if (!evaluation.succeeded) {
        print(line.errorsToOutput ? STDOUT_FILENO : STDERR_FILENO,
              "execution error: " + evaluation.text + "\n");
        return EXIT_FAILURE;
    }
    const std::string text =
        line.asSource ? MCPStdio::JSONValue{evaluation.text}.jsonString() : evaluation.text;
    return print(STDOUT_FILENO, text + "\n") ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int count, char* given[]) {
    std::signal(SIGPIPE, SIG_IGN);
    const bool isHeard = isOpen(STDOUT_FILENO);
    MCPStdio::openClosedStandardStreams();
    try {
        const CommandLine line = readCommandLine(count, given);
        prepareForEngine();
        const Evaluation evaluation = evaluate(
            line.source, line.arguments, {{"Mail", mailApplication}, {"Notes", notesApplication}});
        const int status = report(evaluation, line);
        std::_Exit(isHeard ? status : EXIT_FAILURE); // which ends the engine, too
    } catch (const CommandLineError& error) {
        print(STDERR_FILENO, "osascript: " + std::string{error.what()} + "\n" + usage + "\n");
    } catch (const std::bad_alloc&) {
        print(STDERR_FILENO, "osascript: out of memory\n");
    } catch (const std::exception& error) {
        print(STDERR_FILENO, "osascript: " + std::string{error.what()} + "\n");
    }
    return EXIT_FAILURE;
}
