#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace velmiro::test {

/// The server, or another program, as a child whose standard input and output are pipes of ours.
class ChildProcess {
public:
    struct Options {
        std::vector<std::string> arguments;             ///< the program first
        std::map<std::string, std::string> environment; ///< all of it
        int input = -1;                                 ///< a descriptor instead of a pipe
        int output = -1;                                ///< likewise
        bool ignoreBrokenPipe = false;
    };

    explicit ChildProcess(const Options& options);
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    /// Kills what still runs.
    ~ChildProcess();

    void write(std::string_view text) const;
    void writeLine(const std::string& line) const { write(line + "\n"); }
    void closeInput();
    void closeOutput();

    /// The next line the child writes, without its line feed; nothing at the end, or when none came
    /// within the time.
    std::optional<std::string> readLine(std::chrono::seconds limit = std::chrono::seconds{30});

    /// The wait status, once the child has ended; nothing when it does not within the time.
    std::optional<int> waitForEnd(std::chrono::seconds limit = std::chrono::seconds{30});

    void signal(int number) const;
    [[nodiscard]] pid_t pid() const { return pid_; }
    [[nodiscard]] int outputDescriptor() const { return output_; }

    /// How many descriptors the child has open, and how many threads it has.
    [[nodiscard]] std::size_t descriptorCount() const;
    [[nodiscard]] std::size_t threadCount() const;

private:
    pid_t pid_ = -1;
    int input_ = -1;
    int output_ = -1;
    std::string buffered_;
    std::optional<int> status_;
};

/// Waits until a condition holds; false when it does not within the time.
template <typename Condition>
bool eventually(Condition holds, std::chrono::seconds limit = std::chrono::seconds{30}) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!holds()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        const timespec nap{0, 2'000'000};
        ::nanosleep(&nap, nullptr);
    }
    return true;
}

} // namespace velmiro::test
