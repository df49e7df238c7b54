#include "tests/faults/Faults.hpp"

#include <cerrno>
#include <cstring>

namespace velmiro::test {
namespace {

constexpr int partial = 0; ///< in the place of an error

struct Family {
    const char* name;
    Call call;
    std::vector<int> errors;
};

// The errors that a family's calls report on a failing disk, a full one, a system at its limits, or
// after a signal; and a part of what was asked for. A permanent error of standard input or output
// ends the server, which is tested elsewhere.
const std::vector<Family>& families() {
    static const std::vector<Family> all{
        {"open", Call::open, {EIO, EMFILE, ENFILE, ENOMEM, EACCES, EINTR, ENOSPC}},
        {"close", Call::close, {EIO, EINTR}},
        {"read", Call::read, {EIO, EINTR, ENOMEM, partial}},
        {"write", Call::write, {ENOSPC, EIO, EDQUOT, EINTR, EFBIG, partial}},
        {"flush", Call::flush, {EIO, ENOSPC, EDQUOT}},
        {"rename", Call::rename, {EIO, ENOSPC, EACCES, EINVAL, ESTALE}},
        {"link", Call::link, {EIO, ENOSPC, EPERM, EMLINK, ENOENT}},
        {"unlink", Call::unlink, {EIO, EACCES, EBUSY}},
        {"mkdir", Call::mkdir, {EIO, ENOSPC, EDQUOT}},
        {"list", Call::list, {EIO, ENOMEM, EMFILE}},
        {"stat", Call::stat, {EIO, ENOMEM, EACCES, ESTALE}},
        {"lock", Call::lock, {ENOLCK, EINTR, EWOULDBLOCK}},
        {"control", Call::control, {EINVAL, EAGAIN, EINTR}},
        {"map", Call::map, {ENOMEM}},
        {"input", Call::input, {EINTR, EAGAIN, partial}},
        {"receive", Call::receive, {EINTR, EIO, partial}},
        {"output", Call::output, {EINTR, EAGAIN, partial}},
        {"poll", Call::poll, {EINTR, ENOMEM}},
        {"socket", Call::socket, {EMFILE, ENFILE, ENOMEM, ENOBUFS}},
        {"connect", Call::connect, {ECONNREFUSED, EAGAIN, EINTR, EACCES}},
        {"send", Call::send, {EPIPE, ECONNRESET, EINTR, ENOBUFS, partial}},
        {"pipe", Call::pipe, {EMFILE, ENFILE, ENOMEM}},
        {"spawn", Call::spawn, {EAGAIN, ENOMEM}},
        {"wait", Call::wait, {EINTR}},
        {"thread", Call::thread, {EAGAIN}},
        {"allocate", Call::allocate, {ENOMEM}},
        {"heap", Call::heap, {ENOMEM}},
    };
    return all;
}

std::vector<Fault> allFaults() {
    std::vector<Fault> found;
    for (const Family& family : families()) {
        for (const int error : family.errors) {
            for (const int count : {1, 2, 3, 8}) {
                found.push_back({family.name, family.call,
                                 error == partial ? Effect::partial : Effect::error, error, count,
                                 error == family.errors.front() && count == 1});
            }
        }
    }
    return found;
}

} // namespace

const std::vector<Fault>& faults() {
    static const auto all = allFaults();
    return all;
}

std::string nameOf(const Fault& fault) {
    const std::string what =
        fault.effect == Effect::partial ? "a part only" : std::strerror(fault.error);
    return fault.name + ": " + what + ", " + std::to_string(fault.count) + " in a row";
}

} // namespace velmiro::test
