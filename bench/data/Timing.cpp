#include "bench/data/Timing.hpp"

#include "bench/Figures.hpp"
#include "bench/System.hpp"
#include "bench/data/ServerSession.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace velmiro::bench {

using MCPStdio::JSONValue;

void require(const Found& found, const Question& question, const std::string& who) {
    if (found == question.expected) {
        return;
    }
    std::vector<std::string> wrong;
    std::ranges::set_symmetric_difference(found, question.expected, std::back_inserter(wrong));
    throw std::runtime_error{who + " finds " + std::to_string(found.size()) + " instead of " +
                             std::to_string(question.expected.size()) + "; one too many, or one " +
                             "that is missing, is " + wrong.front()};
}

Timing timeServer(const Question& question, std::size_t furtherCalls) {
    double before = seconds();
    ServerSession server;
    const auto call = [&] {
        const JSONValue payload = server.call(question.tool, question.arguments);
        const double taken = seconds() - before;
        require(question.read(payload), question, "velmiro_mcp");
        return taken;
    };
    const double first = call();
    std::vector<double> further(furtherCalls);
    std::ranges::generate(further, [&] {
        before = seconds();
        return call();
    });
    return {first, median(std::move(further))};
}

double peakOfCall(const Question& question) {
    // The system keeps the peak of all descendants together, so a process of its own asks.
    std::array<int, 2> pipe{};
    if (::pipe(pipe.data()) != 0) {
        throw std::system_error{errno, std::generic_category(), "pipe"};
    }
    const pid_t asking = ::fork();
    if (asking == 0) {
        double peak = 0;
        try {
            static_cast<void>(timeServer(question, 1));
            rusage used{};
            ::getrusage(RUSAGE_CHILDREN, &used);
            peak = static_cast<double>(used.ru_maxrss) * 1024;
        } catch (const std::exception&) {
            peak = 0; // which the parent reports
        }
        const bool sent = ::write(pipe[1], &peak, sizeof peak) == sizeof peak;
        ::_exit(sent ? 0 : 1);
    }
    ::close(pipe[1]);
    double peak = 0;
    const bool received = ::read(pipe[0], &peak, sizeof peak) == sizeof peak;
    ::close(pipe[0]);
    ::waitpid(asking, nullptr, 0);
    if (!received || peak <= 0) {
        throw std::runtime_error{"the memory of " + question.tool + " could not be measured"};
    }
    return peak;
}

} // namespace velmiro::bench
