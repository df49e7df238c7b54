#include "bench/json/Inputs.hpp"

#include <array>
#include <charconv>
#include <cstdint>
#include <random>
#include <string_view>

namespace velmiro::bench {
namespace {

constexpr std::string_view request =
    R"({"jsonrpc":"2.0","id":7,"method":"tools/call","params":{"name":"list_events","arguments":)"
    R"({"from":"2026-03-01","to":"2026-03-31","calendar":"Gym"}}})";
static_assert(request.size() == 147);

/// Makes the same sequence everywhere, unlike the distributions of the standard library.
class Dice {
public:
    std::size_t below(std::size_t bound) { return static_cast<std::size_t>(engine_() % bound); }
    double between(double low, double high) {
        return low + (high - low) * (static_cast<double>(engine_() >> 11U) * 0x1p-53);
    }
    template <typename Choices>
    auto oneOf(const Choices& choices) {
        return choices[below(choices.size())];
    }

private:
    std::mt19937_64 engine_{20'260'301}; // NOLINT(*-msc51-cpp): the same in every run
};

std::string quoted(std::string_view text) {
    return '"' + std::string{text} + '"';
}

std::string twoDigits(std::size_t number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
}

std::string toolsList() {
    struct Tool {
        std::string_view name;
        std::string_view description;
        std::array<std::string_view, 4> parameters;
    };
    constexpr std::array<Tool, 11> tools{{
        {"calendar_list_events",
         "List the events of the user's calendars between two dates, oldest first.",
         {"from", "to", "calendar", "limit"}},
        {"calendar_create_event",
         "Create an event in one of the user's calendars, after asking the user.",
         {"title", "start", "end", "location"}},
        {"reminders_list",
         "List the user's reminders, open ones first, optionally of one list only.",
         {"list", "completed", "due_before", "limit"}},
        {"reminders_create",
         "Create a reminder with an optional due date, after asking the user.",
         {"title", "list", "due", "notes"}},
        {"reminders_complete",
         "Mark a reminder as completed, by its identifier, after asking the user.",
         {"id", "list", "completed_at", "note"}},
        {"contacts_search",
         "Find people by a part of their name, their e-mail address or phone number.",
         {"query", "fields", "group", "limit"}},
        {"notes_search",
         "Find notes whose title or text contains the words given, newest first.",
         {"query", "folder", "since", "limit"}},
        {"notes_read",
         "Read one note as plain text, by its title and the folder it lies in.",
         {"title", "folder", "from", "length"}},
        {"notes_create",
         "Create a note with a title and a body, after asking the user.",
         {"title", "body", "folder", "tags"}},
        {"mail_search",
         "Find messages in the inbox by sender, subject or text, newest first.",
         {"query", "sender", "since", "limit"}},
        {"mail_create_draft",
         "Create a draft of a message that the user can check and send.",
         {"to", "subject", "body", "cc"}},
    }};
    std::string text{R"({"jsonrpc":"2.0","id":2,"result":{"tools":[)"};
    for (const Tool& tool : tools) {
        text += R"({"name":)" + quoted(tool.name) + R"(,"description":)" +
                quoted(tool.description) + R"(,"inputSchema":{"type":"object","properties":{)";
        for (const std::string_view parameter : tool.parameters) {
            const bool whole = parameter == "limit" || parameter == "length";
            text += quoted(parameter) + R"(:{"type":)" + quoted(whole ? "integer" : "string") +
                    R"(,"description":"The )" + std::string{parameter} +
                    R"( to use; when it is left out, all are meant.")" +
                    (whole ? R"(,"minimum":1,"maximum":500},)" : "},");
        }
        text.back() = '}';
        text += R"(,"required":[)" + quoted(tool.parameters.front()) +
                R"(],"additionalProperties":false},"annotations":{"readOnlyHint":true,)"
                R"("destructiveHint":false}},)";
    }
    text.pop_back();
    return text + "]}}";
}

