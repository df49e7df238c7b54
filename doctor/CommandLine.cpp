#include "doctor/CommandLine.hpp"

#include "doctor/Words.hpp"

#include <string>

namespace velmiro::doctor {

const std::string_view usage =
    "usage: velmiro_doctor [--help | --version]\n"
    "\n"
    "Tells what velmiro_mcp finds for the user who runs this, and what is amiss. Run it with the\n"
    "HOME, VELMIRO_ENABLED and VELMIRO_APPROVAL_SOCKET of the server. It changes nothing.\n"
    "\n"
    "A line with ! is a problem, one with ? is worth knowing; the line below says what helps.\n"
    "Exit status: 0 if all is well, 1 if there is a problem, 2 if the command line is wrong.\n"
    "\n"
    "  -h, --help  print this\n"
    "  --version   print the version\n";

Request parseCommandLine(std::span<const char* const> arguments) {
    Request request = Request::examine;
    for (const std::string_view argument : arguments) {
        if (argument == "-h" || argument == "--help") {
            request = Request::help;
        } else if (argument == "--version") {
            request = request == Request::help ? request : Request::version;
        } else {
            throw UsageError{"unknown argument " + named(argument) + " (try --help)"};
        }
    }
    return request;
}

} // namespace velmiro::doctor
