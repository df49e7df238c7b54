// The shape of the program, as rules that fail when somebody steps over a line.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

/// The rooms, each with those it may include besides itself.
const std::map<std::string, std::set<std::string>> rooms{
    {"MCPStdio/concurrency", {}},
    {"MCPStdio/text", {"MCPStdio/concurrency"}},
    {"MCPStdio/json", {"MCPStdio/text"}},
    {"MCPStdio/transport", {"MCPStdio/concurrency", "MCPStdio/text"}},
    {"MCPStdio", {"MCPStdio/concurrency", "MCPStdio/json", "MCPStdio/text", "MCPStdio/transport"}},
    {"velmiro_mcp/base", {}},
    {"velmiro_mcp/ports", {"velmiro_mcp/base"}},
    {"velmiro_mcp/platform/local",
     {"velmiro_mcp/base", "velmiro_mcp/platform/local/calendars",
      "velmiro_mcp/platform/local/contacts", "velmiro_mcp/platform/local/editing",
      "velmiro_mcp/platform/local/files", "velmiro_mcp/platform/local/libraries",
      "velmiro_mcp/platform/local/time", "velmiro_mcp/ports"}},
    {"velmiro_mcp/platform/local/calendars",
     {"MCPStdio/text", "velmiro_mcp/platform/local/files", "velmiro_mcp/platform/local/icalendar",
      "velmiro_mcp/platform/local/recurrence", "velmiro_mcp/platform/local/time",
      "velmiro_mcp/platform/local/zones", "velmiro_mcp/ports"}},
    {"velmiro_mcp/platform/local/contacts",
     {"MCPStdio/text", "velmiro_mcp/base", "velmiro_mcp/platform/local/files",
      "velmiro_mcp/platform/local/icalendar", "velmiro_mcp/platform/local/libraries",
      "velmiro_mcp/ports"}},
    {"velmiro_mcp/platform/local/editing",
     {"velmiro_mcp/base", "velmiro_mcp/platform/local/calendars",
      "velmiro_mcp/platform/local/files", "velmiro_mcp/platform/local/icalendar",
      "velmiro_mcp/platform/local/time", "velmiro_mcp/platform/local/zones", "velmiro_mcp/ports"}},
    {"velmiro_mcp/platform/local/files", {"MCPStdio/concurrency", "MCPStdio/text"}},
    {"velmiro_mcp/platform/local/icalendar",
     {"MCPStdio/text", "velmiro_mcp/platform/local/libraries",
      "velmiro_mcp/platform/local/recurrence", "velmiro_mcp/platform/local/time"}},
    {"velmiro_mcp/platform/local/libraries", {"MCPStdio/text", "velmiro_mcp/ports"}},
    {"velmiro_mcp/platform/local/recurrence", {"velmiro_mcp/platform/local/time"}},
    {"velmiro_mcp/platform/local/time", {"velmiro_mcp/base", "velmiro_mcp/ports"}},
    {"velmiro_mcp/platform/local/zones",
     {"velmiro_mcp/platform/local/files", "velmiro_mcp/platform/local/icalendar",
      "velmiro_mcp/platform/local/libraries", "velmiro_mcp/platform/local/recurrence",
      "velmiro_mcp/platform/local/time"}},
    {"velmiro_mcp/platform/macos", {"MCPStdio/text", "velmiro_mcp/base", "velmiro_mcp/ports"}},
    {"velmiro_mcp/services",
     {"MCPStdio", "MCPStdio/concurrency", "MCPStdio/json", "MCPStdio/text", "velmiro_mcp/base",
      "velmiro_mcp/ports"}},
    {"velmiro_mcp/AppleTools",
     {"MCPStdio", "MCPStdio/concurrency", "MCPStdio/json", "velmiro_mcp/base", "velmiro_mcp/ports",
      "velmiro_mcp/services"}},
    {"velmiro_mcp",
     {"MCPStdio", "MCPStdio/concurrency", "MCPStdio/transport", "velmiro_mcp/AppleTools",
      "velmiro_mcp/base", "velmiro_mcp/ports", "velmiro_mcp/services"}},
    {"approval_host", {"MCPStdio/json", "MCPStdio/text", "velmiro_mcp/base", "velmiro_mcp/ports"}},
    {"examples", {"MCPStdio", "MCPStdio/concurrency", "MCPStdio/json"}},
};

