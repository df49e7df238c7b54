#include "demo/ResultTexts.hpp"

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <vector>

namespace velmiro::demo {

namespace {

using MCPStdio::JSONValue;

std::string textOf(const JSONValue& record, const char* name) {
    const auto* member = record[name];
    return std::string{member == nullptr ? "" : member->stringValue().value_or("")};
}

/// Returns 2026-10-14T15:00:00+02:00 as "Wed 14 Oct".
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

bool isTrue(const JSONValue& record, const char* name) {
    const auto* member = record[name];
    return member != nullptr && member->boolValue().value_or(false);
}

std::vector<JSONValue> elementsOf(const JSONValue& list) {
    std::vector<JSONValue> elements;
    if (const auto found = list.arrayValue()) {
        elements.assign(found->begin(), found->end());
    }
    return elements;
}

std::string lines(const JSONValue& records,
                  const std::function<std::string(const JSONValue&)>& describe) {
    std::string text;
    for (const JSONValue& record : elementsOf(records)) {
        text += (text.empty() ? "" : "\n") + describe(record);
    }
    return text.empty() ? "(nothing)" : text;
}

std::string joined(const JSONValue& record, const char* name) {
    std::string text;
    const auto* member = record[name];
    for (const JSONValue& element : elementsOf(member == nullptr ? JSONValue{} : *member)) {
        text += (text.empty() ? "" : ", ") + std::string{element.stringValue().value_or("")};
    }
    return text;
}

} // namespace

std::string agenda(const JSONValue& events, Detail detail) {
    return lines(events, [&](const JSONValue& record) {
        const std::string start = textOf(record, "start");
        std::string text =
            shortDay(start) + "  " +
            (isTrue(record, "all_day") ? "all day    "
                                       : clockOf(start) + "–" + clockOf(textOf(record, "end"))) +
            "  " + textOf(record, "title") + "  [" + textOf(record, "calendar") + ']';
        if (detail == Detail::brief) {
            return text;
        }
        for (const char* name : {"location", "notes"}) {
            std::istringstream details{textOf(record, name)};
            for (std::string line; std::getline(details, line);) {
                text += "\n                         " + line;
            }
        }
        return text;
    });
}

std::string checklist(const JSONValue& reminders) {
    return lines(reminders, [](const JSONValue& record) {
        const std::string due = textOf(record, "due");
        return (isTrue(record, "completed") ? "[x] " : "[ ] ") + textOf(record, "title") + "  [" +
               textOf(record, "list") + ']' +
               (due.empty() ? "" : "  due " + shortDay(due) + ' ' + clockOf(due));
    });
}

std::string people(const JSONValue& contacts, Detail detail) {
    return lines(contacts, [&](const JSONValue& record) {
        std::string text = textOf(record, "name");
        const std::string organization = textOf(record, "organization");
        if (!organization.empty()) {
            text += (text.empty() ? "" : ", ") + organization;
        }
        for (const char* name : {"emails", "phones"}) {
            const std::string found = joined(record, name);
            text += found.empty() ? "" : (detail == Detail::all ? "\n    " : ", ") + found;
        }
        return text;
    });
}

std::string noteList(const JSONValue& notes, Detail detail) {
    return lines(notes, [&](const JSONValue& record) {
        return textOf(record, "name") + "  [" + textOf(record, "folder") + ']' +
               (detail == Detail::all ? '\n' + indented(textOf(record, "snippet")) : "");
    });
}

std::string inbox(const JSONValue& messages) {
    return lines(messages, [](const JSONValue& record) {
        return (isTrue(record, "read") ? "  " : "● ") + textOf(record, "subject") + "  — " +
               textOf(record, "sender");
    });
}

std::string withoutId(const JSONValue& result) {
    std::string text = result.jsonString();
    const auto* id = result["id"];
    if (const auto found = id == nullptr ? std::nullopt : id->stringValue()) {
        const auto at = text.find(*found);
        text.replace(at, found->size(), "…");
    }
    return text;
}

std::string componentOf(const std::string& file, const std::string& name) {
    std::istringstream all{file};
    std::string text;
    bool isInside = false;
    for (std::string line; std::getline(all, line);) {
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        isInside = isInside || line == "BEGIN:" + name;
        if (isInside) {
            text += (text.empty() ? "" : "\n") + line;
        }
        if (line == "END:" + name) {
            break;
        }
    }
    return indented(text);
}

std::string indented(const std::string& text) {
    std::istringstream all{text};
    std::string moved;
    for (std::string line; std::getline(all, line);) {
        moved += (moved.empty() ? "    " : "\n    ") + line;
    }
    return moved;
}

} // namespace velmiro::demo
