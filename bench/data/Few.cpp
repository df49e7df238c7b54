// Notes and mail of someone who has few, held against the least that any script costs: starting the
// engine for one that does nothing.

#include "bench/System.hpp"
#include "bench/data/Dataset.hpp"

#include <iterator>
#include <utility>

namespace velmiro::bench {

std::vector<Question> makeFew(const Home& home, int items) {
    constexpr double mostTimes = 2.5;
    const std::string engine = programFolder().parent_path() / "libexec/velmiro/osascript";
    auto questions = makeMail(home, items);
    auto notes = makeNotes(home, items);
    std::move(notes.begin(), notes.end(), std::back_inserter(questions));
    for (Question& question : questions) {
        question.rival = {"the engine alone",
                          {engine, "-l", "JavaScript", "-e", "''"},
                          [expected = question.expected](const std::string& output) {
                              return output == "\n" ? expected : Found{}; // it finds nothing itself
                          }};
        question.mostTimes = mostTimes;
    }
    return questions;
}

} // namespace velmiro::bench