struct SourceFile {
    std::string path; ///< from the project's folder on
    std::string text;
};

/// npm's packages lie among our folders once they are installed.
bool isOurs(const std::string& path) {
    return path.find("node_modules/") == std::string::npos;
}

std::vector<SourceFile> sourcesIn(const std::vector<std::string>& folders) {
    const fs::path root{SOURCE_FOLDER};
    const std::set<std::string> extensions{".cpp", ".hpp", ".mm", ".h"};
    std::vector<SourceFile> files;
    for (const std::string& folder : folders) {
        for (const auto& entry : fs::recursive_directory_iterator{root / folder}) {
            const std::string path = fs::relative(entry.path(), root).string();
            if (extensions.contains(entry.path().extension().string()) && isOurs(path)) {
                std::ifstream stream{entry.path()};
                files.push_back({path, {std::istreambuf_iterator<char>{stream}, {}}});
            }
        }
    }
    return files;
}

/// What the programs are made of.
std::vector<SourceFile> sources() {
    return sourcesIn({"MCPStdio", "velmiro_mcp", "approval_host", "examples"});
}

std::vector<std::string> matches(const std::string& text, const std::string& pattern) {
    const std::regex expression{pattern, std::regex::multiline};
    std::vector<std::string> found;
    for (std::sregex_iterator at{text.begin(), text.end(), expression}, end; at != end; ++at) {
        found.push_back((*at)[at->size() > 1 ? 1 : 0]);
    }
    return found;
}

/// Files that hold a pattern, other than those that may.
std::set<std::string> offenders(const std::string& pattern, const std::set<std::string>& allowed) {
    std::set<std::string> found;
    for (const SourceFile& file : sources()) {
        if (!allowed.contains(file.path) && !matches(file.text, pattern).empty()) {
            found.insert(file.path);
        }
    }
    return found;
}

const std::set<std::string> nobody;

/// The approval host is a terminal program: it does print.
bool isOfTheHost(const std::string& path) {
    return path.starts_with("approval_host/");
}

} // namespace

TEST(Rules, ThereIsSomethingToLookAt) {
    EXPECT_GT(sources().size(), 50U);
}

TEST(Rules, ARoomIncludesOnlyTheRoomsItMay) {
    for (const SourceFile& file : sources()) {
        const std::string room = fs::path{file.path}.parent_path().string();
        const auto allowed = rooms.find(room);
        ASSERT_NE(allowed, rooms.end()) << "no rule for the room of " << file.path;
        for (const std::string& header :
             matches(file.text, R"(^#(?:include|import) ["<]([^">]+)[">])")) {
            const std::string from = fs::path{header}.parent_path().string();
            if (rooms.contains(from) && from != room) {
                EXPECT_TRUE(allowed->second.contains(from)) << file.path << " includes " << header;
            }
        }
    }
}

TEST(Rules, OfTheServerOnlyTheTransportNamesStandardOutput) {
    auto found = offenders(R"(STDOUT_FILENO|std::cout|\bstdout\b|\bputs\(|\bprintf\()",
                           {"MCPStdio/MCPServer.hpp"});
    std::erase_if(found, isOfTheHost);
    EXPECT_EQ(found, nobody);
}

TEST(Rules, NothingOfTheServerNamesStandardError) {
    auto found = offenders(R"(STDERR_FILENO|std::cerr|std::clog|\bstderr\b|\bperror\()", nobody);
    std::erase_if(found, isOfTheHost);
    EXPECT_EQ(found, nobody);
}

TEST(Rules, OnlyThePlatformKnowsTheSystem) {
    auto found = offenders(R"(__APPLE__|__linux__|__MACH__|_WIN32|TARGET_OS_)", nobody);
    std::erase_if(
        found, [](const std::string& path) { return path.starts_with("velmiro_mcp/platform/"); });
    EXPECT_EQ(found, nobody);
}

