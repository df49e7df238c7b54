#include "tests/theorem/RandomHistory.hpp"

#include "tests/theorem/Model.hpp"

#include <algorithm>
#include <array>
#include <deque>
#include <map>
#include <utility>

namespace velmiro::theorem {
namespace {

using std::chrono::milliseconds;

/// Composes a history. The model tells which steps are possible.
class Composer {
public:
    Composer(std::uint64_t seed, Kind kind) : kind_{kind}, random_{seed} {
        history_.seed = seed;
        if (kind == Kind::slow) {
            history_.patience = std::chrono::seconds{1};
        }
    }

    History compose() {
        take({.act = Act::nameByVariable});
        if (random_.percent(93)) {
            take({.act = Act::listen});
        }
        for (std::size_t round = random_.between(1, kind_ == Kind::slow ? 2 : 4); round > 0;
             --round) {
            if (random_.percent(30)) {
                disturb();
            }
            if (!model_.reachableHost() && random_.percent(70)) {
                listenHere();
            }
            ask();
            converse(random_.percent(70));
        }
        converse(true);
        for (std::size_t question = 0; question < history_.questions.size(); ++question) {
            if (!model_.verdict(question)) {
                take({.act = Act::hangUp, .questions = {question}});
            }
        }
        return std::move(history_);
    }

private:
    using Plan = std::deque<Step>;

    void take(Step step) {
        model_.apply(step);
        history_.steps.push_back(std::move(step));
    }

    void listenHere() {
        if (model_.path() != Path::tooLong) {
            take({.act = random_.percent(85) ? Act::listen : Act::listenBehindLink,
                  .path = model_.path()});
        } else if (random_.percent(70)) {
            take({.act = Act::listen, .path = Path::longest});
        }
    }

    /// Changes who can be reached, and where.
    void disturb() {
        constexpr std::array things{Act::putNothing, Act::putFile, Act::putFolder,
                                    Act::putDeadSocket};
        constexpr std::array paths{Path::first, Path::second, Path::standard, Path::longest,
                                   Path::tooLong};
        const auto hosts = model_.listening();
        switch (random_.below(kind_ == Kind::overFiles ? 4 : 6)) {
        case 0:
            listenHere();
            return; // replaces a socket that is in use
        case 1:
            if (!hosts.empty()) {
                take({.act = random_.percent(70) ? Act::killHost : Act::stopListening,
                      .host = random_.oneOf(hosts)});
            }
            return;
        case 2:
            if (model_.path() != Path::tooLong) {
                take({.act = random_.oneOf(things), .path = model_.path()});
            }
            return;
        case 3: // a restart: the old host ends, a new one takes its place
            if (const auto host = model_.reachableHost()) {
                take({.act = Act::killHost, .host = *host});
                listenHere();
            }
            return;
        default:
            take({.act = Act::nameByVariable, .path = random_.oneOf(paths)});
            if (model_.path() == Path::standard && random_.percent(50)) {
                take({.act = Act::removeVariable});
            }
        }
    }

    /// Returns whether a call can be asked now. A question is known by its content, a large one is
    /// never given up, and the text of a date needs descriptors.
    bool suits(const Call& call, bool withoutDescriptors) const {
        return std::ranges::none_of(
                   history_.questions,
                   [&](const Question& other) { return other.call.change == call.change; }) &&
               (kind_ != Kind::slow || call.summary.size() <= mostThatIsSmall) &&
               !(withoutDescriptors && call.tool == "calendar_create_event");
    }

    std::size_t addQuestion(bool withoutDescriptors) {
        const std::size_t number = history_.questions.size();
        Question question;
        do {
            question.call = randomCall(random_, number, kind_ == Kind::overFiles);
        } while (!suits(question.call, withoutDescriptors));
        question.reply = randomReply(random_);
        question.bytes = question.reply.line;
        if (random_.percent(25)) { // a second answer, which must not count
            question.bytes += plainReply(!question.reply.isYes).line;
        } else if (random_.percent(10)) {
            question.bytes += std::string(random_.between(1, 3000), 'z');
        }
        history_.questions.push_back(std::move(question));
        return number;
    }

