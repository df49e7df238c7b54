#pragma once

#include "tests/theorem/History.hpp"

#include <cstddef>
#include <map>
#include <optional>
#include <vector>

namespace velmiro::theorem {

/// What must come of a question.
enum class Verdict {
    no,
    yes,
    either, ///< both are right: the client may have been faster or slower than the host
};

/// The client as its documentation describes it, without sockets, threads or clocks: the oracle. It
/// shares no code with the client.
class Model {
public:
    explicit Model(const std::vector<Question>& questions) : questions_{questions} {}

    /// Takes the next step into account.
    void apply(const Step& step);

    /// Notes that more than the client's patience passed before the next bytes reached it.
    void comeTooLate(std::size_t question) { states_[question].late = true; }
    [[nodiscard]] bool hasComeTooLate(std::size_t question) const { return states_[question].late; }

    /// Returns nullopt while the question is open, or was not asked.
    [[nodiscard]] std::optional<Verdict> verdict(std::size_t question) const;

    /// Returns the number of the host that a client would reach now; nullopt if there is none.
    [[nodiscard]] std::optional<std::size_t> reachableHost() const;

    /// Returns the host that a question is connected to; nullopt if none was reachable, or its end
    /// is closed.
    [[nodiscard]] std::optional<std::size_t> hostOf(std::size_t question) const;

    /// Returns whether the client has sent the question and is waiting for more of the reply.
    [[nodiscard]] bool isReading(std::size_t question) const;

    /// Returns the numbers of the hosts that listen.
    [[nodiscard]] std::vector<std::size_t> listening() const;

    [[nodiscard]] Path path() const { return path_; }
    [[nodiscard]] std::size_t hosts() const { return listens_.size(); }

private:
    struct State {
        std::optional<std::size_t> host; ///< while the host's end is open
        bool isRead = false;             ///< the host has read the whole question
        std::size_t sent = 0;            ///< bytes of the question's that the host has sent
        bool isShut = false;             ///< no more will come
        bool late = false;
        std::optional<Verdict> verdict{};
    };

    void addHost(Path path);
    void leave(std::size_t host);
    void ask(const Step& step);
    void end(State& state);
    void judge(std::size_t question);
    [[nodiscard]] bool isSent(std::size_t question) const;

    const std::vector<Question>& questions_;
    Path path_ = Path::first;
    std::map<Path, std::optional<std::size_t>> at_; ///< the host at each path
    std::vector<bool> listens_;                     ///< of each host
    mutable std::map<std::size_t, State> states_;
};

} // namespace velmiro::theorem
