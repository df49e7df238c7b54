#pragma once

#include "MCPStdio/transport/Descriptor.hpp"

#include <sys/types.h>

#include <string>

namespace velmiro::host {

/// A local stream socket that listens at a path in the file system, and the file that stands for
/// it.
///
/// The folder is made with mode 0700 when it is missing, its parents too; the file has mode 0600
/// from its first moment. A file that an ended host left behind is replaced. The file is removed
/// with this object, unless it is no longer the one made here.
class ListeningSocket {
public:
    /// Throws HostError when something listens there already, when a file that is no socket is in
    /// the way (it is left alone), when the path has more than 103 bytes, or when the system says
    /// no.
    explicit ListeningSocket(std::string path);
    ListeningSocket(const ListeningSocket&) = delete;
    ListeningSocket& operator=(const ListeningSocket&) = delete;
    ~ListeningSocket();

    /// Does not block; `accept` gives EAGAIN when nobody waits.
    [[nodiscard]] int descriptor() const noexcept { return socket_.get(); }
    [[nodiscard]] const std::string& path() const noexcept { return path_; }

private:
    std::string path_;
    MCPStdio::Descriptor socket_;
    dev_t device_ = 0;
    ino_t inode_ = 0;
};

} // namespace velmiro::host
