// A program that runs in place of osascript and does what a test asks for.
//
// The command line is parsed with getopt, as by osascript: options end at the first argument that
// does not begin with "-", or at "--". The texts of several -e options are the lines of one script.
//
// The script is not JavaScript but a list of steps separated by the character U+001E, each a word
// and, after a space, its text. If the script is one of the program's own, the steps are in its
// first argument, after "do "; without them the child prints how it was called.

#include "MCPStdio/json/JSONValue.hpp"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

using MCPStdio::JSONValue;

namespace {

/// The longest life of a child that a test forgot.
constexpr std::chrono::seconds longest{100};

void writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(descriptor, text.data(), text.size());
        if (count <= 0) {
            ::_exit(99);
        }
        text.remove_prefix(static_cast<std::size_t>(count));
    }
}

void print(const JSONValue& value) {
    writeAll(1, value.jsonString());
}

JSONValue list(const std::vector<std::string>& texts) {
    auto array = JSONValue::array();
    for (const std::string& text : texts) {
        array.append(text);
    }
    return array;
}

/// Prints the open descriptors. Checking them opens none.
void printDescriptors() {
    std::set<int> open;
    for (int number = 0; number < 70'000; ++number) {
        if (::fcntl(number, F_GETFD) != -1) {
            open.insert(number);
        }
    }
    auto array = JSONValue::array();
    for (const int number : open) {
        array.append(number);
    }
    print(array);
}

/// Prints the signals that are blocked or ignored.
void printSignals() {
    auto array = JSONValue::array();
    sigset_t blocked;
    ::sigprocmask(SIG_BLOCK, nullptr, &blocked);
    for (int signal = 1; signal < NSIG; ++signal) {
        struct sigaction action{};
        const bool known = ::sigaction(signal, nullptr, &action) == 0;
        if (known && (action.sa_handler == SIG_IGN || sigismember(&blocked, signal) == 1)) {
            array.append(signal);
        }
    }
    print(array);
}

void printDescriptorLimit() {
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    print(limit.rlim_cur);
}

void printSurroundings() {
    const char* value = std::getenv("FAKE_VARIABLE");
    struct stat input{};
    ::fstat(0, &input);
    print(JSONValue::object({{"variable", value == nullptr ? "" : value},
                             {"folder", std::filesystem::current_path().string()},
                             {"input", input.st_ino}}));
}

void sleepFor(std::chrono::milliseconds time) {
    std::this_thread::sleep_for(time);
}

void awaitFile(const std::string& path) {
    const auto latest = std::chrono::steady_clock::now() + longest;
    while (!std::filesystem::exists(path) && std::chrono::steady_clock::now() < latest) {
        sleepFor(std::chrono::milliseconds{5});
    }
}

extern "C" void endWell(int /*signal*/) {
    ::_exit(0);
}

/// Leaves a process behind that has inherited the descriptors.
void leaveGrandchild(const std::string& awaited) {
    if (::fork() == 0) {
        awaitFile(awaited);
        writeAll(1, "late");
        ::_exit(0);
    }
}

/// The parsed command line.
struct Call {
    std::vector<std::string> command; ///< all of it
    std::string language;
    std::string script;
    std::vector<std::string> arguments;
};

[[noreturn]] void refuse(const std::string& why) {
    writeAll(2, "osascript: " + why + "\n");
    ::_exit(1);
}

Call callOf(int count, char** values) {
    Call call{{values, values + count}, {}, {}, {}};
    ::opterr = 0;
    // "+" stops at the first argument, as the Mac's getopt does; glibc would look for options after
    // it.
    for (int option = 0; (option = ::getopt(count, values, "+e:il:s:")) != -1;) {
        switch (option) {
        case 'e':
            call.script.append(call.script.empty() ? "" : "\n").append(::optarg);
            break;
        case 'l':
            call.language = ::optarg;
            break;
        case 'i':
            refuse("interactive");
        case 's':
            break;
        default:
            refuse(std::string{"illegal option -- "} + static_cast<char>(::optopt));
        }
    }
    call.arguments.assign(values + ::optind, values + count);
    return call;
}

using Step = std::function<void(const std::string& text)>;

std::map<std::string, Step> stepsFor(const Call& call) {
    return {
        {"out", [](const std::string& text) { writeAll(1, text); }},
        {"err", [](const std::string& text) { writeAll(2, text); }},
        {"fill-out", [](const std::string& n) { writeAll(1, std::string(std::stoul(n), 'x')); }},
        {"fill-err", [](const std::string& n) { writeAll(2, std::string(std::stoul(n), 'x')); }},
        {"close-out", [](const std::string&) { ::close(1); }},
        {"close-err", [](const std::string&) { ::close(2); }},
        {"exit", [](const std::string& text) { ::_exit(std::stoi(text)); }},
        {"raise", [](const std::string& text) { std::raise(std::stoi(text)); }},
        {"hang", [](const std::string&) { sleepFor(longest); }},
        {"await", awaitFile},
        {"mark", [](const std::string& path) { std::ofstream{path} << ::getpid() << std::flush; }},
        {"ignore-termination", [](const std::string&) { std::signal(SIGTERM, SIG_IGN); }},
        {"end-well-when-told", [](const std::string&) { std::signal(SIGTERM, endWell); }},
        {"grandchild", leaveGrandchild},
        {"arguments", [=](const std::string&) { print(list(call.arguments)); }},
        {"command", [=](const std::string&) { print(list(call.command)); }},
        {"call",
         [=](const std::string&) {
             print(JSONValue::object({{"command", list(call.command)},
                                      {"script", call.script},
                                      {"arguments", list(call.arguments)}}));
         }},
        {"descriptors", [](const std::string&) { printDescriptors(); }},
        {"signals", [](const std::string&) { printSignals(); }},
        {"descriptor-limit", [](const std::string&) { printDescriptorLimit(); }},
        {"surroundings", [](const std::string&) { printSurroundings(); }},
    };
}

std::string stepsIn(const Call& call) {
    if (!call.script.starts_with("function run(argv)")) {
        return call.script;
    }
    if (!call.arguments.empty() && call.arguments.front().starts_with("do ")) {
        return call.arguments.front().substr(3);
    }
    return "call";
}

} // namespace

int main(int count, char** values) {
    const Call call = callOf(count, values);
    if (call.language != "JavaScript" || call.script.empty()) {
        return 98;
    }
    const auto known = stepsFor(call);
    std::string rest = stepsIn(call);
    while (!rest.empty()) {
        const std::string step = rest.substr(0, rest.find('\x1e'));
        rest.erase(0, step.size() + 1);
        const std::string word = step.substr(0, step.find(' '));
        const auto found = known.find(word);
        if (found == known.end()) {
            return 97;
        }
        found->second(word == step ? "" : step.substr(word.size() + 1));
    }
    ::_exit(0);
}
