#pragma once

#include <string>

namespace velmiro::osascript {

/// A person in the header of a message, in UTF-8. Either text may be empty.
struct Mailbox {
    std::string name;
    std::string address;
};

} // namespace velmiro::osascript
