#pragma once

#include <string>
#include <string_view>

namespace velmiro::demo {

/// Prints who says what, for a person; in colour if the terminal has colours.
class Transcript {
public:
    enum class Speaker { agent, server, host, user };

    Transcript();

    /// Prints what comes next.
    void heading(std::string_view text) const;
    void note(std::string_view text) const;

    /// Prints lines of a speaker, with the speaker's name before the first.
    void say(Speaker speaker, std::string_view text) const;
    /// Prints the same without a line break at the end: somebody types the rest.
    void ask(Speaker speaker, std::string_view text) const;

private:
    [[nodiscard]] std::string styled(const char* code, std::string_view text) const;
    [[nodiscard]] std::string lines(Speaker speaker, std::string_view text) const;

    bool hasColour_;
};

} // namespace velmiro::demo
