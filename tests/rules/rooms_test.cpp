#include "tests/rules/Sources.hpp"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

// The shape of the program: rooms.txt says which room may include which.

namespace fs = std::filesystem;

namespace velmiro::rules {
namespace {

using Names = std::set<std::string>;
using Rooms = std::map<std::string, Names>; ///< each room with those it may include
using Graph = std::map<std::string, Names>;

std::string roomOf(const std::string& path) {
    return fs::path{path}.parent_path().string();
}

/// Resolves a name of the table or of the map that is relative to `room`.
std::string resolved(const std::string& room, const std::string& name) {
    if (!name.starts_with('.')) {
        return name;
    }
    const std::string path = (fs::path{room} / name).lexically_normal().string();
    return path.ends_with('/') ? path.substr(0, path.size() - 1) : path;
}

Rooms readTable(const std::string& text) {
    Rooms rooms;
    std::istringstream lines{text};
    std::string room;
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line.starts_with('#')) {
            continue;
        }
        if (!line.starts_with(' ')) {
            const auto colon = line.find(':');
            if (colon == std::string::npos || rooms.contains(line.substr(0, colon))) {
                throw std::runtime_error{"no new row: " + line};
            }
            room = line.substr(0, colon);
            rooms[room];
            line.erase(0, colon + 1);
        }
        std::istringstream names{line};
        for (std::string name; names >> name;) {
            rooms[room].insert(resolved(room, name));
        }
    }
    return rooms;
}

const Rooms& rooms() {
    static const Rooms table = readTable(projectFile("tests/rules/rooms.txt"));
    return table;
}

/// What a file includes: with quotation marks or, as the framework's users do, in angle brackets.
struct Include {
    std::string name;
    bool quoted;
};

std::vector<Include> includesOf(const std::string& text) {
    std::vector<Include> found;
    std::istringstream lines{text};
    for (std::string line; std::getline(lines, line);) {
        const auto first = line.find_first_not_of(" \t");
        if (first == std::string::npos || line[first] != '#') {
            continue; // most lines: the expression below takes its time
        }
        for (const std::string& name :
             matches(line, R"re(^\s*#\s*(?:include|import)\s*("[^"]+|<[^>]+))re")) {
            found.push_back({name.substr(1), name.front() == '"'});
        }
    }
    return found;
}

/// Every file of ours with what it includes.
const std::map<std::string, std::vector<Include>>& includes() {
    static const auto all = [] {
        std::map<std::string, std::vector<Include>> found;
        for (const SourceFile& file :
             sourcesIn({"MCPStdio", "velmiro_mcp", "osascript", "approval_host", "doctor",
                        "examples", "support", "demo", "bench", "tests", "cmake"})) {
            found[file.path] = includesOf(file.text);
        }
        return found;
    }();
    return all;
}

bool isOfOurs(const Include& include) {
    return includes().contains(include.name);
}

/// The names along a circle, one of them twice; empty if there is no circle.
std::vector<std::string> circleIn(const Graph& graph) {
    enum class Visit { begun, done };
    std::map<std::string, Visit> visits;
    std::vector<std::string> path;
    const auto visit = [&](const auto& self, const std::string& name) -> bool {
        path.push_back(name);
        if (const auto known = visits.find(name); known != visits.end()) {
            if (known->second == Visit::begun) {
                return true;
            }
            path.pop_back();
            return false;
        }
        visits[name] = Visit::begun;
        if (const auto next = graph.find(name); next != graph.end()) {
            for (const std::string& other : next->second) {
                if (self(self, other)) {
                    return true;
                }
            }
        }
        visits[name] = Visit::done;
        path.pop_back();
        return false;
    };
    for (const auto& [name, others] : graph) {
        if (visit(visit, name)) {
            return path;
        }
    }
    return {};
}

/// A header and the source file beside it are one unit.
std::string unitOf(const std::string& path) {
    return fs::path{path}.replace_extension().string();
}

/// The rows of docs/map.md with a folder and what it may include: | `a/b/` | … | `c`, `d` |.
/// A short name stands for the one room of the programs that ends with it.
Rooms roomsOfMap() {
    const auto meant = [](const std::string& name) {
        Names found;
        for (const auto& [room, allowed] : rooms()) {
            if (room == name) {
                return name;
            }
            if (!room.starts_with("tests/") && room.ends_with("/" + name)) {
                found.insert(room);
            }
        }
        return found.size() == 1 ? *found.begin() : "no room, or several: " + name;
    };
    Rooms map;
    for (const std::string& row :
         matches(projectFile("docs/map.md"), R"(^(\| `[^`|]+/` \|[^|]*\|[^|]*\|)$)")) {
        const auto room = matches(row, R"(^\| `([^`|]+)/`)").at(0);
        Names& allowed = map[room];
        for (const std::string& name :
             matches(row.substr(row.rfind('|', row.size() - 2)), "`([^`]+)`")) {
            allowed.insert(meant(name));
        }
    }
    return map;
}

} // namespace

