#pragma once

#include "MCPStdio/transport/Descriptor.hpp"

#include <sys/types.h>

#include <string>

namespace velmiro::host {

/// A local stream socket that listens at a path of the file system, and its socket file.
///
/// Missing folders are created with mode 0700. The file has mode 0600 from its first moment. A
/// socket file that an ended host left behind is replaced. The destructor removes the file, unless
/// another file has taken its place.
class ListeningSocket {
public:
    /// Throws HostError if a host already listens there, if a file that is not a socket is in the
    /// way (it is left alone), if the path is longer than 103 bytes, or if a system call fails.
    explicit ListeningSocket(std::string path);
    ListeningSocket(const ListeningSocket&) = delete;
    ListeningSocket& operator=(const ListeningSocket&) = delete;
    ~ListeningSocket();

    /// Returns the non-blocking socket; `accept` fails with EAGAIN if no connection is waiting.
    [[nodiscard]] int descriptor() const noexcept { return socket_.get(); }
    [[nodiscard]] const std::string& path() const noexcept { return path_; }

private:
    std::string path_;
    MCPStdio::Descriptor socket_;
    dev_t device_ = 0;
    ino_t inode_ = 0;
};

} // namespace velmiro::host
