#include "tests/theorem/Host.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

namespace velmiro::theorem {
namespace {

namespace fs = std::filesystem;
using MCPStdio::Descriptor;

constexpr std::size_t longestPath = 103;

void require(bool done, const char* what) {
    if (!done) {
        throw std::system_error{errno, std::generic_category(), what};
    }
}

} // namespace

Host::Host(fs::path folder) : folder_{std::move(folder)} {
    fs::create_directories(fs::path{pathOf(Path::standard)}.parent_path());
}

std::string Host::pathOf(Path path) const {
    switch (path) {
    case Path::first:
        return folder_ / "approval.sock";
    case Path::second:
        return folder_ / "b.sock";
    case Path::standard:
        return folder_ / "home/Library/Application Support/Velmiro/approval.sock";
    case Path::longest:
        break;
    case Path::tooLong:
        return pathOf(Path::longest) + "p";
    }
    std::string longest = folder_ / "";
    longest.resize(longestPath, 'p');
    return longest;
}

std::string Host::spareName() {
    return spareNames_.emplace_back(folder_ / ("." + std::to_string(made_++)));
}

Descriptor Host::bindAt(const std::string& name) const {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name.data(), name.size());
    Descriptor socket{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    require(static_cast<bool>(socket), "socket");
    require(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0,
            "bind");
    require(::listen(socket.get(), SOMAXCONN) == 0, "listen");
    return socket;
}

void Host::listen(Path path) {
    const std::string spare = spareName();
    listeners_.push_back(bindAt(spare));
    putNothing(path);
    fs::rename(spare, pathOf(path));
}

void Host::listenBehindLink(Path path) {
    const std::string spare = spareName();
    listeners_.push_back(bindAt(spare));
    putNothing(path);
    fs::create_symlink(spare, pathOf(path));
}

void Host::putNothing(Path path) const {
    // Most often there is nothing, or a socket, which a rename would replace as well.
    fs::remove(pathOf(path));
}

void Host::putFile(Path path) const {
    putNothing(path);
    std::ofstream{pathOf(path)} << "{\"allow\":true}\n";
}

void Host::putFolder(Path path) const {
    putNothing(path);
    fs::create_directory(pathOf(path));
}

void Host::putDeadSocket(Path path) {
    const std::string spare = spareName();
    const Descriptor dead = bindAt(spare);
    putNothing(path);
    fs::rename(spare, pathOf(path));
}

void Host::kill(std::size_t host) {
    listeners_.at(host).close();
    std::erase_if(questions_,
                  [&](const auto& entry) { return connections_.at(entry.second).host == host; });
    std::erase_if(connections_, [&](const auto& entry) { return entry.second.host == host; });
}

int Host::acceptUnknown(std::size_t host) {
    Descriptor socket{::accept4(listener(host), nullptr, nullptr, SOCK_CLOEXEC)};
    require(static_cast<bool>(socket), "accept");
    const int number = socket.get();
    connections_.insert_or_assign(number, Connection{std::move(socket), host});
    return number;
}

void Host::accept(std::size_t host, std::size_t question) {
    name(acceptUnknown(host), question);
}

int Host::connection(std::size_t question) const {
    const auto found = questions_.find(question);
    return found == questions_.end() ? -1 : found->second;
}

void Host::hangUp(std::size_t question) {
    connections_.erase(questions_.at(question));
    questions_.erase(question);
}

bool Host::hasStranger() const {
    return std::ranges::any_of(listeners_, [](const Descriptor& listener) {
        pollfd ready{listener.get(), POLLIN, 0};
        return listener && ::poll(&ready, 1, 0) > 0;
    });
}

void Host::forget() {
    questions_.clear();
    connections_.clear();
    listeners_.clear();
    std::error_code missing;
    for (const Path path :
         {Path::first, Path::second, Path::standard, Path::longest, Path::tooLong}) {
        fs::remove(pathOf(path), missing);
    }
    for (const std::string& name : spareNames_) {
        fs::remove(name, missing);
    }
    spareNames_.clear();
}

std::string readLine(int connection, std::size_t most) {
    std::string line;
    std::array<char, 65'536> chunk;
    while (line.size() < most && !line.ends_with('\n')) {
        const ssize_t count =
            ::read(connection, chunk.data(), std::min(chunk.size(), most - line.size()));
        if (count <= 0) {
            break;
        }
        line.append(chunk.data(), static_cast<std::size_t>(count));
    }
    return line;
}

} // namespace velmiro::theorem
