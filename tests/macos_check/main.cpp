// Checks what only a Mac can confirm, together with the person at the terminal:
//     macos_check [--no-questions] [OSASCRIPT]
// docs/macos.md has the list. Without questions it checks only what needs no permission.

#include "tests/macos_check/Checks.hpp"
#include "velmiro_mcp/ports/MainQueue.hpp"
#include "velmiro_mcp/ports/OSAScriptPath.hpp"

#include <exception>
#include <functional>
#include <string>
#include <utility>
#include <vector>

int main(int count, char** arguments) {
    using namespace velmiro;
    std::vector<std::string> given{arguments + 1, arguments + count};
    const bool questions = std::erase(given, "--no-questions") == 0;
    const std::string osascript = given.empty() ? osascriptPath() : given.front();
    check::Talk talk;
    std::vector<std::pair<std::string, std::function<void()>>> parts{
        {"what needs no permission", [&] { check::withoutPermission(talk, osascript); }},
        {"access", [&] { check::access(talk); }},
        {"reading", [&] { check::reading(talk); }},
        {"writing", [&] { check::writing(talk); }},
        {"scripts", [&] { check::scripts(talk, osascript); }},
    };
    if (!questions) {
        parts.resize(1);
    }
    bool asExpected = false;
    runBesideMainQueue([&] {
        for (const auto& [name, part] : parts) {
            try {
                part();
            } catch (const std::exception& error) {
                talk.found(name, "no error", error.what(), false);
            }
        }
        asExpected = talk.report();
    });
    return asExpected ? 0 : 1;
}
