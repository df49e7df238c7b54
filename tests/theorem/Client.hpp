#pragma once

#include "tests/theorem/Call.hpp"

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmiro::theorem {

/// The result of a call, as its caller receives it.
struct Outcome {
    std::string text;
    bool isError = false;
};

/// The program under test: tools that ask before they change something. Used by one thread.
class Client {
public:
    Client() = default;
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    virtual ~Client() = default;

    /// Begins a history.
    virtual void begin(std::chrono::seconds patience) = 0;

    /// Starts a call. It goes on beside the caller.
    virtual void start(std::size_t question, const Call& call) = 0;

    /// Returns a descriptor that is readable once a further call has ended.
    [[nodiscard]] virtual int signal() const = 0;

    /// Returns a call's result once it has ended.
    virtual std::optional<Outcome> outcome(std::size_t question) = 0;

    /// Returns the changes made in this history, after all calls have ended.
    virtual std::vector<std::string> changes() = 0;

    /// Returns the number of descriptors that the program has open.
    [[nodiscard]] virtual std::size_t descriptors() const = 0;
};

/// Returns the tools and the approval client of this very program, over a journal of changes.
std::unique_ptr<Client> toolsInProcess();

/// Returns a server that runs as a child, over calendar files in the folder `home`. Its questions
/// go to `socket`.
std::unique_ptr<Client> server(const std::string& binary, const std::string& home,
                               const std::string& socket);

} // namespace velmiro::theorem
