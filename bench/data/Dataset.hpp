#pragma once

#include "MCPStdio/json/JSONValue.hpp"
#include "bench/Replies.hpp"
#include "bench/data/Home.hpp"

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

/// The questions about a user's data, and the programs that answer the same ones over the same
/// files.
namespace velmiro::bench {

/// The things that an answer contains, one text each.
using Found = std::set<std::string>;

/// Another program of the same use, which is started for each question.
struct Rival {
    std::string name;
    std::vector<std::string> command;              ///< that asks the question
    std::function<Found(const std::string&)> read; ///< reads the findings from its output
    /// The database it keeps between runs; empty if there is none, or it must not be removed.
    std::filesystem::path cache = {};
    std::vector<std::string> makeCache = {}; ///< that makes it, unless asking does
};

struct Question {
    std::string title;
    std::string tool;
    MCPStdio::JSONValue arguments;
    /// Reads the findings from the payload of the tool.
    std::function<Found(const MCPStdio::JSONValue&)> read;
    Rival rival;
    Found expected;
    /// The target of a running server: at most this many times what the rival costs.
    std::optional<double> mostTimes = std::nullopt;
    std::optional<double> mostMemory = std::nullopt; ///< bytes at the peak of a call, as a target
};

/// A kind of data. `make` writes the files of that many items into a home, and returns the
/// questions about them.
struct Dataset {
    std::string_view name; ///< that selects it
    int items;             ///< of a user who has many
    std::vector<Question> (*make)(const Home& home, int items);
};

std::vector<Question> makeCalendar(const Home& home, int events);
std::vector<Question> makeReminders(const Home& home, int reminders);
std::vector<Question> makeContacts(const Home& home, int people);
std::vector<Question> makeMail(const Home& home, int messages);
std::vector<Question> makeNotes(const Home& home, int notes);

/// Few messages and notes, compared with starting the script engine alone.
std::vector<Question> makeFew(const Home& home, int items);

/// Hostile messages, compared likewise. There are as many as there are ideas.
std::vector<Question> makeHostile(const Home& home, int items);

/// Returns the least that any script costs as a rival: the engine, started for one that does
/// nothing. It is said to find what is expected.
Rival engineAlone(const Found& expected);

/// Returns the texts at `key` in the records of a list in a payload.
Found textsOf(const MCPStdio::JSONValue& payload, const char* list, const char* key);

/// Returns the lines of an output, each up to a separator.
Found linesOf(const std::string& output, char separator = '\n');

} // namespace velmiro::bench
