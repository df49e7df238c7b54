#include "doctor/Examinations.hpp"

#include "doctor/Mends.hpp"
#include "doctor/Programs.hpp"
#include "doctor/Words.hpp"
#include "velmiro_mcp/services/Approval.hpp"
#include "velmiro_mcp/services/LocalSocket.hpp"

#include <future>
#include <memory>
#include <optional>
#include <thread>

#include <unistd.h>

namespace velmiro::doctor {
namespace {

/// Connects as the server does, and closes at once. Returns `nullopt` if that takes too long: the
/// queue of a host that accepts no connection is full, and one more waits. Its thread is abandoned.
std::optional<bool> isListening(const std::string& path, std::chrono::milliseconds patience) {
    const auto answer = std::make_shared<std::promise<bool>>();
    auto future = answer->get_future();
    std::thread{[answer, path, patience] {
        answer->set_value(LocalSocket::connect(path, 2 * patience).has_value());
    }}.detach();
    if (future.wait_for(patience) != std::future_status::ready) {
        return std::nullopt;
    }
    return future.get();
}

void tellNobody(Section& section, const std::string& path) {
    constexpr std::string_view effect = ": every change is refused at once";
    const Place place = placeOf(path);
    const std::string start = shellWord(programBeside("approval_host"));
    if (place.what == Place::What::missing || place.what == Place::What::dangling) {
        section.problem(std::string{"no approval host listens"}.append(effect), start);
    } else if (place.what == Place::What::unreachable) {
        section.problem("the approval host cannot be reached: " + reasonOf(place.error),
                        rightsCommand(lockedAbove(path), "u+rwx"));
    } else if (place.what != Place::What::other) {
        section.problem("the approval socket is " +
                            std::string{place.isFolder() ? "a folder" : "a file"}.append(effect),
                        "mv -n " + shellWord(path) + " " + shellWord(path + "-old"));
    } else if (access(path.c_str(), R_OK | W_OK) != 0) {
        section.problem("the approval socket belongs to another user", "ls -l " + shellWord(path));
    } else {
        section.problem(std::string{"the approval host has ended"}.append(effect), start);
    }
}

} // namespace

Section examineHost(std::chrono::milliseconds patience) {
    Section section{"approval"};
    const std::string path = approvalSocketPath();
    section.fact("socket: " + visible(path));
    if (path.size() > LocalSocket::longestPath) {
        section.problem("its path has " + counted(path.size(), "byte") + ", but at most " +
                            std::to_string(LocalSocket::longestPath) +
                            " are possible: every change is refused",
                        "export VELMIRO_APPROVAL_SOCKET=/run/user/$(id -u)/velmiro.sock");
        return section;
    }
    const auto listens = isListening(path, patience);
    if (!listens) {
        section.problem("an approval host listens, but accepts no connection",
                        "lsof -- " + shellWord(path));
    } else if (*listens) {
        section.fact("an approval host listens");
    } else {
        tellNobody(section, path);
    }
    return section;
}

} // namespace velmiro::doctor
