#include "tests/rules/Sources.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <set>
#include <string>
#include <vector>

// The program's habits, as rules that fail when a file breaks one.

namespace fs = std::filesystem;

namespace velmiro::rules {
namespace {

/// Returns the source files of the programs.
std::vector<SourceFile> sources() {
    return sourcesIn(
        {"MCPStdio", "velmiro_mcp", "osascript", "approval_host", "doctor", "examples"});
}

/// Returns the files that contain a pattern, other than those that may.
std::set<std::string> offenders(const std::string& pattern, const std::set<std::string>& allowed) {
    std::set<std::string> found;
    for (const SourceFile& file : sources()) {
        if (!allowed.contains(file.path) && !matches(file.text, pattern).empty()) {
            found.insert(file.path);
        }
    }
    return found;
}

const std::set<std::string> none;

/// Returns whether a file is of a program that people or scripts start: it prints.
bool mayPrint(const std::string& path) {
    return path.starts_with("approval_host/") || path.starts_with("doctor/") ||
           path.starts_with("osascript/");
}

} // namespace

TEST(Rules, ThereAreSourcesToCheck) {
    EXPECT_GT(sources().size(), 50U);
}

TEST(Rules, InTheServerOnlyTheTransportNamesStandardOutput) {
    auto found = offenders(R"(STDOUT_FILENO|std::cout|\bstdout\b|\bputs\(|\bprintf\()",
                           {"MCPStdio/MCPServer.hpp"});
    std::erase_if(found, mayPrint);
    EXPECT_EQ(found, none);
}

TEST(Rules, NothingInTheServerNamesStandardError) {
    auto found = offenders(R"(STDERR_FILENO|std::cerr|std::clog|\bstderr\b|\bperror\()", none);
    std::erase_if(found, mayPrint);
    EXPECT_EQ(found, none);
}

TEST(Rules, OnlyThePlatformKnowsTheSystem) {
    auto found = offenders(R"(__APPLE__|__linux__|__MACH__|_WIN32|TARGET_OS_)", none);
    std::erase_if(
        found, [](const std::string& path) { return path.starts_with("velmiro_mcp/platform/"); });
    EXPECT_EQ(found, none);
}

/// A condition on the system can be written in many ways. These few others are all that is allowed.
TEST(Rules, OutsideThePlatformNothingIsCompiledOnlyOnSomeSystems) {
    const std::set<std::string> allowed{
        "#if defined(__clang__)",         // for its thread-safety analysis
        "#if __has_include(<xlocale.h>)", // which declares strtod_l where it exists
        "#ifdef MSG_NOSIGNAL",            // a flag of POSIX, else an option of the socket
        "#ifdef __cpp_lib_to_chars",      // the library has the function
        "#ifdef NDEBUG",
        "#ifdef SOCK_CLOEXEC",     // sockets are created with their flags, else given them later
        "#ifdef EVENTKIT_IN_PART", // the framework is declared by us, else by the SDK
        "#ifdef MADV_HUGEPAGE",    // a hint, if the system accepts it
        "#if __has_include(<sys/epoll.h>)", // to wait for input, else a thread does nothing else
        "#if defined(__x86_64__) && defined(__GLIBC__)", // a version for wider registers
        "#ifdef __SSE2__", // one instruction, else arithmetic that all processors have
    };
    for (const SourceFile& file :
         sourcesIn({"MCPStdio", "velmiro_mcp", "osascript", "approval_host", "doctor", "examples",
                    "support", "demo", "bench", "tests"})) {
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
         {"MCPStdio", "velmiro_mcp", "approval_host", "doctor", "examples", "osascript"}) {
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
    EXPECT_EQ(found, none);
}

/// The same files are compiled with automatic reference counting and without.
TEST(Rules, ObjectiveCIsRightWithAndWithoutReferenceCounting) {
    const std::string counts = R"(\b(?:retain|release|autorelease|dealloc|retainCount)\])";
    EXPECT_EQ(offenders(counts, {"velmiro_mcp/platform/macos/Owned.hpp"}), none);
    for (const SourceFile& file : sources()) { // an object from `alloc` is owned immediately
        EXPECT_EQ(matches(file.text, R"(\[\w+ alloc\])").size(),
                  matches(file.text, R"(\bOwned(?:<\w+>)?(?: \w+)?\s*\{\s*\[\[\w+ alloc\])").size())
            << file.path;
    }
}

/// Under the tests' runtime, neither kind of exception passes a handler for the other.
TEST(Rules, ObjectiveCCatchesItsOwnExceptionsInOnePlace) {
    EXPECT_EQ(offenders(R"(@try)", {"velmiro_mcp/platform/macos/Guard.hpp"}), none);
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
                           none);
    std::erase_if(found, [](const std::string& path) {
        return path.starts_with("velmiro_mcp/platform/local/");
    });
    EXPECT_EQ(found, none);
}

TEST(Rules, LibicalAndICUAreEachNamedInOneFileWhichLoadsThem) {
    EXPECT_EQ(
        offenders(R"(#include <libical/)", {"velmiro_mcp/platform/local/icalendar/Libical.cpp"}),
        none);
    EXPECT_EQ(offenders(R"(#include <unicode/)", {"velmiro_mcp/platform/local/libraries/ICU.hpp"}),
              none);
}

/// Macros reach into the code of whoever includes a header.
TEST(Rules, TheFrameworksMacrosHaveItsPrefix) {
    std::size_t defined = 0;
    for (const SourceFile& file : sourcesIn({"MCPStdio"})) {
        for (const std::string& name : matches(file.text, R"(^[ ]*#[ ]*define[ ]+(\w+))")) {
            ++defined;
            EXPECT_TRUE(name.starts_with("MCPSTDIO_")) << file.path << " defines " << name;
        }
    }
    EXPECT_GT(defined, 0U);
}

TEST(Rules, NoFileOutgrowsOneIdea) {
    for (const SourceFile& file : sources()) {
        EXPECT_LE(std::ranges::count(file.text, '\n'), 400) << file.path;
    }
}

} // namespace velmiro::rules