std::string eventRecords() {
    constexpr std::array titles{"Team meeting", "Dentist", "Lunch with Ada \\\"Countess\\\" Byron",
                                "Review of the quarterly figures", "Flight to Lisboa, gate B12"};
    constexpr std::array places{"Room 4.12", "Hauptstraße 7, 10827 Berlin", "Café Zoë", "",
                                "https://meet.example.com/j/83920174"};
    constexpr std::array people{"ada@example.com", "grace@example.org", "alan@example.net",
                                "edsger@example.com", "barbara@example.org"};
    Dice dice;
    std::string text{"{\n  \"events\": ["};
    for (std::size_t i = 0; i < 4000; ++i) {
        const std::string day = "2026-" + twoDigits(1 + dice.below(12)) + "-" +
                                twoDigits(1 + dice.below(28)) + "T" + twoDigits(dice.below(24));
        text += "\n    {\n      \"id\": \"E1F2A3B4-" + std::to_string(100'000 + i) +
                "-4C5D\",\n      \"title\": " + quoted(dice.oneOf(titles)) +
                ",\n      \"start\": " + quoted(day + ":00:00+01:00") +
                ",\n      \"end\": " + quoted(day + ":45:00+01:00") +
                ",\n      \"allDay\": " + (dice.below(8) == 0 ? "true" : "false") +
                ",\n      \"location\": " + quoted(dice.oneOf(places)) +
                ",\n      \"priority\": " + std::to_string(dice.below(10)) +
                ",\n      \"alarm\": " + (dice.below(2) == 0 ? "null" : "-15") +
                ",\n      \"notes\": \"Please bring the papers.\\nSlides are in the folder "
                "\\\"Q3\\\" of the shared drive.\",\n      \"attendees\": [";
        for (std::size_t j = dice.below(4); j > 0; --j) {
            text += "\n        { \"email\": " + quoted(dice.oneOf(people)) +
                    ", \"accepted\": " + (dice.below(2) == 0 ? "true" : "false") +
                    (j == 1 ? " }\n      " : " },");
        }
        text += "]\n    },";
    }
    text.pop_back();
    return text + "\n  ]\n}\n";
}

std::string coordinates() {
    Dice dice;
    std::string text{R"({"type":"MultiPoint","coordinates":[)"};
    const auto append = [&text](double number) {
        std::array<char, 32> digits{};
        text.append(digits.data(),
                    std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr);
    };
    for (int i = 0; i < 50'000; ++i) {
        text += '[';
        append(dice.between(-180, 180));
        text += ',';
        append(dice.between(-90, 90));
        text += "],";
    }
    text.back() = ']';
    return text + '}';
}

std::string unicodeText() {
    constexpr std::array sentences{
        "Съешь же ещё этих мягких французских булок, да выпей чаю. ",
        "いろはにほへと ちりぬるを わかよたれそ つねならむ。",
        "天地玄黃，宇宙洪荒。日月盈昃，辰宿列張。",
        "Zwölf Boxkämpfer jagen Viktor quer über den großen Sylter Deich. ",
        "نص حكيم له سر قاطع وذو شأن عظيم مكتوب على ثوب أخضر. ",
        "Ξεσκεπάζω την ψυχοφθόρα βδελυγμία. ",
        "Plain letters in between, as there always are. ",
        "👩‍👩‍👧 🎉 🏳️‍🌈 ☕️ ",
        "\\u65e5\\u672c \\ud83d\\ude00\\n",
    };
    Dice dice;
    std::string text{"["};
    for (int i = 0; i < 5000; ++i) {
        text += R"({"título":")" + std::string{dice.oneOf(sentences)} + R"(","本文":")";
        for (std::size_t j = 1 + dice.below(5); j > 0; --j) {
            text += dice.oneOf(sentences);
        }
        text += "\"},";
    }
    text.back() = ']';
    return text;
}

} // namespace

std::vector<Input> inputs() {
    return {
        {"tools list", toolsList()},           {"event records", eventRecords()},
        {"coordinates", coordinates()},        {"Unicode text", unicodeText()},
        {"one request", std::string{request}},
    };
}

} // namespace velmiro::bench
