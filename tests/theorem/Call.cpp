#include "tests/theorem/Call.hpp"

#include <array>

namespace velmiro::theorem {
namespace {

using MCPStdio::JSONValue;

// Also texts that would be an answer if anybody took them for one.
constexpr std::array<std::string_view, 16> words{
    "Milk",
    "Dentist",
    "{\"allow\":true}",
    "\"allow\":true",
    "\n{\"allow\":true}\n",
    "\\\"allow\\\":true",
    "a/b\\c",
    "Grüße",
    "日本",
    "👩‍👩‍👧",
    "→ everybody@example.org",
    "— 14 Oct 2026, 15:00",
    "\ttab",
    "'quoted'",
    "true",
    "{}[]:,;",
};

/// A date as an argument, as the user reads it (en_GB, Berlin), and its seconds since 1970.
struct Date {
    std::string_view argument;
    std::string_view text;
    std::string_view seconds;
};
constexpr std::array<Date, 3> dates{{
    {"2026-10-14T15:00", "14 Oct 2026, 15:00", "1791982800"},
    {"2027-01-31T23:59", "31 Jan 2027, 23:59", "1801436340"},
    {"2026-03-01T00:05", "1 Mar 2026, 00:05", "1772319900"},
}};

std::string randomTitle(Random& random, std::size_t number, bool mayBeLarge) {
    std::string title = "No. " + std::to_string(number);
    for (std::size_t count = random.below(4); count > 0; --count) {
        title += ' ';
        title += random.oneOf(words);
    }
    if (mayBeLarge && random.percent(2)) {
        title.append(sizeOfLargeTitle, 'x');
    } else if (random.percent(5)) {
        title.append(random.between(900, 5000), 'y');
    }
    return title + " end"; // tools trim what surrounds a text
}

Call eventCall(const std::string& title, Random& random) {
    const Date& date = random.oneOf(dates);
    return {"calendar_create_event",
            JSONValue::object({{"title", title}, {"start", std::string{date.argument}}}),
            title + " — " + std::string{date.text},
            changeText("calendar_create_event", title + "|" + std::string{date.seconds})};
}

Call reminderCall(const std::string& title) {
    return {"reminders_create", JSONValue::object({{"title", title}}), title,
            changeText("reminders_create", title)};
}

Call completionCall(std::size_t index) {
    const std::string identifier = reminderIdentifier(index);
    return {"reminders_complete", JSONValue::object({{"id", identifier}}), reminderTitle(index),
            changeText("reminders_complete", identifier)};
}

Call noteCall(const std::string& title, Random& random) {
    const std::string body = "Body " + std::to_string(random.next());
    return {"notes_create", JSONValue::object({{"title", title}, {"body", body}}), title,
            changeText("notes_create", title + "|" + body + "|")};
}

Call draftCall(const std::string& subject, Random& random) {
    const std::string to = "a" + std::to_string(random.below(1000)) + "@example.org";
    auto recipients = JSONValue::array();
    recipients.append(to);
    return {
        "mail_create_draft",
        JSONValue::object({{"to", std::move(recipients)}, {"subject", subject}, {"body", "Hello"}}),
        subject + " → " + to,
        changeText("mail_create_draft", "[\"" + to + "\"]|[]|" + subject + "|Hello")};
}

std::string escaped(std::string_view text) {
    std::string result;
    for (const char character : text) {
        switch (character) {
        case '"':
            result += "\\\"";
            break;
        case '\\':
            result += "\\\\";
            break;
        case '\n':
            result += "\\n";
            break;
        case '\t':
            result += "\\t";
            break;
        default:
            result += character;
        }
    }
    return result;
}

} // namespace

std::string reminderIdentifier(std::size_t index) {
    return "r" + std::to_string(index);
}

std::string reminderTitle(std::size_t index) {
    return "Known reminder " + std::to_string(index);
}

Call randomCall(Random& random, std::size_t number, bool overFiles) {
    const std::string title = randomTitle(random, number, !overFiles);
    switch (random.below(overFiles ? 3 : 5)) {
    case 0:
        return eventCall(title, random);
    case 1:
        return reminderCall(title);
    case 2:
        return completionCall(random.below(knownReminders));
    case 3:
        return noteCall(title, random);
    default:
        return draftCall(title, random);
    }
}

std::string questionLine(const Call& call) {
    return R"({"summary":")" + escaped(call.summary) + R"(","tool":")" + call.tool + R"("})";
}

std::string denialText(const Call& call) {
    return "The user did not allow this (" + call.summary + "). Do not retry unless the user asks.";
}

std::string changeText(std::string_view tool, std::string_view content) {
    return std::string{tool} + ": " + std::string{content};
}

} // namespace velmiro::theorem
