// A server with one tool that uses nothing but the framework.

// A user's macros may have any name without the framework's prefix.
#define ACQUIRE "not the framework's"
#define CAPABILITY "not the framework's"
#define GUARDED_BY "not the framework's"
#define RELEASE "not the framework's"
#define REQUIRES "not the framework's"

#include <MCPStdio/MCPStdio.hpp>

namespace {

using namespace MCPStdio;

struct Numbers {
    std::vector<double> numbers;

    static constexpr auto jsonFields() { return std::tuple{field("numbers", &Numbers::numbers)}; }
};

struct Sum {
    double sum = 0;

    static constexpr auto jsonFields() { return std::tuple{field("sum", &Sum::sum)}; }
};

Task<Sum> add(Numbers given) {
    Sum answer;
    for (const double number : given.numbers) {
        answer.sum += number;
    }
    co_return answer;
}

} // namespace

void serveAdder() {
    MCPServer server{"adder", "1.0", std::nullopt, {typedTool("add", "Add numbers.", true, add)}};
    syncWait(server.run());
}
