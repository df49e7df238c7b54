#include "tests/approval_host/HostProcess.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <utility>

namespace velmiro::host::test {

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto patience = std::chrono::seconds{30};

struct Pipe {
    Descriptor readEnd;
    Descriptor writeEnd;
};

Pipe makePipe() {
    std::array<int, 2> ends{-1, -1};
    EXPECT_EQ(::pipe(ends.data()), 0);
    for (const int end : ends) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
    }
    return {Descriptor{ends[0]}, Descriptor{ends[1]}};
}

Descriptor openTerminal(unsigned short columns) {
    Descriptor terminal{::posix_openpt(O_RDWR | O_NOCTTY)};
    EXPECT_TRUE(terminal);
    EXPECT_EQ(::grantpt(terminal.get()), 0);
    EXPECT_EQ(::unlockpt(terminal.get()), 0);
    ::fcntl(terminal.get(), F_SETFD, FD_CLOEXEC);
    winsize window{};
    window.ws_col = columns;
    window.ws_row = 24;
    EXPECT_EQ(::ioctl(terminal.get(), TIOCSWINSZ, &window), 0);
    return terminal;
}

/// What the child becomes the program with; all of it is made before the fork.
struct Prepared {
    std::vector<char*> arguments;
    std::string terminal;
    int input = -1;
    int output = -1;
    int errors = -1;
};

[[noreturn]] void becomeHost(const Start& start, Prepared& prepared) {
    ::umask(0);
    if (start.ignoredSignal) {
        std::signal(*start.ignoredSignal, SIG_IGN);
    }
    if (start.descriptors) {
        const rlimit limit{*start.descriptors, *start.descriptors};
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
    if (!prepared.terminal.empty()) {
        ::setsid();
        prepared.input = ::open(prepared.terminal.c_str(), O_RDWR);
        ::ioctl(prepared.input, TIOCSCTTY, 0);
        prepared.output = prepared.input;
    }
    ::dup2(prepared.errors, STDERR_FILENO);
    ::dup2(prepared.output, STDOUT_FILENO);
    if (start.input == Stdin::closed) {
        ::close(STDIN_FILENO);
    } else {
        ::dup2(prepared.input, STDIN_FILENO);
    }
    if (prepared.input > STDERR_FILENO && !prepared.terminal.empty()) {
        ::close(prepared.input);
    }
    ::unsetenv("VELMIRO_APPROVAL_SOCKET");
    for (const auto& [name, value] : start.environment) {
        ::setenv(name.c_str(), value.c_str(), 1);
    }
    ::execv(APPROVAL_HOST_BINARY, prepared.arguments.data());
    ::_exit(127);
}

} // namespace

HostProcess::HostProcess(const Start& start) {
    std::signal(SIGPIPE, SIG_IGN);
    Prepared prepared;
    std::vector<std::string> texts = start.arguments;
    texts.insert(texts.begin(), APPROVAL_HOST_BINARY);
    for (std::string& text : texts) {
        prepared.arguments.push_back(text.data());
    }
    prepared.arguments.push_back(nullptr);

    Pipe errors = makePipe();
    prepared.errors = errors.writeEnd.get();
    Pipe input;
    Pipe output;
    if (start.input == Stdin::terminal) {
        input_ = openTerminal(start.columns);
        prepared.terminal = ::ptsname(input_.get());
        output_ = Descriptor{::fcntl(input_.get(), F_DUPFD_CLOEXEC, 0)};
    } else {
        input = makePipe();
        output = makePipe();
        prepared.input = input.readEnd.get();
        prepared.output = output.writeEnd.get();
        input_ = std::move(input.writeEnd);
        output_ = std::move(output.readEnd);
    }
    errorOutput_ = std::move(errors.readEnd);
    child_ = ::fork();
    if (child_ == 0) {
        becomeHost(start, prepared);
    }
}

HostProcess::~HostProcess() {
    if (child_ > 0) {
        ::kill(child_, SIGKILL);
        ::waitpid(child_, nullptr, 0);
    }
}

bool HostProcess::pump(int milliseconds) {
    std::array<pollfd, 2> watched{{{output_.get(), POLLIN, 0}, {errorOutput_.get(), POLLIN, 0}}};
    ::poll(watched.data(), watched.size(), milliseconds);
    const auto read = [](const pollfd& ready, Descriptor& from, std::string& to) {
        std::array<char, 65'536> bytes;
        if (ready.revents == 0) {
            return;
        }
        const ssize_t count = ::read(from.get(), bytes.data(), bytes.size());
        if (count > 0) {
            to.append(bytes.data(), static_cast<std::size_t>(count));
        } else {
            from.close();
        }
    };
    read(watched[0], output_, printed_);
    read(watched[1], errorOutput_, errors_);
    return output_ || errorOutput_;
}

std::string HostProcess::waitFor(std::string_view text) {
    const auto deadline = Clock::now() + patience;
    while (true) {
        const std::size_t found = printed_.find(text, seen_);
        if (found != std::string::npos) {
            const std::size_t from = std::exchange(seen_, found + text.size());
            return printed_.substr(from, seen_ - from);
        }
        if (Clock::now() > deadline || !pump(1000)) {
            ADD_FAILURE() << "never printed: " << text << "\nprinted: " << printed_.substr(seen_)
                          << "\nerrors: " << errors_;
            return {};
        }
    }
}

bool HostProcess::listens() {
    const auto deadline = Clock::now() + patience;
    while (printed_.find("listening at ") == std::string::npos) {
        if (Clock::now() > deadline || !pump(1000)) {
            return false;
        }
    }
    return true;
}

std::string HostProcess::printedWithin(int milliseconds) {
    const auto deadline = Clock::now() + std::chrono::milliseconds{milliseconds};
    while (true) {
        const auto rest = deadline - Clock::now();
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(rest).count();
        if (left <= 0 || !pump(static_cast<int>(left))) {
            return printed_.substr(seen_);
        }
    }
}

void HostProcess::type(std::string_view text) {
    EXPECT_EQ(::write(input_.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

void HostProcess::signal(int number) const {
    EXPECT_EQ(::kill(child_, number), 0);
}

void HostProcess::hold() const {
    signal(SIGSTOP);
    int status = 0;
    EXPECT_EQ(::waitpid(child_, &status, WUNTRACED), child_);
    EXPECT_TRUE(WIFSTOPPED(status));
}

int HostProcess::waitForExit() {
    const auto deadline = Clock::now() + patience;
    while (pump(1000)) {
        if (Clock::now() > deadline) {
            ADD_FAILURE() << "still running; printed: " << printed_;
            return -1;
        }
    }
    int status = 0;
    EXPECT_GT(::waitpid(std::exchange(child_, -1), &status, 0), 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace velmiro::host::test
