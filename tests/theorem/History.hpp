#pragma once

#include "tests/theorem/Call.hpp"
#include "tests/theorem/Reply.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace velmiro::theorem {

/// The paths where a host may listen.
enum class Path {
    first,
    second,
    standard, ///< the one that counts if the variable is empty or missing
    longest,  ///< 103 bytes
    tooLong,  ///< 104 bytes, the first 103 of which are `longest`
};

/// What happens to the world around the client, or on one connection.
enum class Act {
    nameByVariable,        ///< the variable names `path`; `standard`: it is empty
    removeVariable,        ///< so `standard` counts
    listen,                ///< a new host takes over `path`; the old one goes on, unreachable
    listenBehindLink,      ///< likewise, and `path` is a link to its socket
    putNothing,            ///< removes what is at `path`
    putFile,               ///< puts an ordinary file there
    putFolder,             ///< puts a folder there
    putDeadSocket,         ///< puts a socket there at which nobody listens
    killHost,              ///< host number `host` ends, and all its connections
    stopListening,         ///< it only stops accepting
    ask,                   ///< `questions` are asked at the same time
    askWithoutDescriptors, ///< one is asked while the process can open nothing
    read,                  ///< the host reads the whole question and checks it
    readPart,              ///< it reads the first bytes
    send,                  ///< it sends its bytes `from` up to `to`
    sendAndHangUp,         ///< and immediately closes the connection
    hangUp,                ///< it closes the connection
    shutDown,              ///< it closes its sending side
    expire,                ///< it is silent until the client gives up
    pause,                 ///< nothing happens for a while
};

struct Step {
    Act act;
    Path path = Path::first;
    std::size_t host = 0;
    std::vector<std::size_t> questions{}; ///< one, but for `ask`
    std::size_t from = 0;
    std::size_t to = 0;
    bool waits = false; ///< after `send`: until the client has read it; before a hang-up: until the
                        ///< question is there
    std::chrono::milliseconds length{0};

    [[nodiscard]] std::size_t question() const { return questions.front(); }
};

/// A question, and the bytes that its host has ready: a reply and what follows it.
struct Question {
    Call call;
    Reply reply;
    std::string bytes;
};

/// A random course of events, all of it determined by its seed.
struct History {
    std::uint64_t seed = 0;
    std::chrono::seconds patience{100}; ///< the client's receive timeout
    std::vector<Question> questions;
    std::vector<Step> steps;
};

} // namespace velmiro::theorem
