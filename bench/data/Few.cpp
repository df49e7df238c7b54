// Notes and mail of someone who has few, held against the least that any script costs.

#include "bench/data/Dataset.hpp"

#include <iterator>
#include <utility>

namespace velmiro::bench {

std::vector<Question> makeFew(const Home& home, int items) {
    constexpr double mostTimes = 2.5;
    auto questions = makeMail(home, items);
    auto notes = makeNotes(home, items);
    std::move(notes.begin(), notes.end(), std::back_inserter(questions));
    for (Question& question : questions) {
        question.rival = engineAlone(question.expected);
        question.mostTimes = mostTimes;
    }
    return questions;
}

} // namespace velmiro::bench