TEST(Rooms, EveryFolderOfCodeHasARow) {
    Names folders;
    for (const auto& [path, included] : includes()) {
        folders.insert(roomOf(path));
    }
    EXPECT_GT(folders.size(), 40U);
    for (const std::string& folder : folders) {
        EXPECT_TRUE(rooms().contains(folder)) << folder << " has no row in rooms.txt";
    }
    for (const auto& [room, allowed] : rooms()) {
        EXPECT_TRUE(folders.contains(room)) << "there is no code in " << room;
        for (const std::string& other : allowed) {
            EXPECT_TRUE(rooms().contains(other)) << room << " may include " << other;
        }
    }
}

TEST(Rooms, ARoomIncludesOnlyTheRoomsItMay) {
    std::size_t checked = 0;
    for (const auto& [path, included] : includes()) {
        const std::string room = roomOf(path);
        for (const Include& include : included) {
            if (isOfOurs(include) && roomOf(include.name) != room) {
                ++checked;
                EXPECT_TRUE(rooms().at(room).contains(roomOf(include.name)))
                    << path << " includes " << include.name;
            }
        }
    }
    EXPECT_GT(checked, 300U);
}

/// An include that is no path from the project's folder would pass the rule above unseen.
TEST(Rooms, OurFilesAreIncludedByTheirWholePath) {
    for (const auto& [path, included] : includes()) {
        for (const Include& include : included) {
            EXPECT_TRUE(!include.quoted || isOfOurs(include))
                << path << " includes " << include.name;
        }
    }
}

TEST(Rooms, NoRoomLeadsBackToItself) {
    EXPECT_EQ(circleIn(rooms()), std::vector<std::string>{});
}

TEST(Rooms, NoUnitLeadsBackToItself) {
    Graph units;
    for (const auto& [path, included] : includes()) {
        for (const Include& include : included) {
            if (isOfOurs(include) && unitOf(include.name) != unitOf(path)) {
                units[unitOf(path)].insert(unitOf(include.name));
            }
        }
    }
    EXPECT_EQ(circleIn(units), std::vector<std::string>{});
}

TEST(Rooms, ACircleIsFound) {
    EXPECT_TRUE(circleIn({{"a", {"b", "c"}}, {"b", {"c"}}, {"c", {}}}).empty());
    EXPECT_EQ(circleIn({{"a", {"b"}}, {"b", {"c"}}, {"c", {"b"}}}),
              (std::vector<std::string>{"a", "b", "c", "b"}));
}

TEST(Rooms, TheMapSaysTheSame) {
    Rooms programs = rooms();
    std::erase_if(programs, [](const auto& row) {
        return row.first.starts_with("tests/") || row.first.starts_with("cmake/");
    });
    const Rooms map = roomsOfMap();
    for (const auto& [room, allowed] : programs) {
        ASSERT_TRUE(map.contains(room)) << room << " is not in the map";
        EXPECT_EQ(map.at(room), allowed) << room;
    }
    EXPECT_EQ(map.size(), programs.size());
}

} // namespace velmiro::rules
