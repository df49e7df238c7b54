#include "demo/Program.hpp"

#include "demo/Failure.hpp"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <optional>

namespace velmiro::demo {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto patience = 10s; // a step takes milliseconds
constexpr auto slice = 50ms;   // the part of a wait between two checks of `interrupted`
std::atomic<bool> interrupted = false;

extern "C" void interrupt(int /*signal*/) {
    interrupted = true;
}

void requireNoInterrupt() {
    require(!interrupted, "it was interrupted");
}

} // namespace

void endWaitsOnSignals() {
    struct sigaction action{};
    action.sa_handler = interrupt;
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        ::sigaction(number, &action, nullptr);
    }
    std::signal(SIGPIPE, SIG_IGN); // if a program has ended, the write fails instead
}

Program::Program(const std::string& path, const std::map<std::string, std::string>& environment)
    : child_{{.arguments = {path}, .environment = environment, .inheritsEnvironment = true}} {}

Program::~Program() {
    child_.closeInput();
    child_.closeOutput();
    child_.signal(SIGTERM);
    child_.wait();
}

std::string Program::readLine() {
    std::string line = readThrough({"\n"});
    line.pop_back();
    return line;
}

std::string Program::readThrough(std::initializer_list<std::string_view> marks) {
    const auto deadline = Clock::now() + patience;
    for (;;) {
        requireNoInterrupt();
        if (auto text = child_.readThrough(marks, slice)) {
            return *std::move(text);
        }
        require(!child_.outputHasEnded(), "a program ended before it had answered");
        require(Clock::now() < deadline, "a reply did not come in time");
    }
}

std::string Program::readTypedLine() const {
    std::string line;
    std::array<pollfd, 2> watched{
        {{STDIN_FILENO, POLLIN, 0}, {child_.outputDescriptor(), POLLIN, 0}}};
    while (!line.ends_with('\n')) {
        while (::poll(watched.data(), watched.size(), -1) < 0 && errno == EINTR) {
            requireNoInterrupt();
        }
        char byte = 0;
        // Byte by byte: what follows the line is for the next question, or for the shell.
        if (watched[1].revents != 0 || ::read(STDIN_FILENO, &byte, 1) != 1) {
            return {};
        }
        line += byte;
    }
    return line;
}

int Program::wait() {
    const auto deadline = Clock::now() + patience;
    for (;;) {
        requireNoInterrupt();
        if (const auto status = child_.waitForEnd(slice)) {
            return WIFEXITED(*status) ? WEXITSTATUS(*status) : -1;
        }
        require(Clock::now() < deadline, "a program did not end");
    }
}

} // namespace velmiro::demo
