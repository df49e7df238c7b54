#include "bench/transport/Peers.hpp"

#include "bench/Server.hpp"
#include "support/Files.hpp"

#include <array>
#include <filesystem>
#include <stdexcept>

namespace velmiro::bench {
namespace {

struct Peer {
    const char* name;
    const char* file; ///< in bench/peers
    Effort effort;
};

/// They are warm only once their code is compiled. Slow ones get fewer requests, so that a run ends
/// in minutes.
constexpr std::array peers{
    Peer{"TypeScript SDK",
         "typescript_sdk/server.mjs",
         {.warmUp = 10'000, .trips = 2000, .pipelined = 10'000, .starts = 3}},
    Peer{"plain Node.js",
         "plain_node/server.mjs",
         {.warmUp = 10'000, .trips = 5000, .pipelined = 30'000, .starts = 3}},
};

std::string askNode(const char* expression) {
    std::string answer = outputOf({"/usr/bin/env", "node", "-p", expression});
    if (answer.empty()) {
        throw std::runtime_error{"no Node.js for the peers: script/setup bench installs it"};
    }
    answer.pop_back(); // the line feed
    return answer;
}

} // namespace

Peers::Peers() : node_{askNode("process.execPath")}, version_{askNode("process.version")} {}

std::vector<Program> Peers::withEcho() const {
    std::vector<Program> programs;
    for (const auto& [name, file, effort] : peers) {
        const auto script = std::filesystem::path{SOURCE_FOLDER} / "bench/peers" / file;
        programs.push_back({name, {node_, "--no-warnings", script.string()}, effort});
    }
    return programs;
}

std::vector<Program> Peers::withTools(const MCPStdio::JSONValue& tools) const {
    const std::string file = folder_ / "tools.json";
    support::writeFile(file, tools.jsonString());
    auto programs = withEcho();
    for (Program& program : programs) {
        program.command.push_back(file);
    }
    return programs;
}

} // namespace velmiro::bench
