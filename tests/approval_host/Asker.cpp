#include "tests/approval_host/Asker.hpp"

#include "MCPStdio/json/JSONValue.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cstring>

namespace velmiro::host::test {

namespace {

constexpr int patience = 30'000;

Descriptor newSocket() {
    Descriptor made{::socket(AF_UNIX, SOCK_STREAM, 0)};
    EXPECT_TRUE(made);
    ::fcntl(made.get(), F_SETFD, FD_CLOEXEC);
    return made;
}

int withAddress(const std::string& path, int socket, int (*call)(int, const sockaddr*, socklen_t)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    EXPECT_LT(path.size(), sizeof address.sun_path);
    std::memcpy(static_cast<void*>(address.sun_path), path.data(), path.size());
    const void* anyAddress = &address;
    return call(socket, static_cast<const sockaddr*>(anyAddress), sizeof address);
}

} // namespace

Asker::Asker(const std::string& path, bool waits) : socket_{newSocket()} {
    ::fcntl(socket_.get(), F_SETFL, waits ? 0 : O_NONBLOCK);
    if (withAddress(path, socket_.get(), ::connect) != 0) {
        socket_.close();
    }
}

void Asker::send(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(socket_.get(), bytes.data(), bytes.size(), 0);
        if (sent <= 0) {
            return; // the host has closed the connection; its reply says why
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

void Asker::ask(std::string_view tool, std::string_view summary) {
    const auto question =
        MCPStdio::JSONValue::object({{"tool", tool}, {"summary", summary}}).jsonString();
    send(question + '\n');
}

std::string Asker::reply() {
    std::string all;
    while (true) {
        pollfd watched{socket_.get(), POLLIN, 0};
        if (::poll(&watched, 1, patience) != 1) {
            ADD_FAILURE() << "no reply";
            return all;
        }
        std::array<char, 256> bytes;
        const ssize_t count = ::recv(socket_.get(), bytes.data(), bytes.size(), 0);
        if (count <= 0) {
            return all;
        }
        all.append(bytes.data(), static_cast<std::size_t>(count));
    }
}

bool Asker::isAnsweredWithin(int milliseconds) const {
    pollfd watched{socket_.get(), POLLIN, 0};
    return ::poll(&watched, 1, milliseconds) != 0;
}

Descriptor bindSocket(const std::string& path, bool listens) {
    Descriptor made = newSocket();
    EXPECT_EQ(withAddress(path, made.get(), ::bind), 0);
    if (listens) {
        EXPECT_EQ(::listen(made.get(), 8), 0);
    }
    return made;
}

} // namespace velmiro::host::test
