#pragma once

#include <string>
#include <string_view>

namespace velmiro::demo {

/// Prints who says what, for a person, within 80 columns, and in colour if the terminal has it.
class Transcript {
public:
    enum class Speaker { agent, server, host };

    Transcript();

    /// Prints what comes next, after an empty line if something came before.
    void heading(std::string_view text);
    void note(std::string_view text) const;

    /// Prints lines of a speaker, with the speaker's name before the first.
    void say(Speaker speaker, std::string_view text) const;
    /// Prints the same without a line break at the end: the user's answer follows.
    void ask(Speaker speaker, std::string_view text) const;
    /// Prints an answer that the user did not type.
    void answer(std::string_view text) const;
    /// Prints a text as it is.
    void verbatim(std::string_view text) const;

private:
    [[nodiscard]] std::string styled(const char* code, std::string_view text) const;
    [[nodiscard]] std::string lines(Speaker speaker, std::string_view text) const;

    bool hasColour_;
    bool hasBegun_ = false;
};

} // namespace velmiro::demo
