#pragma once

#include "osascript/drafts/Mailbox.hpp"

#include <string>
#include <vector>

namespace velmiro::osascript {

/// A message that its user has yet to send. All texts are UTF-8.
struct Draft {
    std::string subject;
    std::string content;
    std::vector<Mailbox> to;
    std::vector<Mailbox> cc;
};

} // namespace velmiro::osascript
