#include "approval_host/CommandLine.hpp"

namespace velmiro::host {

const std::string_view usage =
    "usage: approval_host [--window | --yes | --no] [--socket PATH]\n"
    "\n"
    "Shows the questions of tools that want to change something, and answers them.\n"
    "\n"
    "  --window       ask in a window instead of the terminal\n"
    "  --yes          allow everything, without asking\n"
    "  --no           refuse everything, without asking\n"
    "  --socket PATH  listen at PATH instead of VELMIRO_APPROVAL_SOCKET or, where that is not\n"
    "                 set, Velmiro/approval.sock in the Application Support folder\n"
    "  -h, --help     print this\n"
    "  --version      print the version\n";

Options parseCommandLine(std::span<const char* const> arguments) {
    Options options;
    const auto setPolicy = [&](Policy wanted) {
        if (options.policy != Policy::askUser && options.policy != wanted) {
            throw UsageError{"--window, --yes and --no exclude one another"};
        }
        options.policy = wanted;
    };
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const std::string_view argument = arguments[at];
        if (argument == "--yes") {
            setPolicy(Policy::allowAll);
        } else if (argument == "--no") {
            setPolicy(Policy::refuseAll);
        } else if (argument == "--window") {
            setPolicy(Policy::askInWindow);
        } else if (argument == "-h" || argument == "--help") {
            options.help = true;
        } else if (argument == "--version") {
            options.version = true;
        } else if (argument == "--socket") {
            ++at;
            if (at == arguments.size() || *arguments[at] == '\0') {
                throw UsageError{"--socket needs a path"};
            }
            options.socketPath = arguments[at];
        } else {
            throw UsageError{"unknown argument '" + std::string{argument} + "' (try --help)"};
        }
    }
    return options;
}

} // namespace velmiro::host
