// Sends one process requests and calls for a long time, and checks that it does not grow.
//
//   soak REQUESTS CALLS SERVER HELLO_SERVER
//
// The example server receives REQUESTS, the server as many and CALLS of its tools. After each tenth
// a row shows what the process uses when nothing is left to do: memory of its own, threads,
// descriptors and children. The first half is for warming up; from then on nothing may grow.

#include "support/Eventually.hpp"
#include "support/Files.hpp"
#include "support/TemporaryFolder.hpp"
#include "tests/soak/Load.hpp"
#include "tests/soak/Process.hpp"
#include "tests/support/SteadyHost.hpp"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

namespace {

using namespace velmiro::soak;
using velmiro::support::ChildProcess;
using velmiro::support::TemporaryFolder;
using velmiro::theorem::Random;
namespace fs = std::filesystem;

constexpr std::size_t rounds = 10;
constexpr std::size_t warmingUp = 5;

/// The allocator keeps what threads that have ended leave, so two moments differ by this much.
constexpr double slack = 2; // megabytes

/// Returns what the process uses once its idle threads have ended, if there are more than `fewest`.
Usage usageAtRest(pid_t process, std::size_t fewest) {
    const auto isAtRest = [&] { return usageOf(process).threads <= fewest; };
    velmiro::support::eventually(isAtRest, std::chrono::seconds{3});
    return usageOf(process);
}

void writeHome(const fs::path& data) {
    for (const char* folder : {"Calendars/Home", "Reminders/Home", "Contacts", "Notes/Notes",
                               "Mail/cur", "Mail/new", "Mail/tmp"}) {
        fs::create_directories(data / folder);
    }
    for (int number = 0; number < 20; ++number) {
        const std::string name = std::to_string(number);
        velmiro::support::writeFile(
            data / "Calendars/Home" / ("kept" + name + ".ics"),
            "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//t//EN\r\nBEGIN:VEVENT\r\nUID:e" + name +
                "\r\nDTSTAMP:20260901T080000Z\r\nDTSTART:20261001T080000Z\r\n"
                "RRULE:FREQ=DAILY\r\nSUMMARY:Event\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n");
        velmiro::support::writeFile(data / "Contacts" / (name + ".vcf"),
                                    "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Ada " + name +
                                        "\r\nN:Byron;Ada;;;\r\nEND:VCARD\r\n");
        velmiro::support::writeFile(data / "Notes/Notes" / (name + ".md"), "# A note\n\nText\n");
    }
}

/// Removes what the last round has created, so that every round works on the same home.
void removeCreated(const fs::path& data) {
    for (const char* folder : {"Calendars/Home", "Reminders/Home"}) {
        for (const auto& entry : fs::directory_iterator{data / folder}) {
            if (!entry.path().filename().string().starts_with("kept")) {
                fs::remove(entry.path());
            }
        }
    }
}

/// Runs all rounds. Returns whether nothing grew.
template <typename Round>
bool soak(const char* name, const ChildProcess& server, std::size_t requests, std::size_t calls,
          Round round) {
    std::printf("%s\n%10s %9s %9s %9s %12s %9s\n", name, "requests", "calls", "memory", "threads",
                "descriptors", "children");
    Usage before;
    Usage after;
    for (std::size_t number = 1; number <= rounds; ++number) {
        round();
        after = usageAtRest(server.pid(), number == 1 ? 1 : before.threads);
        std::printf("%10zu %9zu %6.1f MB %9zu %12zu %9zu\n", number * (requests / rounds),
                    number * (calls / rounds), after.megabytes, after.threads, after.descriptors,
                    after.children);
        std::fflush(stdout);
        before = number <= warmingUp ? after : before;
    }
    const bool flat = after.megabytes <= before.megabytes + slack &&
                      after.threads <= before.threads && after.descriptors <= before.descriptors &&
                      after.children == 0;
    std::printf("%s\n", flat ? "flat" : "IT GROWS");
    return flat;
}

bool soakExample(const std::string& program, std::size_t requests) {
    ChildProcess server{{.arguments = {program}}};
    Random random{1};
    return soak("the example server", server, requests, 0,
                [&] { send(server, requests / rounds, requestToHello, random); });
}

bool soakServer(const std::string& program, std::size_t requests, std::size_t calls) {
    const TemporaryFolder home{"/tmp"};
    const fs::path data = home.path() / "Library/Application Support/Velmiro";
    writeHome(data);
    const velmiro::test::SteadyHost host{home / "approval.sock", [](const std::string& question) {
                                             return question.find("Allowed") != std::string::npos;
                                         }};
    ChildProcess server{{.arguments = {program},
                         .environment = {{"HOME", home.path().string()},
                                         {"TZ", "Europe/Berlin"},
                                         {"LC_ALL", "en_GB.UTF-8"},
                                         {"VELMIRO_APPROVAL_SOCKET", home / "approval.sock"}}}};
    Random random{1};
    return soak("the server", server, requests, calls, [&] {
        send(server, requests / rounds, requestToServer, random);
        send(server, calls / rounds, callOfTool, random);
        removeCreated(data);
    });
}

} // namespace

int main(int count, char** arguments) {
    if (count != 5) {
        std::fputs("usage: soak REQUESTS CALLS SERVER HELLO_SERVER\n", stderr);
        return 2;
    }
    try {
        const std::size_t requests = std::stoull(arguments[1]);
        const std::size_t calls = std::stoull(arguments[2]);
        const bool example = soakExample(arguments[4], requests);
        const bool server = soakServer(arguments[3], requests, calls);
        return example && server ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "soak: %s\n", error.what());
        return 1;
    }
}
