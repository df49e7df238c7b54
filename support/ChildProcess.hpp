#pragma once

#include "MCPStdio/transport/Descriptor.hpp"

#include <chrono>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace velmiro::support {

/// A program that runs as our child, with pipes of ours as standard input and output. Used by one
/// thread, except that another one may write.
class ChildProcess {
public:
    struct Options {
        std::vector<std::string> arguments;               ///< the program's path first
        std::map<std::string, std::string> environment{}; ///< all variables, or changes to ours
        bool inheritsEnvironment = false;                 ///< `environment` changes ours
        int input = -1;                ///< a descriptor of the caller's; negative: a pipe is made
        int output = -1;               ///< likewise
        int error = 2;                 ///< a descriptor of the caller's
        bool ignoreBrokenPipe = false; ///< otherwise SIGPIPE has its default action
    };

    static constexpr std::chrono::seconds patience{30};

    /// Starts the program. Throws std::system_error if it cannot be started.
    explicit ChildProcess(const Options& options);
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    /// Kills the child if it still runs.
    ~ChildProcess();

    [[nodiscard]] pid_t pid() const noexcept { return pid_; }

    /// The pipes to its standard input and from its output; negative if there is none.
    [[nodiscard]] int inputDescriptor() const noexcept { return input_.get(); }
    [[nodiscard]] int outputDescriptor() const noexcept { return output_.get(); }
    void closeInput() noexcept { input_.close(); }
    void closeOutput() noexcept { output_.close(); }

    /// Writes all of the text. Throws std::system_error if the child no longer reads, provided that
    /// the caller ignores SIGPIPE.
    void write(std::string_view text) const;
    void writeLine(const std::string& line) const { write(line + "\n"); }

    /// Returns the child's next output, up to and including the first of the marks. Returns nullopt
    /// if the output ends before a mark, or no mark arrives in time; what was read is kept for the
    /// next call.
    std::optional<std::string> readThrough(std::initializer_list<std::string_view> marks,
                                           std::chrono::milliseconds limit = patience);

    /// Returns the next line without its line feed; nullopt as above.
    std::optional<std::string> readLine(std::chrono::milliseconds limit = patience);

    /// Returns whether the end of the output has been reached.
    [[nodiscard]] bool outputHasEnded() const noexcept { return outputHasEnded_; }

    /// Returns the wait status once the child has ended; nullopt if it does not end in time.
    std::optional<int> waitForEnd(std::chrono::milliseconds limit = patience);

    /// Waits for the child to end, without a limit, and returns the wait status.
    int wait();

    /// Sends a signal, unless the child was waited for: another process may have its number by
    /// then.
    void signal(int number) const noexcept;

    /// Return the numbers of the child's open descriptors and of its threads, on Linux.
    [[nodiscard]] std::size_t descriptorCount() const;
    [[nodiscard]] std::size_t threadCount() const;

private:
    bool readSome(std::chrono::steady_clock::time_point deadline);

    pid_t pid_ = -1;
    MCPStdio::Descriptor input_;
    MCPStdio::Descriptor output_;
    std::string buffered_;
    bool outputHasEnded_ = false;
    std::optional<int> status_; ///< once it was waited for
};

} // namespace velmiro::support
