#include "tests/macos/Failure.hpp"

#include "MCPStdio/MCPTool.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

namespace velmiro::test {

std::string failureOf(const std::function<void()>& call) {
    try {
        call();
        return "no failure";
    } catch (const PlatformError& error) {
        return error.what();
    } catch (const MCPStdio::MCPToolError& error) {
        return error.message;
    }
}

} // namespace velmiro::test
