#pragma once

#include "bench/transport/Contender.hpp"
#include "support/TemporaryFolder.hpp"

#include <string>
#include <vector>

namespace velmiro::bench {

/// Servers as people write them today, to compare ours with. They are in bench/peers and run on the
/// Node.js of this machine.
class Peers {
public:
    /// Throws std::runtime_error if there is no Node.js.
    Peers();

    [[nodiscard]] const std::string& nodeVersion() const { return version_; }

    /// Returns those with the tool of hello_server.
    [[nodiscard]] std::vector<Program> withEcho() const;
    /// Returns those that list other tools. They can be started until this is called again, or the
    /// object is destroyed.
    [[nodiscard]] std::vector<Program> withTools(const MCPStdio::JSONValue& tools) const;

private:
    std::string node_; ///< the program itself, not a wrapper on the search path
    std::string version_;
    support::TemporaryFolder folder_; ///< for the list of tools
};

} // namespace velmiro::bench
