// Two hosts that start at the same time must not both believe that they listen. The only way to
// learn whether a socket file is dead is to connect to it, and before it is replaced another host
// may have replaced it. Therefore all steps (check, remove, bind, listen) happen while the folder
// is locked with flock. The lock needs no file of its own and ends with its descriptor. A host that
// listens holds no lock: its socket accepts connections, which is proof enough.

#include "approval_host/ListeningSocket.hpp"

#include "approval_host/process/HostError.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <utility>

namespace velmiro::host {

namespace {

/// The shortest path field of the supported systems has 104 bytes, including the terminating zero.
constexpr std::size_t longestPath = 103;

class FileModeMask {
public:
    explicit FileModeMask(mode_t mask) noexcept : before_{::umask(mask)} {}
    FileModeMask(const FileModeMask&) = delete;
    FileModeMask& operator=(const FileModeMask&) = delete;
    ~FileModeMask() { ::umask(before_); }

private:
    mode_t before_;
};

std::string folderOf(const std::string& path) {
    const auto slash = path.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

void makeFolder(const std::string& folder) {
    std::error_code ignored;
    if (std::filesystem::is_directory(folder, ignored)) {
        return;
    }
    if (const std::string parent = folderOf(folder); parent != folder) {
        makeFolder(parent);
    }
    const FileModeMask ownerOnly{077};
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
        throw HostError{"cannot make the folder " + folder + ": " + systemReason()};
    }
}

/// Returns a descriptor of the folder, which is locked as long as that is open.
MCPStdio::Descriptor lockFolder(const std::string& folder) {
    MCPStdio::Descriptor locked{::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    if (!locked) {
        throw HostError{"cannot open the folder " + folder + ": " + systemReason()};
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds{5};
    while (::flock(locked.get(), LOCK_EX | LOCK_NB) != 0) {
        const bool taken = errno == EWOULDBLOCK || errno == EINTR;
        if (!taken || std::chrono::steady_clock::now() > deadline) {
            throw HostError{"cannot lock the folder " + folder + ": " + systemReason()};
        }
        ::poll(nullptr, 0, 5);
    }
    return locked;
}

MCPStdio::Descriptor newSocket() {
    MCPStdio::Descriptor made{::socket(AF_UNIX, SOCK_STREAM, 0)};
    if (!made || ::fcntl(made.get(), F_SETFL, O_NONBLOCK) != 0 ||
        ::fcntl(made.get(), F_SETFD, FD_CLOEXEC) != 0) {
        throw HostError{"cannot make a socket: " + systemReason()};
    }
    return made;
}

sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(static_cast<void*>(address.sun_path), path.data(), path.size());
    return address;
}

const sockaddr* general(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

/// Removes the socket file that an ended host left at the path. Throws if anything else is there.
void clearPath(const std::string& path) {
    struct stat found{};
    if (::lstat(path.c_str(), &found) != 0) {
        if (errno == ENOENT) {
            return;
        }
        throw HostError{"cannot look at " + path + ": " + systemReason()};
    }
    if (!S_ISSOCK(found.st_mode)) {
        throw HostError{path + " is not a socket; it is left as it is"};
    }
    const MCPStdio::Descriptor probe = newSocket();
    const sockaddr_un address = addressOf(path);
    // EAGAIN: a host listens there, and its queue of connections is full.
    if (::connect(probe.get(), general(address), sizeof address) == 0 || errno == EAGAIN ||
        errno == EINPROGRESS) {
        throw HostError{"another approval host is listening at " + path};
    }
    if (errno != ECONNREFUSED) {
        throw HostError{"cannot tell whether " + path + " is in use: " + systemReason()};
    }
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
        throw HostError{"cannot remove the abandoned socket " + path + ": " + systemReason()};
    }
}

} // namespace

ListeningSocket::ListeningSocket(std::string path) : path_{std::move(path)} {
    if (path_.size() > longestPath) {
        throw HostError{"the socket's path has " + std::to_string(path_.size()) +
                        " bytes, and 103 is the most: " + path_};
    }
    const std::string folder = folderOf(path_);
    makeFolder(folder);
    const MCPStdio::Descriptor lock = lockFolder(folder);
    clearPath(path_);
    socket_ = newSocket();
    const sockaddr_un address = addressOf(path_);
    {
        const FileModeMask ownerReadsAndWrites{0177};
        if (::bind(socket_.get(), general(address), sizeof address) != 0) {
            throw HostError{"cannot make the socket " + path_ + ": " + systemReason()};
        }
    }
    struct stat made{};
    if (::listen(socket_.get(), SOMAXCONN) != 0 || ::lstat(path_.c_str(), &made) != 0) {
        const std::string reason = systemReason();
        ::unlink(path_.c_str());
        throw HostError{"cannot listen at " + path_ + ": " + reason};
    }
    device_ = made.st_dev;
    inode_ = made.st_ino;
}

ListeningSocket::~ListeningSocket() {
    try {
        const MCPStdio::Descriptor lock = lockFolder(folderOf(path_));
        struct stat found{};
        if (::lstat(path_.c_str(), &found) == 0 && found.st_dev == device_ &&
            found.st_ino == inode_) {
            ::unlink(path_.c_str());
        }
    } catch (const HostError&) {
        // The folder is gone, or stays locked. The next host replaces the file that is left behind.
        return;
    }
}

} // namespace velmiro::host
