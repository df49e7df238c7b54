#include "osascript/mail/MessageReader.hpp"

#include "MCPStdio/text/TextBuffer.hpp"
#include "MCPStdio/text/UTF8.hpp"
#include "osascript/dictionary/ScriptError.hpp"
#include "osascript/mail/Header.hpp"
#include "osascript/mail/MessageFile.hpp"
#include "osascript/message/CharacterSets.hpp"
#include "velmiro_mcp/base/ChildExit.hpp"
#include "velmiro_mcp/platform/local/files/SystemError.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <optional>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velmiro::osascript {
namespace {

using MCPStdio::Descriptor;
using MCPStdio::TextBuffer;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// What a new process gets: its first three descriptors and no more, and no signal blocked or
/// ignored.
class SpawnSettings {
public:
    SpawnSettings(int input, int output) {
        posix_spawn_file_actions_init(&actions_);
        posix_spawn_file_actions_adddup2(&actions_, input, STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions_, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
        posix_spawnattr_init(&attributes_);
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes_, &signals);
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&attributes_, &signals);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;
    ~SpawnSettings() {
        posix_spawnattr_destroy(&attributes_);
        posix_spawn_file_actions_destroy(&actions_);
    }

    [[nodiscard]] const posix_spawn_file_actions_t* actions() const { return &actions_; }
    [[nodiscard]] const posix_spawnattr_t* attributes() const { return &attributes_; }

private:
    posix_spawn_file_actions_t actions_{};
    posix_spawnattr_t attributes_{};
};

/// A reader at work. It is killed, if it still runs, and reaped with this object.
class RunningReader {
public:
    RunningReader(const MessageReader& reader, const Descriptor& message)
        : deadline_{Clock::now() + reader.patience} {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            local::throwLastError();
        }
        output_ = Descriptor{ends[0]};
        const Descriptor writing{ends[1]};
        const SpawnSettings settings{message.get(), writing.get()};
        std::string path = reader.path;
        const std::array arguments{path.data(), static_cast<char*>(nullptr)};
        stopIgnoringChildren();
        const int error = posix_spawn(&child_, path.c_str(), settings.actions(),
                                      settings.attributes(), arguments.data(), environ);
        if (error != 0) {
            throw ScriptError{"cannot start " + path +
                              ", which reads messages: " + std::generic_category().message(error)};
        }
    }
    RunningReader(const RunningReader&) = delete;
    RunningReader& operator=(const RunningReader&) = delete;
    ~RunningReader() {
        if (!isReaped_) {
            kill(child_, SIGKILL);
            reap(0);
        }
    }

    /// Returns what it writes, at most `largestMessage`; nullopt unless it ends well and in time.
    std::optional<std::string> text() {
        TextBuffer text;
        for (;;) {
            if (!awaitOutput()) {
                return std::nullopt;
            }
            constexpr std::size_t chunk = 65'536; // as much as a pipe holds
            const ssize_t count = read(output_.get(), text.room(chunk), chunk);
            if (count < 0 && errno == EINTR) {
                continue;
            }
            if (count < 0) {
                return std::nullopt;
            }
            if (count == 0) {
                break;
            }
            text.added(static_cast<std::size_t>(count));
            if (text.size() > largestMessage) {
                return std::string{text.view().substr(0, largestMessage)};
            }
        }
        return hasEndedWell() ? std::optional{std::string{text.view()}} : std::nullopt;
    }

private:
    [[nodiscard]] std::chrono::milliseconds timeLeft() const {
        return std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now());
    }

    /// Waits until there is output, or its end; returns false at the deadline.
    [[nodiscard]] bool awaitOutput() const {
        pollfd readable{output_.get(), POLLIN, 0};
        while (timeLeft() > 0ms) {
            if (poll(&readable, 1, static_cast<int>(timeLeft().count())) > 0) {
                return true;
            }
        }
        return false;
    }

    /// Waits, until the deadline, for an exit with status 0. After its output it has nothing left
    /// to do, so it ends immediately.
    bool hasEndedWell() {
        constexpr auto longestPause = 10ms;
        std::chrono::microseconds pause = 20us;
        for (std::optional<int> status = reap(WNOHANG); timeLeft() > 0ms; status = reap(WNOHANG)) {
            if (status) {
                return WIFEXITED(*status) && WEXITSTATUS(*status) == 0;
            }
            std::this_thread::sleep_for(pause);
            pause = std::min<std::chrono::microseconds>(2 * pause, longestPause);
        }
        return false;
    }

    /// Returns how it ended; nullopt if it still runs.
    std::optional<int> reap(int flags) {
        int status = -1;
        pid_t ended = -1;
        do {
            ended = waitpid(child_, &status, flags);
        } while (ended < 0 && errno == EINTR);
        isReaped_ = ended != 0;
        return isReaped_ ? std::optional{status} : std::nullopt;
    }

    Clock::time_point deadline_;
    Descriptor output_;
    pid_t child_ = -1;
    bool isReaped_ = false;
};

std::string asItStands(const Descriptor& message) {
    std::string bytes;
    while (readMore(message, largestMessage, bytes)) {
    }
    const std::string_view whole = bytes;
    const std::size_t end = headerEnd(whole);
    if (end == std::string_view::npos) {
        return decodedUnlabelled(whole);
    }
    return decodedUnlabelled(whole.substr(whole.find('\n', end) + 1));
}

} // namespace

MessageReader installedReader() {
    std::array<char, 4096> self{};
    const ssize_t length = readlink("/proc/self/exe", self.data(), self.size());
    std::string path{self.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))};
    path.resize(path.rfind('/') + 1);
    return {path + "message_reader"};
}

std::string messageText(const Descriptor& message, const MessageReader& reader) {
    auto text = RunningReader{reader, message}.text();
    return text ? MCPStdio::repairUTF8(*std::move(text)) : asItStands(message);
}

} // namespace velmiro::osascript
