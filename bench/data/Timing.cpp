#include "bench/data/Timing.hpp"

#include "bench/Figures.hpp"
#include "bench/System.hpp"
#include "bench/data/ServerSession.hpp"

#include <algorithm>
#include <iterator>
#include <stdexcept>
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

} // namespace velmiro::bench
