#include "tests/theorem/Model.hpp"

#include <algorithm>

namespace velmiro::theorem {

void Model::apply(const Step& step) {
    switch (step.act) {
    case Act::nameByVariable:
        path_ = step.path;
        return;
    case Act::removeVariable:
        path_ = Path::standard;
        return;
    case Act::listen:
    case Act::listenBehindLink:
        addHost(step.path);
        return;
    case Act::putNothing:
    case Act::putFile:
    case Act::putFolder:
    case Act::putDeadSocket:
        at_[step.path].reset();
        return;
    case Act::killHost:
        leave(step.host);
        [[fallthrough]];
    case Act::stopListening:
        listens_[step.host] = false;
        return;
    case Act::ask:
    case Act::askWithoutDescriptors:
        ask(step);
        return;
    case Act::readPart:
    case Act::pause:
        return;
    default:
        break;
    }
    const std::size_t question = step.question();
    State& state = states_[question];
    switch (step.act) {
    case Act::read:
        state.isRead = true;
        break;
    case Act::send:
        state.sent = step.to;
        break;
    case Act::sendAndHangUp:
        state.sent = step.to;
        // The client cannot send a question to an end that is closed already. If it has sent it, it
        // reads what came before the hang-up.
        state.late = state.late || !(state.isRead || step.waits);
        judge(question);
        end(state);
        return;
    case Act::hangUp:
        end(state);
        return;
    case Act::shutDown:
        state.isShut = true;
        break;
    default:
        state.verdict = state.verdict.value_or(Verdict::no);
        return; // it has expired
    }
    judge(question);
}

void Model::addHost(Path path) {
    at_[path] = listens_.size();
    listens_.push_back(true);
}

void Model::leave(std::size_t host) {
    for (auto& [question, state] : states_) {
        if (state.host == host) {
            end(state);
        }
    }
}

void Model::ask(const Step& step) {
    const auto host = step.act == Act::ask ? reachableHost() : std::nullopt;
    for (const std::size_t question : step.questions) {
        State& state = states_[question];
        state.host = host;
        state.isRead = step.questions.size() > 1; // to know them apart
        if (!host) {
            state.verdict = Verdict::no;
        }
    }
}

/// The host closes its end. What was not decided by then is a no.
void Model::end(State& state) {
    state.host.reset();
    state.verdict = state.verdict.value_or(Verdict::no);
}

bool Model::isSent(std::size_t question) const {
    return states_[question].isRead || questions_[question].call.summary.size() <= mostThatIsSmall;
}

/// Decides an open question if the first line is complete, or never will be.
void Model::judge(std::size_t question) {
    State& state = states_[question];
    const Reply& reply = questions_[question].reply;
    if (state.verdict || !isSent(question)) {
        return;
    }
    if (state.sent >= reply.line.size()) {
        state.verdict = !reply.isYes ? Verdict::no : state.late ? Verdict::either : Verdict::yes;
    } else if (state.isShut) {
        state.verdict = Verdict::no;
    }
}

std::optional<Verdict> Model::verdict(std::size_t question) const {
    return states_[question].verdict;
}

std::optional<std::size_t> Model::reachableHost() const {
    const auto found = at_.find(path_);
    if (path_ == Path::tooLong || found == at_.end() || !found->second ||
        !listens_[*found->second]) {
        return std::nullopt;
    }
    return found->second;
}

std::optional<std::size_t> Model::hostOf(std::size_t question) const {
    return states_[question].host;
}

bool Model::isReading(std::size_t question) const {
    return hostOf(question) && !verdict(question) && isSent(question);
}

std::vector<std::size_t> Model::listening() const {
    std::vector<std::size_t> found;
    for (std::size_t host = 0; host < listens_.size(); ++host) {
        if (listens_[host]) {
            found.push_back(host);
        }
    }
    return found;
}

} // namespace velmiro::theorem
