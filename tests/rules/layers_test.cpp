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
    {"MCPStdio", {"MCPStdio/concurrency"}},
    {"velmiro_mcp/platform", {"MCPStdio"}},
    {"velmiro_mcp/platform/local",
     {"MCPStdio", "MCPStdio/concurrency", "velmiro_mcp/platform", "velmiro_mcp"}},
    {"velmiro_mcp/platform/macos", {"MCPStdio", "velmiro_mcp/platform"}},
    {"velmiro_mcp",
     {"MCPStdio", "MCPStdio/concurrency", "velmiro_mcp/platform", "velmiro_mcp/AppleTools"}},
    {"velmiro_mcp/AppleTools",
     {"MCPStdio", "MCPStdio/concurrency", "velmiro_mcp", "velmiro_mcp/platform"}},
    {"approval_host", {"MCPStdio", "velmiro_mcp/platform"}},
    {"examples", {"MCPStdio", "MCPStdio/concurrency"}},
};

struct SourceFile {
    std::string path; ///< from the project's folder on
    std::string text;
};

std::vector<SourceFile> sources() {
    const fs::path root{SOURCE_FOLDER};
    std::vector<SourceFile> files;
    for (const char* folder : {"MCPStdio", "velmiro_mcp", "approval_host", "examples"}) {
        for (const auto& entry : fs::recursive_directory_iterator{root / folder}) {
            const auto extension = entry.path().extension();
            if (extension == ".cpp" || extension == ".hpp" || extension == ".mm") {
                std::ifstream stream{entry.path()};
                files.push_back({fs::relative(entry.path(), root).string(),
                                 {std::istreambuf_iterator<char>{stream}, {}}});
            }
        }
    }
    return files;
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
        for (const std::string& header : matches(file.text, R"(^#(?:include|import) ["<]([^">]+)[">])")) {
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

TEST(Rules, PortableCodeStaysWithinWhatBothStandardLibrariesHave) {
    auto found = offenders(R"(#include <format>|std::jthread|std::stop_token|std::osyncstream)"
                           R"(|std::move_only_function|chrono::current_zone|std::format)",
                           nobody);
    std::erase_if(found, [](const std::string& path) {
        return path.starts_with("velmiro_mcp/platform/local/");
    });
    EXPECT_EQ(found, nobody);
}

TEST(Rules, LibicalAndICUAreNamedByTheLocalPlatformOnly) {
    auto found = offenders(R"(#include <(libical|unicode)/)", nobody);
    std::erase_if(found, [](const std::string& path) {
        return path.starts_with("velmiro_mcp/platform/local/");
    });
    EXPECT_EQ(found, nobody);
}

TEST(Rules, NoFileOutgrowsOneIdea) {
    for (const SourceFile& file : sources()) {
        EXPECT_LE(std::ranges::count(file.text, '\n'), 400) << file.path;
    }
}
