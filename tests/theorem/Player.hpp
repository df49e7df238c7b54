#pragma once

#include "tests/theorem/Client.hpp"
#include "tests/theorem/History.hpp"
#include "tests/theorem/Host.hpp"

#include <atomic>
#include <cstdint>
#include <optional>
#include <stdexcept>

namespace velmiro::theorem {

/// What was counted in all histories. Shared by the processes that play them.
struct Totals {
    std::atomic<std::uint64_t> histories{0};
    std::atomic<std::uint64_t> throughServer{0};
    std::atomic<std::uint64_t> questions{0};
    std::atomic<std::uint64_t> yeses{0};
    std::atomic<std::uint64_t> open{0}; ///< questions to which yes and no were both right
    std::atomic<std::uint64_t> changes{0};
    std::atomic<std::uint64_t> expired{0}; ///< questions that the client gave up
};

/// The theorem does not hold.
class Violation : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Plays histories, one after another, and compares what the client does with the model.
class Player {
public:
    Player(Client& client, Host& host, Totals& totals)
        : client_{client},
          host_{host},
          totals_{totals} {}

    /// Throws Violation if the client differs from the model in any respect: whether and what it
    /// asks, when it gives up, what the caller is told, and what is changed.
    void play(const History& history);

private:
    void checkDescriptors();

    Client& client_;
    Host& host_;
    Totals& totals_;
    std::optional<std::size_t> descriptors_; ///< the client's between histories
};

} // namespace velmiro::theorem
