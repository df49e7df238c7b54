#pragma once

#include "MCPStdio/transport/Descriptor.hpp"
#include "osascript/mail/NumberedNames.hpp"

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmiro::osascript {

/// Where in a Maildir a message is.
enum class Place : unsigned char {
    fresh,   ///< in `new`: no mail program has seen it
    current, ///< in `cur`
};

/// The name of a message's file: its unique part and, after `:2,`, its flags. Other programs change
/// the flags, and move messages from `new` to `cur`, at any moment.
struct MessageName {
    std::string_view text; ///< followed by a NUL
    std::uint32_t uniqueLength = 0;
    Place place = Place::fresh;

    MessageName() = default;
    MessageName(std::string_view name, Place where);

    [[nodiscard]] std::string_view unique() const { return text.substr(0, uniqueLength); }
    [[nodiscard]] std::string_view flags() const;
};

/// The messages of a Maildir by name, as they were at one moment. No file is looked at.
///
/// Twenty thousand names are two megabytes, in the blocks that the kernel filled.
class MaildirNames {
public:
    using Index = NumberedNames::Index;

    /// Lists `new` and `cur`; a missing folder is empty, a link that leads nowhere is an error. A
    /// message in both counts once, as the one in `cur`; of two names in one folder, the greater
    /// counts. Throws std::system_error, with the folder in its text, if a folder cannot be read.
    ///
    /// If a number is wanted, only those messages are listed that matter for who has it.
    explicit MaildirNames(const std::string& maildir, std::optional<std::uint64_t> wanted = {});

    [[nodiscard]] std::size_t size() const noexcept { return names_.size(); }
    [[nodiscard]] const MessageName& operator[](Index message) const { return names_[message]; }

    /// Unique parts, flags or not, have the same number.
    [[nodiscard]] const NumberedNames& numbers() const noexcept { return uniques_; }

    /// Returns the folder's descriptor; negative if it was missing.
    [[nodiscard]] int folder(Place place) const noexcept {
        return folders_[static_cast<std::size_t>(place)].get();
    }

private:
    using Block = std::unique_ptr<char[]>;

    void list(const std::string& maildir);
    void readNames(Place place);
    [[nodiscard]] bool isListed(const MessageName& name) const;
    void index();
    [[nodiscard]] bool haveChanged() const;

    std::optional<std::uint64_t> wanted_;
    std::array<MCPStdio::Descriptor, 2> folders_;
    std::array<timespec, 2> changed_{}; ///< when the folders were last written, before the listing
    std::vector<Block> blocks_;
    std::vector<MessageName> names_;
    NumberedNames uniques_;
};

} // namespace velmiro::osascript
