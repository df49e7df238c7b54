#pragma once

#include <string>
#include <string_view>

namespace velmiro::demo {

/// Prints who says what, for a person; in colour on a terminal that knows colour.
class Transcript {
public:
    enum class Speaker { agent, server, host, user };

    Transcript();

    /// What is going on, before it goes on.
    void heading(std::string_view text) const;
    void note(std::string_view text) const;

    /// Lines of one speaker, whose name stands before the first.
    void say(Speaker speaker, std::string_view text) const;
    /// The same without the end of the line: somebody types the rest.
    void ask(Speaker speaker, std::string_view text) const;

private:
    [[nodiscard]] std::string styled(const char* code, std::string_view text) const;
    [[nodiscard]] std::string lines(Speaker speaker, std::string_view text) const;

    bool hasColour_;
};

} // namespace velmiro::demo