/// A condition on a system can be written in many ways; these are conditions on something else.
TEST(Rules, OutsideThePlatformNothingIsCompiledOnlyOnSomeSystems) {
    const std::set<std::string> allowed{
        "#if defined(__clang__)",         // whose analysis of locks is asked for
        "#if __has_include(<xlocale.h>)", // where the header is, it is what declares strtod_l
        "#ifdef MSG_NOSIGNAL",            // a flag of POSIX, else the option of the socket
        "#ifdef __cpp_lib_to_chars",      // the library has what is used there
        "#ifdef NDEBUG",
        "#ifdef SOCK_CLOEXEC",     // descriptors are made with their flags, else given them
        "#ifdef EVENTKIT_IN_PART", // the framework is declared by us, else by the SDK
        "#ifdef MADV_HUGEPAGE",    // an advice to the system, where it takes it
    };
    for (const SourceFile& file : sourcesIn(
             {"MCPStdio", "velmiro_mcp", "approval_host", "examples", "demo", "bench", "tests"})) {
        if (!file.path.starts_with("velmiro_mcp/platform/")) {
            for (const std::string& line : matches(file.text, "^[ ]*# *(?:if|elif).*")) {
                const auto end = line.find(" //");
                EXPECT_TRUE(allowed.contains(line.substr(0, end))) << file.path << ": " << line;
            }
        }
    }
}

TEST(Rules, OnlyBuildListsAskWhichSystemIsBuiltFor) {
    const fs::path root{SOURCE_FOLDER};
    std::set<std::string> found;
    for (const char* folder :
         {"MCPStdio", "velmiro_mcp", "approval_host", "examples", "osascript"}) {
        for (const auto& entry : fs::recursive_directory_iterator{root / folder}) {
            const std::string path = fs::relative(entry.path(), root).string();
            const bool isBuildList = path.ends_with("CMakeLists.txt") || path.ends_with(".cmake");
            if (entry.is_regular_file() && !isBuildList && isOurs(path)) {
                std::ifstream stream{entry.path()};
                const std::string text{std::istreambuf_iterator<char>{stream}, {}};
                if (!matches(text, R"(VELMIRO_PLATFORM|process\.platform|\buname\b)").empty()) {
                    found.insert(path);
                }
            }
        }
    }
    EXPECT_EQ(found, nobody);
}

/// The same files are compiled with references counted by the compiler, and without.
TEST(Rules, ObjectiveCIsRightWithAndWithoutCountedReferences) {
    const std::string counts = R"(\b(?:retain|release|autorelease|dealloc|retainCount)\])";
    EXPECT_EQ(offenders(counts, {"velmiro_mcp/platform/macos/Owned.hpp"}), nobody);
    for (const SourceFile& file : sources()) { // what `alloc` gives is owned at once
        EXPECT_EQ(matches(file.text, R"(\[\w+ alloc\])").size(),
                  matches(file.text, R"(\bOwned(?:<\w+>)?(?: \w+)?\s*\{\s*\[\[\w+ alloc\])").size())
            << file.path;
    }
}

/// Under the tests' runtime neither kind of exception passes what catches the other.
TEST(Rules, ObjectiveCCatchesItsOwnExceptionsInOnePlace) {
    EXPECT_EQ(offenders(R"(@try)", {"velmiro_mcp/platform/macos/Guard.hpp"}), nobody);
    for (const SourceFile& file : sources()) {
        if (file.path.ends_with(".mm")) {
            EXPECT_TRUE(matches(file.text, R"((^|[^@\w])catch\b)").empty()) << file.path;
        }
    }
}

TEST(Rules, PortableCodeStaysWithinWhatBothStandardLibrariesHave) {
    auto found = offenders(R"(#include <format>|std::jthread|std::stop_token|std::osyncstream)"
                           R"(|std::move_only_function|chrono::current_zone|std::format)"
                           R"(|std::pmr|atomic<std::shared_ptr|#include <execution>)",
                           nobody);
    std::erase_if(found, [](const std::string& path) {
        return path.starts_with("velmiro_mcp/platform/local/");
    });
    EXPECT_EQ(found, nobody);
}

TEST(Rules, LibicalAndICUAreEachNamedInOneFileWhichLoadsThem) {
    EXPECT_EQ(
        offenders(R"(#include <libical/)", {"velmiro_mcp/platform/local/icalendar/Libical.cpp"}),
        nobody);
    EXPECT_EQ(offenders(R"(#include <unicode/)", {"velmiro_mcp/platform/local/libraries/ICU.hpp"}),
              nobody);
}

TEST(Rules, NoFileOutgrowsOneIdea) {
    for (const SourceFile& file : sources()) {
        EXPECT_LE(std::ranges::count(file.text, '\n'), 400) << file.path;
    }
}
