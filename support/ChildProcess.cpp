#include "support/ChildProcess.hpp"

#include "support/Eventually.hpp"
#include "support/Pipe.hpp"
#include "velmiro_mcp/base/ArgumentPointers.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

extern "C" char** environ; // NOLINT(readability-redundant-declaration): not every libc declares it

namespace velmiro::support {
namespace {

/// Which of our descriptors become the child's standard streams. `posix_spawn` does not copy our
/// memory, so a child starts as fast from a large process as from a small one.
class Actions {
public:
    Actions() { ::posix_spawn_file_actions_init(&actions_); }
    Actions(const Actions&) = delete;
    Actions& operator=(const Actions&) = delete;
    ~Actions() { ::posix_spawn_file_actions_destroy(&actions_); }

    void connect(int ours, int childs) {
        ::posix_spawn_file_actions_adddup2(&actions_, ours, childs);
    }
    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_{};
};

/// Starts the child with the default actions of the signals that we may be ignoring: SIGPIPE, and
/// those that a shell ignores in the background or `nohup` does.
class Attributes {
public:
    explicit Attributes(bool ignoreBrokenPipe) {
        ::posix_spawnattr_init(&attributes_);
        sigset_t restored;
        sigemptyset(&restored);
        for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
            sigaddset(&restored, signal);
        }
        if (!ignoreBrokenPipe) {
            sigaddset(&restored, SIGPIPE);
        }
        ::posix_spawnattr_setsigdefault(&attributes_, &restored);
        ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF);
    }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    ~Attributes() { ::posix_spawnattr_destroy(&attributes_); }

    [[nodiscard]] const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_{};
};

/// Ignores SIGPIPE in this process while a child is started, since the child inherits that.
class ScopedBrokenPipe {
public:
    explicit ScopedBrokenPipe(bool ignored) : ignored_{ignored} {
        if (ignored_) {
            struct sigaction ignore{};
            ignore.sa_handler = SIG_IGN;
            ::sigaction(SIGPIPE, &ignore, &before_);
        }
    }
    ScopedBrokenPipe(const ScopedBrokenPipe&) = delete;
    ScopedBrokenPipe& operator=(const ScopedBrokenPipe&) = delete;
    ~ScopedBrokenPipe() {
        if (ignored_) {
            ::sigaction(SIGPIPE, &before_, nullptr);
        }
    }

private:
    bool ignored_;
    struct sigaction before_{};
};

std::vector<std::string> environmentOf(const ChildProcess::Options& options) {
    std::vector<std::string> entries;
    for (char** entry = options.inheritsEnvironment ? environ : nullptr;
         entry != nullptr && *entry != nullptr; ++entry) {
        const std::string_view text{*entry};
        if (!options.environment.contains(std::string{text.substr(0, text.find('='))})) {
            entries.emplace_back(text);
        }
    }
    for (const auto& [name, value] : options.environment) {
        entries.push_back(name + "=" + value);
    }
    return entries;
}

std::size_t countEntries(pid_t pid, const char* folder) {
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
    Pipe input = options.input < 0 ? makePipe() : Pipe{};
    Pipe output = options.output < 0 ? makePipe() : Pipe{};
    Actions actions;
    actions.connect(options.input < 0 ? input.reading.get() : options.input, STDIN_FILENO);
    actions.connect(options.output < 0 ? output.writing.get() : options.output, STDOUT_FILENO);
    if (options.error != STDERR_FILENO) {
        actions.connect(options.error, STDERR_FILENO);
    }
    const Attributes attributes{options.ignoreBrokenPipe};
    const ScopedBrokenPipe brokenPipe{options.ignoreBrokenPipe};

    auto arguments = options.arguments;
    auto environment = environmentOf(options);
    const auto argumentPointers = pointersTo(arguments);
    const auto environmentPointers = pointersTo(environment);
    const int failure =
        ::posix_spawn(&pid_, arguments.front().c_str(), actions.get(), attributes.get(),
                      argumentPointers.data(), environmentPointers.data());
    if (failure != 0) {
        throw std::system_error{failure, std::generic_category(), arguments.front()};
    }
    input_ = std::move(input.writing);
    output_ = std::move(output.reading);
}

ChildProcess::~ChildProcess() {
    if (!status_) {
        signal(SIGKILL);
        wait();
    }
}

void ChildProcess::write(std::string_view text) const {
    while (!text.empty()) {
        const ssize_t count = ::write(input_.get(), text.data(), text.size());
        if (count < 0) {
            throw std::system_error{errno, std::generic_category(), "the child no longer reads"};
        }
        text.remove_prefix(static_cast<std::size_t>(count));
    }
}

std::optional<std::string> ChildProcess::readThrough(std::initializer_list<std::string_view> marks,
                                                     std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    std::size_t searched = 0;
    do {
        std::size_t end = std::string::npos;
        std::size_t overlap = 0; // the end of what was searched may be the start of a mark
        for (const std::string_view mark : marks) {
            const std::size_t found = buffered_.find(mark, searched);
            if (found != std::string::npos) {
                end = std::min(end, found + mark.size());
            }
            overlap = std::max(overlap, mark.size() - 1);
        }
        if (end != std::string::npos) {
            std::string text = buffered_.substr(0, end);
            buffered_.erase(0, end);
            return text;
        }
        searched = buffered_.size() - std::min(buffered_.size(), overlap);
    } while (readSome(deadline));
    return std::nullopt;
}

std::optional<std::string> ChildProcess::readLine(std::chrono::milliseconds limit) {
    auto line = readThrough({"\n"}, limit);
    if (line) {
        line->pop_back();
    }
    return line;
}

/// Returns false if nothing comes by the deadline, or the output has ended.
bool ChildProcess::readSome(std::chrono::steady_clock::time_point deadline) {
    pollfd readable{output_.get(), POLLIN, 0};
    int ready = 0;
    do {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        ready = left.count() > 0 ? ::poll(&readable, 1, static_cast<int>(left.count())) : 0;
    } while (ready < 0 && errno == EINTR);
    if (ready <= 0) {
        return false;
    }
    std::array<char, 65'536> chunk;
    const ssize_t count = ::read(output_.get(), chunk.data(), chunk.size());
    if (count <= 0) {
        outputHasEnded_ = true;
        return false;
    }
    buffered_.append(chunk.data(), static_cast<std::size_t>(count));
    return true;
}

std::optional<int> ChildProcess::waitForEnd(std::chrono::milliseconds limit) {
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

int ChildProcess::wait() {
    if (!status_) {
        int status = 0;
        while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
        }
        status_ = status;
    }
    return *status_;
}

void ChildProcess::signal(int number) const noexcept {
    if (!status_) {
        ::kill(pid_, number);
    }
}

std::size_t ChildProcess::descriptorCount() const {
    return countEntries(pid_, "fd");
}

std::size_t ChildProcess::threadCount() const {
    return countEntries(pid_, "task");
}

} // namespace velmiro::support
