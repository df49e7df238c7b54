#pragma once

#include "osascript/dictionary/Class.hpp"
#include "osascript/mail/MessageFile.hpp"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmiro::osascript {

class InboxListing;

/// A message of the inbox. Nothing of it is read before it is asked for. Its functions throw
/// noObject() if it is gone, and std::system_error if the machine failed.
class Message final : public Object {
public:
    Message() = default; ///< only to be assigned a place in a listing
    void place(InboxListing& listing, MaildirNames::Index index);

    [[nodiscard]] const Class& type() const noexcept override;

    [[nodiscard]] std::string_view unique() const { return name_.unique(); }

    [[nodiscard]] double id();
    [[nodiscard]] std::string subject();
    [[nodiscard]] std::string sender();
    [[nodiscard]] std::optional<Date> dateReceived(); ///< nullopt if it is gone
    [[nodiscard]] std::optional<Date> dateSent();     ///< nullopt if the header has no such date
    [[nodiscard]] bool readStatus() const;
    [[nodiscard]] std::string messageId();
    [[nodiscard]] std::string content();
    [[nodiscard]] Objects toRecipients() { return recipients("to"); }
    [[nodiscard]] Objects ccRecipients() { return recipients("cc"); }

    /// Decides a condition on the date received by the name of the file or else the time of its
    /// last change: no message was received after either. Nullopt if its header has to be read.
    [[nodiscard]] std::optional<bool> decideDateReceived(const Condition& condition);

private:
    [[nodiscard]] double latestByName() const;
    [[nodiscard]] std::optional<std::string_view> readHeader();
    [[nodiscard]] std::string_view header();
    [[nodiscard]] Objects recipients(std::string_view field);

    InboxListing* listing_ = nullptr;
    MessageName name_;
    MaildirNames::Index index_ = 0;
    std::optional<double> received_; ///< once it is known
    std::unique_ptr<std::string> header_;
};

/// The messages of the inbox as they were at one moment, or the one with a number, without those
/// that are drafts or thrown away. Lives as long as one of its messages is referred to.
class InboxListing : public std::enable_shared_from_this<InboxListing> {
public:
    /// Lists the messages: all, or if a number is wanted, the one that has it.
    explicit InboxListing(const std::string& maildir, std::optional<std::uint64_t> wanted = {});

    [[nodiscard]] Objects messages();

private:
    friend class Message;

    /// Messages keep this much of what was read, in bytes; what is beyond is read again.
    static constexpr std::size_t mostKept = 4UL << 20;

    [[nodiscard]] bool isInInbox(MaildirNames::Index index) const;
    [[nodiscard]] bool isWanted(MaildirNames::Index index) const;

    std::optional<std::uint64_t> wanted_;
    double time_; ///< of the listing, in milliseconds since 1970
    MessageFiles files_;
    std::vector<Message> messages_;
    std::string buffer_; ///< for one header after the other
    std::size_t kept_ = 0;
};

/// The inbox: `Mail/new` and `Mail/cur`. Each look at its messages lists them anew.
class Inbox final : public Object {
public:
    [[nodiscard]] const Class& type() const noexcept override;

    [[nodiscard]] static Objects messages();
    [[nodiscard]] static std::optional<Objects> find(std::string_view property, const Value& value);

    /// Puts messages in the order in which scripts see them: the latest received first, of equal
    /// dates the lesser name. Drops those that are gone.
    static void arrange(Objects& messages);
};

} // namespace velmiro::osascript
