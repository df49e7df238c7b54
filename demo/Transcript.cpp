#include "demo/Transcript.hpp"

#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>

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
        return {"host", "33"};
    case Transcript::Speaker::user:
        break;
    }
    return {"user", "35"};
}

std::string textOf(const MCPStdio::JSONValue& record, const char* name) {
    const auto* member = record[name];
    return std::string{member == nullptr ? "" : member->stringValue().value_or("")};
}

/// 2026-10-14T15:00:00+02:00 as "Wed 14 Oct"
std::string shortDay(const std::string& date) {
    static constexpr std::array<const char*, 7> weekdays{"Sun", "Mon", "Tue", "Wed",
                                                         "Thu", "Fri", "Sat"};
    static constexpr std::array<const char*, 12> months{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::chrono::year_month_day day{
        std::chrono::year{std::atoi(date.substr(0, 4).c_str())},
        std::chrono::month{static_cast<unsigned>(std::atoi(date.substr(5, 2).c_str()))},
        std::chrono::day{static_cast<unsigned>(std::atoi(date.substr(8, 2).c_str()))}};
    if (!day.ok()) {
        return date;
    }
    const std::chrono::weekday weekday{std::chrono::sys_days{day}};
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%s %2u %s", weekdays.at(weekday.c_encoding()),
                  static_cast<unsigned>(day.day()),
                  months.at(static_cast<unsigned>(day.month()) - 1));
    return text.data();
}

std::string clockOf(const std::string& date) {
    return date.size() < 16 ? date : date.substr(11, 5);
}

} // namespace

Transcript::Transcript() : hasColour_{::isatty(STDOUT_FILENO) == 1} {
    const char* terminal = std::getenv("TERM");
    if (terminal == nullptr || std::string_view{terminal} == "dumb" ||
        std::getenv("NO_COLOR") != nullptr) {
        hasColour_ = false;
    }
}

void Transcript::heading(std::string_view text) const {
    std::cout << '\n' << styled("1", text) << "\n\n" << std::flush;
}

void Transcript::note(std::string_view text) const {
    std::cout << styled("2", text) << '\n' << std::flush;
}

void Transcript::say(Speaker speaker, std::string_view text) const {
    std::cout << lines(speaker, text) << '\n' << std::flush;
}

void Transcript::ask(Speaker speaker, std::string_view text) const {
    std::cout << lines(speaker, text) << std::flush;
}

std::string Transcript::styled(const char* code, std::string_view text) const {
    return hasColour_ ? "\033[" + std::string{code} + 'm' + std::string{text} + "\033[0m"
                      : std::string{text};
}

std::string Transcript::lines(Speaker speaker, std::string_view text) const {
    const auto [name, colour] = lookOf(speaker);
    std::string indented = styled(colour, name);
    indented.append(margin.size() - std::string_view{name}.size(), ' ');
    for (const char byte : text) {
        indented += byte;
        if (byte == '\n') {
            indented += margin;
        }
    }
    return indented;
}

std::string agenda(const MCPStdio::JSONValue& events) {
    const auto records = events.arrayValue();
    if (!records || records->empty()) {
        return "(nothing)";
    }
    std::string text;
    for (const auto& record : *records) {
        const std::string start = textOf(record, "start");
        const auto* allDay = record["all_day"];
        const bool isAllDay = allDay != nullptr && allDay->boolValue().value_or(false);
        text += text.empty() ? "" : "\n";
        text += shortDay(start) + "  " +
                (isAllDay ? "all day    " : clockOf(start) + "–" + clockOf(textOf(record, "end"))) +
                "  " + textOf(record, "title") + "  [" + textOf(record, "calendar") + ']';
        for (const char* detail : {"location", "notes"}) {
            std::istringstream lines{textOf(record, detail)};
            for (std::string line; std::getline(lines, line);) {
                text += "\n                         " + line;
            }
        }
    }
    return text;
}

} // namespace velmiro::demo
