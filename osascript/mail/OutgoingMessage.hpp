#pragma once

#include "osascript/dictionary/Class.hpp"

#include <string>

namespace velmiro::osascript {

/// A message that a script composes. It can be saved as a draft, once, and never sent.
class OutgoingMessage final : public Object {
public:
    [[nodiscard]] const Class& type() const noexcept override;

    /// Throws ScriptError if it was saved before, and what `saveDraft` throws.
    void save();

    std::string subject;
    std::string content;
    bool visible = false; ///< there is no window to show
    Objects to;           ///< each a Recipient
    Objects cc;           ///< likewise

private:
    bool isSaved_ = false;
};

} // namespace velmiro::osascript
