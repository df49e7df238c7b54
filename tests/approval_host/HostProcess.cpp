#include "tests/approval_host/HostProcess.hpp"

#include "support/Pipe.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <utility>

namespace velmiro::host::test {

using MCPStdio::Descriptor;

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto patience = std::chrono::seconds{30};

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

/// Returns the command line that starts the host. The shell prepares the process and then becomes
/// the host; for a host at a terminal, `setsid` does so before.
std::vector<std::string> commandFor(const Start& start) {
    std::string preparation = "umask 0; ";
    if (start.ignoredSignal) {
        preparation += "trap '' " + std::to_string(*start.ignoredSignal) + "; ";
    }
    if (start.descriptors) {
        preparation += "ulimit -n " + std::to_string(*start.descriptors) + "; ";
    }
    if (!start.environment.contains("VELMIRO_APPROVAL_SOCKET")) {
        preparation += "unset VELMIRO_APPROVAL_SOCKET; ";
    }
    preparation += "exec \"$0\" \"$@\"";
    preparation += start.input == Stdin::closed ? " <&-" : "";
    std::vector<std::string> command;
    if (start.input == Stdin::terminal) {
        command = {"/usr/bin/setsid", "--ctty"};
    }
    command.insert(command.end(), {"/bin/sh", "-c", preparation, APPROVAL_HOST_BINARY});
    command.insert(command.end(), start.arguments.begin(), start.arguments.end());
    return command;
}

} // namespace

HostProcess::HostProcess(const Start& start) {
    std::signal(SIGPIPE, SIG_IGN);
    Descriptor hostInput;
    Descriptor hostOutput;
    if (start.input == Stdin::terminal) {
        input_ = openTerminal(start.columns);
        output_ = Descriptor{::fcntl(input_.get(), F_DUPFD_CLOEXEC, 0)};
        hostInput = Descriptor{::open(::ptsname(input_.get()), O_RDWR | O_NOCTTY | O_CLOEXEC)};
        hostOutput = Descriptor{::fcntl(hostInput.get(), F_DUPFD_CLOEXEC, 0)};
    } else {
        auto input = support::makePipe();
        auto output = support::makePipe();
        hostInput = std::move(input.reading);
        input_ = std::move(input.writing);
        hostOutput = std::move(output.writing);
        output_ = std::move(output.reading);
    }
    auto errors = support::makePipe();
    errorOutput_ = std::move(errors.reading);
    child_.emplace(support::ChildProcess::Options{.arguments = commandFor(start),
                                                  .environment = start.environment,
                                                  .inheritsEnvironment = true,
                                                  .input = hostInput.get(),
                                                  .output = hostOutput.get(),
                                                  .error = errors.writing.get()});
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
    EXPECT_EQ(::kill(id(), number), 0);
}

void HostProcess::hold() const {
    signal(SIGSTOP);
    int status = 0;
    EXPECT_EQ(::waitpid(id(), &status, WUNTRACED), id());
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
    const int status = child_->wait();
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace velmiro::host::test
