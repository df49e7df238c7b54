#pragma once

#include "MCPStdio/transport/Descriptor.hpp"
#include "osascript/mail/MaildirNames.hpp"

#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace velmiro::osascript {

/// The files of a Maildir's messages, as it was listed once. Other programs rename and remove them
/// at any moment: a file that is not where it was is looked for by the unique part of its name.
///
/// A function that is given a name changes it if the message was found under another one. Each
/// throws std::system_error if the machine failed, which says nothing about the message.
class MessageFiles {
public:
    /// If a number is wanted, those messages may be left out that do not matter for who has it.
    explicit MessageFiles(std::string maildir, std::optional<std::uint64_t> wanted = {});

    /// The messages when they were listed first.
    [[nodiscard]] const MaildirNames& names() const noexcept { return first_; }

    /// Returns when a message's file was written, in milliseconds since 1970; nullopt if it is
    /// gone, or is no regular file.
    std::optional<double> written(MessageName& name);

    /// Opens a message's file; none if it is gone, is no regular file, or may not be read.
    MCPStdio::Descriptor open(MessageName& name);

private:
    template <typename Look>
    bool isFound(MessageName& name, const Look& look);
    bool findAgain(MessageName& name);

    std::string maildir_;
    std::optional<std::uint64_t> wanted_;
    MaildirNames first_;
    std::unique_ptr<MaildirNames> latest_; ///< null unless a message was looked for again
    std::deque<std::string> renamed_;      ///< the names of those that were found
};

/// Appends to `bytes`, which holds the beginning of a file and fewer than `most` bytes, some that
/// come after, but not more than `most` in all. Returns whether there may be more to append. Throws
/// std::system_error if the file cannot be read.
bool readMore(const MCPStdio::Descriptor& file, std::size_t most, std::string& bytes);

/// Reads the header of a message into a buffer, and returns it. Throws likewise.
std::string_view readHeader(const MCPStdio::Descriptor& message, std::string& buffer);

} // namespace velmiro::osascript
