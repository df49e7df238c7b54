#include "demo/Transcript.hpp"

#include "demo/Lines.hpp"

#include <unistd.h>

#include <cstdlib>
#include <iostream>

namespace velmiro::demo {

namespace {

constexpr std::string_view margin = "        ";

struct Look {
    const char* name;
    const char* colour;
};

Look lookOf(Transcript::Speaker speaker) {
    switch (speaker) {
    case Transcript::Speaker::agent:
        return {"agent", "36"};
    case Transcript::Speaker::server:
        return {"server", "32"};
    case Transcript::Speaker::host:
        break;
    }
    return {"host", "33"};
}

} // namespace

Transcript::Transcript() : hasColour_{::isatty(STDOUT_FILENO) == 1} {
    const char* terminal = std::getenv("TERM");
    if (terminal == nullptr || std::string_view{terminal} == "dumb" ||
        std::getenv("NO_COLOR") != nullptr) {
        hasColour_ = false;
    }
}

void Transcript::heading(std::string_view text) {
    std::cout << (hasBegun_ ? "\n" : "") << styled("1", fitted(text, screenColumns)) << '\n'
              << std::flush;
    hasBegun_ = true;
}

void Transcript::note(std::string_view text) const {
    std::cout << styled("2", fitted(text, screenColumns)) << '\n' << std::flush;
}

void Transcript::say(Speaker speaker, std::string_view text) const {
    std::cout << lines(speaker, text) << '\n' << std::flush;
}

void Transcript::ask(Speaker speaker, std::string_view text) const {
    std::cout << lines(speaker, text) << std::flush;
}

void Transcript::answer(std::string_view text) const {
    std::cout << styled("35", text) << '\n' << std::flush;
}

void Transcript::verbatim(std::string_view text) const {
    std::cout << text << std::flush;
}

std::string Transcript::styled(const char* code, std::string_view text) const {
    return hasColour_ ? "\033[" + std::string{code} + 'm' + std::string{text} + "\033[0m"
                      : std::string{text};
}

std::string Transcript::lines(Speaker speaker, std::string_view text) const {
    const auto [name, colour] = lookOf(speaker);
    std::string indented = styled(colour, name);
    indented.append(margin.size() - std::string_view{name}.size(), ' ');
    for (const char byte : fitted(text, screenColumns - margin.size(), 2)) {
        indented += byte;
        if (byte == '\n') {
            indented += margin;
        }
    }
    return indented;
}

} // namespace velmiro::demo