    void ask() {
        Step step{.act = Act::ask};
        if (kind_ != Kind::overFiles && random_.percent(2)) {
            step.act = Act::askWithoutDescriptors;
        }
        const bool isCrowd = step.act == Act::ask && random_.percent(15);
        for (std::size_t count = isCrowd ? random_.between(2, 5) : 1; count > 0; --count) {
            step.questions.push_back(addQuestion(step.act == Act::askWithoutDescriptors));
        }
        take(step);
        for (const std::size_t question : step.questions) {
            if (model_.hostOf(question)) {
                plans_.emplace(question, planFor(question));
            }
        }
    }

    /// Plays the plans of all connections, in random turns; perhaps not to their end.
    void converse(bool toTheEnd) {
        for (std::size_t turns = random_.below(20); !plans_.empty() && (toTheEnd || turns > 0);
             turns -= turns > 0 ? 1 : 0) {
            const auto plan = std::next(plans_.begin(),
                                        static_cast<std::ptrdiff_t>(random_.below(plans_.size())));
            const std::size_t question = plan->first;
            if (!model_.hostOf(question) || plan->second.empty()) {
                plans_.erase(plan);
                continue;
            }
            const Step step = plan->second.front();
            plan->second.pop_front();
            if (step.act != Act::expire || !model_.verdict(question)) {
                take(step);
            }
        }
    }

    Plan planFor(std::size_t question) {
        Plan plan;
        const auto add = [&](Step step) {
            step.questions = {question};
            plan.push_back(std::move(step));
        };
        const std::size_t reading = random_.below(100);
        if (reading >= 75 && reading < 85) {
            add({.act = Act::readPart});
        }
        if (reading < 75) {
            add({.act = Act::read});
        }
        if (random_.percent(6)) { // no answer at all
            add({.act = random_.percent(80) ? Act::hangUp : Act::shutDown});
            return plan;
        }
        if (kind_ == Kind::slow) {
            addSlowAnswer(question, add);
        } else {
            addAnswer(question, reading < 75, add);
        }
        if (reading >= 93) { // it reads after it has answered
            add({.act = Act::read});
        }
        const std::size_t ending = random_.below(100);
        if (ending < 65) {
            add({.act = ending < 55 ? Act::hangUp : Act::shutDown});
        }
        return plan;
    }

    template <typename Add>
    void addAnswer(std::size_t question, bool isRead, Add add) {
        const Question& asked = history_.questions[question];
        std::size_t end = asked.bytes.size();
        if (random_.percent(12)) { // the answer breaks off
            end = random_.below(asked.reply.line.size());
        }
        if (!isRead && asked.call.summary.size() > mostThatIsSmall) {
            end = std::min(end, std::size_t{10'000}); // what is not read has to fit into buffers
        }
        const bool inBytes = end < 200 && random_.percent(8);
        const bool inPieces = random_.percent(50);
        std::size_t from = 0;
        while (from < end) {
            const std::size_t to = inBytes    ? from + 1
                                   : inPieces ? random_.between(from + 1, end)
                                              : end;
            if (to == end && random_.percent(15)) {
                add({.act = Act::sendAndHangUp,
                     .from = from,
                     .to = to,
                     .waits = random_.percent(80)});
                return;
            }
            add({.act = Act::send, .from = from, .to = to, .waits = random_.percent(60)});
            from = to;
        }
    }

    /// Sends drops that each restart the client's time, or waits until the client gives up and
    /// answers then.
    template <typename Add>
    void addSlowAnswer(std::size_t question, Add add) {
        const std::size_t size = history_.questions[question].bytes.size();
        std::size_t from = 0;
        for (std::size_t drops = random_.below(5); drops > 0 && from + 1 < size; --drops) {
            add({.act = Act::send, .from = from, .to = from + 1, .waits = true});
            ++from;
            add({.act = Act::pause, .length = milliseconds{random_.between(100, 700)}});
        }
        if (random_.percent(60)) {
            add({.act = Act::expire});
        }
        add({.act = Act::send, .from = from, .to = size});
    }

    Kind kind_;
    Random random_;
    History history_;
    Model model_{history_.questions};
    std::map<std::size_t, Plan> plans_; ///< what the hosts still mean to do, by question
};

} // namespace

History randomHistory(std::uint64_t seed, Kind kind) {
    return Composer{seed, kind}.compose();
}

} // namespace velmiro::theorem
