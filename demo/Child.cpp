#include "demo/Child.hpp"

#include "demo/Failure.hpp"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <span>
#include <thread>

extern "C" char** environ; // NOLINT(readability-redundant-declaration): not every libc declares it

namespace velmiro::demo {

namespace {

using namespace std::chrono_literals;

constexpr int patience = 10'000; // milliseconds; a step takes a few
std::atomic<bool> interrupted = false;

extern "C" void interrupt(int /*signal*/) {
    interrupted = true;
}

/// Waits until one of them can be read, at most `milliseconds`, or for ever when that is negative.
void waitFor(std::span<pollfd> watched, int milliseconds) {
    for (;;) {
        require(!interrupted, "it was interrupted");
        const int ready = ::poll(watched.data(), watched.size(), milliseconds);
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        require(ready > 0, "a reply did not come in time");
        return;
    }
}

std::array<int, 2> makePipe() {
    std::array<int, 2> ends{};
    require(::pipe(ends.data()) == 0, "no pipe could be made");
    for (const int end : ends) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
    }
    return ends;
}

std::vector<std::string> mergedEnvironment(const std::map<std::string, std::string>& changes) {
    std::vector<std::string> merged;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view text = *entry;
        if (!changes.contains(std::string{text.substr(0, text.find('='))})) {
            merged.emplace_back(text);
        }
    }
    for (const auto& [name, value] : changes) {
        merged.emplace_back(name).append("=").append(value);
    }
    return merged;
}

} // namespace

void endWaitsOnSignals() {
    struct sigaction action{};
    action.sa_handler = interrupt;
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        ::sigaction(number, &action, nullptr);
    }
    std::signal(SIGPIPE, SIG_IGN); // a program that is gone is a Failure of the write
}

Child::Child(const std::string& program, const std::map<std::string, std::string>& environment) {
    const auto [inputRead, inputWrite] = makePipe();
    const auto [outputRead, outputWrite] = makePipe();
    input_ = inputWrite;
    output_ = outputRead;

    posix_spawn_file_actions_t streams;
    ::posix_spawn_file_actions_init(&streams);
    ::posix_spawn_file_actions_adddup2(&streams, inputRead, STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&streams, outputWrite, STDOUT_FILENO);
    posix_spawnattr_t attributes;
    ::posix_spawnattr_init(&attributes);
    sigset_t usual;
    ::sigemptyset(&usual);
    ::sigaddset(&usual, SIGPIPE);
    ::posix_spawnattr_setsigdefault(&attributes, &usual);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);

    std::string name = program;
    const std::array<char*, 2> arguments{name.data(), nullptr};
    auto variables = mergedEnvironment(environment);
    std::vector<char*> entries;
    entries.reserve(variables.size() + 1);
    for (std::string& variable : variables) {
        entries.push_back(variable.data());
    }
    entries.push_back(nullptr);
    const int error = ::posix_spawn(&id_, program.c_str(), &streams, &attributes, arguments.data(),
                                    entries.data());
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&streams);
    ::close(inputRead);
    ::close(outputWrite);
    if (error != 0) {
        closeInput();
        ::close(output_);
        throw Failure{program + " could not be started"};
    }
}

Child::~Child() {
    closeInput();
    ::close(output_);
    if (id_ > 0) {
        ::kill(id_, SIGTERM);
        ::waitpid(id_, nullptr, 0);
    }
}

void Child::write(std::string_view text) const {
    while (!text.empty()) {
        const ssize_t written = ::write(input_, text.data(), text.size());
        require(written > 0, "a program went away");
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

void Child::closeInput() noexcept {
    if (input_ >= 0) {
        ::close(input_);
        input_ = -1;
    }
}

void Child::readMore() {
    std::array<pollfd, 1> watched{{{output_, POLLIN, 0}}};
    waitFor(watched, patience);
    std::array<char, 4096> bytes{};
    const ssize_t count = ::read(output_, bytes.data(), bytes.size());
    require(count > 0, "a program ended before it had answered");
    pending_.append(bytes.data(), static_cast<std::size_t>(count));
}

std::string Child::readLine() {
    std::string line = readUpTo({"\n"});
    line.pop_back();
    return line;
}

std::string Child::readUpTo(const std::vector<std::string>& marks) {
    for (;;) {
        std::size_t end = std::string::npos;
        for (const std::string& mark : marks) {
            const std::size_t found = pending_.find(mark);
            if (found != std::string::npos) {
                end = std::min(end, found + mark.size());
            }
        }
        if (end != std::string::npos) {
            std::string text = pending_.substr(0, end);
            pending_.erase(0, end);
            return text;
        }
        readMore();
    }
}

std::string Child::readTypedLine() const {
    std::string line;
    std::array<pollfd, 2> watched{{{STDIN_FILENO, POLLIN, 0}, {output_, POLLIN, 0}}};
    while (!line.ends_with('\n')) {
        waitFor(watched, -1);
        char byte = 0;
        // Byte by byte: what stands behind the line is for the next question, or for the shell.
        if (watched[1].revents != 0 || ::read(STDIN_FILENO, &byte, 1) != 1) {
            return {};
        }
        line += byte;
    }
    return line;
}

int Child::wait() {
    int status = 0;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds{patience};
    while (::waitpid(id_, &status, WNOHANG) == 0) {
        require(!interrupted, "it was interrupted");
        require(std::chrono::steady_clock::now() < deadline, "a program did not end");
        std::this_thread::sleep_for(2ms);
    }
    id_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace velmiro::demo
