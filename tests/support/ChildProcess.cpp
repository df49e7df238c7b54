#include "tests/support/ChildProcess.hpp"

#include "tests/support/Descriptors.hpp"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace velmiro::test {
namespace {

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> list;
    for (std::string& text : texts) {
        list.push_back(text.data());
    }
    list.push_back(nullptr);
    return list;
}

std::array<int, 2> closeOnExecPipe() {
    const auto ends = makePipe(O_CLOEXEC);
    if (ends[0] < 0) {
        throw std::runtime_error{"no pipe"};
    }
    return ends;
}

std::size_t entries(pid_t pid, const char* folder) {
    std::size_t count = 0;
    std::error_code gone;
    for (const auto& entry :
         std::filesystem::directory_iterator{"/proc/" + std::to_string(pid) + "/" + folder, gone}) {
        count += entry.path().empty() ? 0 : 1;
    }
    return count;
}

} // namespace

ChildProcess::ChildProcess(const Options& options) {
    auto arguments = options.arguments;
    std::vector<std::string> environment;
    for (const auto& [name, value] : options.environment) {
        environment.push_back(name + "=" + value);
    }
    const auto argumentList = pointers(arguments);
    const auto environmentList = pointers(environment);
    const auto input = options.input < 0 ? closeOnExecPipe() : std::array{options.input, -1};
    const auto output = options.output < 0 ? closeOnExecPipe() : std::array{-1, options.output};
    pid_ = ::fork();
    if (pid_ == 0) {
        std::signal(SIGPIPE, options.ignoreBrokenPipe ? SIG_IGN : SIG_DFL);
        ::dup2(input[0], STDIN_FILENO);
        ::dup2(output[1], STDOUT_FILENO);
        ::execve(argumentList[0], argumentList.data(), environmentList.data());
        ::_exit(127);
    }
    if (options.input < 0) {
        ::close(input[0]);
        input_ = input[1];
    }
    if (options.output < 0) {
        ::close(output[1]);
        output_ = output[0];
    }
}

ChildProcess::~ChildProcess() {
    if (!status_) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
    closeInput();
    closeOutput();
}

void ChildProcess::write(std::string_view text) const {
    while (!text.empty()) {
        const ssize_t count = ::write(input_, text.data(), text.size());
        if (count <= 0) {
            throw std::runtime_error{"the child reads no more"};
        }
        text.remove_prefix(static_cast<std::size_t>(count));
    }
}

void ChildProcess::closeInput() {
    if (input_ >= 0) {
        ::close(std::exchange(input_, -1));
    }
}

void ChildProcess::closeOutput() {
    if (output_ >= 0) {
        ::close(std::exchange(output_, -1));
    }
}

std::optional<std::string> ChildProcess::readLine(std::chrono::seconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    std::size_t searched = 0;
    while (true) {
        const std::size_t end = buffered_.find('\n', searched);
        if (end != std::string::npos) {
            std::string line = buffered_.substr(0, end);
            buffered_.erase(0, end + 1);
            return line;
        }
        searched = buffered_.size();
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd readable{output_, POLLIN, 0};
        if (left.count() <= 0 || ::poll(&readable, 1, static_cast<int>(left.count())) <= 0) {
            return std::nullopt;
        }
        std::array<char, 65536> chunk{};
        const ssize_t count = ::read(output_, chunk.data(), chunk.size());
        if (count <= 0) {
            return std::nullopt;
        }
        buffered_.append(chunk.data(), static_cast<std::size_t>(count));
    }
}

std::optional<int> ChildProcess::waitForEnd(std::chrono::seconds limit) {
    if (!status_) {
        eventually(
            [&] {
                int status = 0;
                if (::waitpid(pid_, &status, WNOHANG) == pid_) {
                    status_ = status;
                }
                return status_.has_value();
            },
            limit);
    }
    return status_;
}

void ChildProcess::signal(int number) const {
    ::kill(pid_, number);
}

std::size_t ChildProcess::descriptorCount() const {
    return entries(pid_, "fd");
}

std::size_t ChildProcess::threadCount() const {
    return entries(pid_, "task");
}

} // namespace velmiro::test
