#pragma once

#include "MCPStdio/json/JSONValue.hpp"
#include "bench/Replies.hpp"
#include "bench/data/Home.hpp"

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

/// What is asked of a user's data, and the program that answers the same over the same files.
namespace velmiro::bench {

/// What an answer names, one text for each thing found.
using Found = std::set<std::string>;

/// A program of the same use, which is started for each question.
struct Rival {
    std::string name;
    std::vector<std::string> command;              ///< asks the question
    std::function<Found(const std::string&)> read; ///< finds what was found in its output
    /// What it keeps between its runs; empty when that is nothing, or not to be taken away.
    std::filesystem::path kept = {};
    std::vector<std::string> makeKept = {}; ///< makes that, unless asking does
};

struct Question {
    std::string title;
    std::string tool;
    MCPStdio::JSONValue arguments;
    /// Finds what was found in the payload of the tool.
    std::function<Found(const MCPStdio::JSONValue&)> read;
    Rival rival;
    Found expected;
};

/// A kind of data: its maker writes the files of so many items into a home, and says what to ask of
/// them.
struct Case {
    std::string_view name; ///< to choose it by
    int items;             ///< of a user with much of it
    std::vector<Question> (*make)(const Home& home, int items);
};

std::vector<Question> makeCalendar(const Home& home, int events);
std::vector<Question> makeReminders(const Home& home, int reminders);
std::vector<Question> makeContacts(const Home& home, int people);
std::vector<Question> makeMail(const Home& home, int messages);
std::vector<Question> makeNotes(const Home& home, int notes);

/// The texts that the records in a list of a payload have under a key.
Found textsOf(const MCPStdio::JSONValue& payload, const char* list, const char* key);

/// The lines of an output, each as far as a separator.
Found linesOf(const std::string& output, char separator = '\n');

} // namespace velmiro::bench
