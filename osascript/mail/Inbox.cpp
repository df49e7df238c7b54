#include "osascript/mail/Inbox.hpp"

#include "osascript/mail/Header.hpp"
#include "osascript/mail/HeaderDate.hpp"
#include "osascript/mail/MessageReader.hpp"
#include "osascript/mail/Recipient.hpp"
#include "velmiro_mcp/platform/local/files/LocalFolders.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace velmiro::osascript {
namespace {

using MCPStdio::Descriptor;

double now() {
    const auto since1970 = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<double>(since1970 / std::chrono::milliseconds{1});
}

/// Returns the number of a message, if it can be one's.
std::optional<std::uint64_t> wholeNumber(double number) {
    if (!(number >= 1 && number <= static_cast<double>(largestNumber)) ||
        std::floor(number) != number) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(number);
}

/// Decides a condition on a date of which only an upper bound is known.
std::optional<bool> decide(Operator operation, double latest, double wanted) {
    switch (operation) {
    case Operator::greater:
        return latest <= wanted ? std::optional{false} : std::nullopt;
    case Operator::greaterOrEqual:
    case Operator::equal:
        return latest < wanted ? std::optional{false} : std::nullopt;
    case Operator::less:
        return latest < wanted ? std::optional{true} : std::nullopt;
    case Operator::lessOrEqual:
        return latest <= wanted ? std::optional{true} : std::nullopt;
    default:
        return std::nullopt;
    }
}

/// Returns a mailbox as a reader of mail sees it.
std::string shown(const Mailbox& mailbox) {
    return mailbox.name.empty()      ? mailbox.address
           : mailbox.address.empty() ? mailbox.name
                                     : mailbox.name + " <" + mailbox.address + ">";
}

} // namespace

void Message::place(InboxListing& listing, MaildirNames::Index index) {
    listing_ = &listing;
    name_ = listing.files_.names()[index];
    index_ = index;
}

double Message::id() {
    return static_cast<double>(listing_->files_.names().numbers().number(index_));
}

std::string Message::subject() {
    return decodedValue(header(), "subject");
}

std::string Message::sender() {
    std::string text;
    for (const Mailbox& mailbox : mailboxesOf(header(), "from")) {
        text += text.empty() ? "" : ", ";
        text += shown(mailbox);
    }
    return text;
}

std::optional<Date> Message::dateReceived() {
    if (!received_) {
        const auto written = listing_->files_.written(name_);
        const auto read = written ? readHeader() : std::nullopt;
        if (!read) {
            return std::nullopt;
        }
        received_ = receivedDate(*read, std::min(*written, latestByName()), listing_->time_);
    }
    return Date{*received_};
}

std::optional<Date> Message::dateSent() {
    const auto date = headerDate(firstValue(header(), "date").value_or(""));
    return date ? std::optional{Date{*date}} : std::nullopt;
}

bool Message::readStatus() const {
    return name_.flags().find('S') != std::string_view::npos;
}

std::string Message::messageId() {
    std::string id = decodedValue(header(), "message-id");
    if (id.starts_with('<')) {
        id.erase(0, 1);
    }
    if (id.ends_with('>')) {
        id.pop_back();
    }
    return id;
}

std::string Message::content() {
    const Descriptor file = listing_->files_.open(name_);
    if (!file) {
        throw noObject();
    }
    return messageText(file, installedReader());
}

std::optional<bool> Message::decideDateReceived(const Condition& condition) {
    const auto* const wanted = std::get_if<Date>(&condition.wanted);
    if (wanted == nullptr || received_) {
        return std::nullopt;
    }
    if (const auto byName = decide(condition.operation, latestByName(), wanted->milliseconds)) {
        return byName;
    }
    const auto written = listing_->files_.written(name_);
    return written ? decide(condition.operation, *written, wanted->milliseconds) : false;
}

double Message::latestByName() const {
    return osascript::latestByName(name_.text, listing_->time_);
}

/// Returns the header, valid until the next one is read; nullopt if the message is gone.
std::optional<std::string_view> Message::readHeader() {
    if (header_) {
        return *header_;
    }
    const Descriptor file = listing_->files_.open(name_);
    if (!file) {
        return std::nullopt;
    }
    const std::string_view read = osascript::readHeader(file, listing_->buffer_);
    if (listing_->kept_ + read.size() > InboxListing::mostKept) {
        return read;
    }
    listing_->kept_ += read.size();
    header_ = std::make_unique<std::string>(read);
    return *header_;
}

std::string_view Message::header() {
    const auto read = readHeader();
    if (!read) {
        throw noObject();
    }
    return *read;
}

Objects Message::recipients(std::string_view field) {
    Objects objects;
    for (Mailbox& mailbox : mailboxesOf(header(), field)) {
        if (mailbox.address.empty()) {
            mailbox.address.swap(mailbox.name);
        }
        objects.push_back(std::make_shared<Recipient>(std::move(mailbox)));
    }
    return objects;
}

InboxListing::InboxListing(const std::string& maildir, std::optional<std::uint64_t> wanted)
    : wanted_{wanted},
      time_{now()},
      files_{maildir, wanted} {}

bool InboxListing::isInInbox(MaildirNames::Index index) const {
    return files_.names()[index].flags().find_first_of("DT") == std::string_view::npos;
}

bool InboxListing::isWanted(MaildirNames::Index index) const {
    return !wanted_ || files_.names().numbers().number(index) == *wanted_;
}

Objects InboxListing::messages() {
    const auto count = static_cast<MaildirNames::Index>(files_.names().size());
    messages_ = std::vector<Message>(count);
    const auto self = shared_from_this();
    Objects objects;
    objects.reserve(count);
    for (MaildirNames::Index index = 0; index < count; ++index) {
        if (isWanted(index) && isInInbox(index)) {
            messages_[index].place(*this, index);
            objects.emplace_back(self, &messages_[index]);
        }
    }
    return objects;
}

Objects Inbox::messages() {
    return std::make_shared<InboxListing>(local::dataFolder("Mail"))->messages();
}

std::optional<Objects> Inbox::find(std::string_view property, const Value& value) {
    if (property != "id") {
        return std::nullopt;
    }
    const auto* const given = std::get_if<double>(&value);
    const auto number = given != nullptr ? wholeNumber(*given) : std::nullopt;
    if (!number) {
        return Objects{};
    }
    return std::make_shared<InboxListing>(local::dataFolder("Mail"), number)->messages();
}

void Inbox::arrange(Objects& messages) {
    struct Dated {
        double received;
        Message* message;
        ObjectPointer object;
    };
    std::vector<Dated> dated;
    dated.reserve(messages.size());
    for (ObjectPointer& object : messages) {
        auto& message = static_cast<Message&>(*object);
        if (const auto received = message.dateReceived()) {
            dated.push_back({received->milliseconds, &message, std::move(object)});
        }
    }
    std::ranges::sort(dated, [](const Dated& one, const Dated& other) {
        return one.received != other.received ? one.received > other.received
                                              : one.message->unique() < other.message->unique();
    });
    messages.clear();
    for (Dated& one : dated) {
        messages.push_back(std::move(one.object));
    }
}

} // namespace velmiro::osascript
