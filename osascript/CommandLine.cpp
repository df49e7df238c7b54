#include "osascript/CommandLine.hpp"

#include <string_view>

#include <unistd.h>

namespace velmiro::osascript {

namespace {

void readFlags(std::string_view flags, CommandLine& line) {
    for (const char flag : flags) {
        switch (flag) {
        case 's':
        case 'h':
            line.asSource = flag == 's';
            break;
        case 'o':
        case 'e':
            line.errorsToOutput = flag == 'o';
            break;
        default:
            throw CommandLineError{std::string{"illegal flag -- "} + flag};
        }
    }
}

} // namespace

CommandLine readCommandLine(int count, char* const given[]) {
    CommandLine line;
    std::string_view language;
    bool hasScript = false;
    int letter = 0;
    // The plus sign ends the options at the first argument; the colon leaves messages to us.
    while ((letter = ::getopt(count, given, "+:e:il:s:")) != -1) {
        switch (letter) {
        case 'e':
            line.source += (hasScript ? "\n" : "") + std::string{optarg};
            hasScript = true;
            break;
        case 'l':
            language = optarg;
            break;
        case 's':
            readFlags(optarg, line);
            break;
        case 'i':
            throw CommandLineError{"scripts cannot be typed in here"};
        case ':':
            throw CommandLineError{std::string{"option requires an argument -- "} +
                                   static_cast<char>(optopt)};
        default:
            throw CommandLineError{std::string{"illegal option -- "} + static_cast<char>(optopt)};
        }
    }
    if (language != "JavaScript" || !hasScript) {
        throw CommandLineError{"only JavaScript, given by -l and -e, is run here"};
    }
    line.arguments.assign(given + optind, given + count);
    return line;
}

} // namespace velmiro::osascript
