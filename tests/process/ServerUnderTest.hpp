#pragma once

#include "support/ChildProcess.hpp"
#include "support/Eventually.hpp"
#include "support/Files.hpp"
#include "support/TemporaryFolder.hpp"
#include "tests/support/Snapshot.hpp"

#include <map>
#include <string>

namespace velmiro::test {

using support::ChildProcess;
using support::eventually;
using support::readFile;
using support::TemporaryFolder;

/// Returns the environment of a server under test: a home of its own, a known time zone and
/// language.
inline std::map<std::string, std::string> environmentFor(const TemporaryFolder& home) {
    return {{"HOME", home.path().string()},
            {"TZ", "Europe/Berlin"},
            {"LC_ALL", "en_GB.UTF-8"},
            {"VELMIRO_APPROVAL_SOCKET", (home.path() / "approval.sock").string()}};
}

inline ChildProcess::Options serverIn(const TemporaryFolder& home) {
    return {.arguments = {SERVER_BINARY}, .environment = environmentFor(home)};
}

/// Installs a program under another name, so that it finds itself in another folder.
inline void install(const std::filesystem::path& program, const std::filesystem::path& as) {
    std::filesystem::create_directories(as.parent_path());
    std::error_code otherDisk;
    std::filesystem::create_hard_link(program, as, otherDisk);
    if (otherDisk) {
        std::filesystem::copy_file(program, as);
    }
}

inline std::filesystem::path calendarsIn(const TemporaryFolder& home) {
    return home.path() / "Library/Application Support/Velmiro/Calendars";
}

inline std::string ping(int id) {
    return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":"ping"})";
}

inline std::string pong(int id) {
    return R"({"id":)" + std::to_string(id) + R"(,"jsonrpc":"2.0","result":{}})";
}

inline std::string callLine(int id, const std::string& tool, const std::string& arguments) {
    return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) +
           R"(,"method":"tools/call","params":{"name":")" + tool + R"(","arguments":)" + arguments +
           "}}";
}

inline std::string creation(int id, const std::string& title = "Dentist") {
    return callLine(id, "calendar_create_event",
                    R"({"title":")" + title + R"(","start":"2026-10-14T15:00"})");
}

} // namespace velmiro::test
