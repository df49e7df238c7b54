#pragma once

#include "osascript/dictionary/Class.hpp"
#include "osascript/drafts/Mailbox.hpp"

#include <utility>

namespace velmiro::osascript {

/// A sender or recipient as scripts see it.
class Recipient final : public Object {
public:
    Recipient() = default;
    explicit Recipient(Mailbox given) : mailbox{std::move(given)} {}

    [[nodiscard]] const Class& type() const noexcept override;

    Mailbox mailbox;
};

} // namespace velmiro::osascript
