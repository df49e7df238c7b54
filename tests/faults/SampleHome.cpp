#include "tests/faults/SampleHome.hpp"

#include "support/Files.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

namespace velmiro::test {
namespace {

namespace fs = std::filesystem;

std::string calendarFile(const std::string& component) {
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//t//EN\r\n" + component +
           "END:VCALENDAR\r\n";
}

std::string event(const std::string& uid, const std::string& lines) {
    return calendarFile("BEGIN:VEVENT\r\nUID:" + uid + "\r\nDTSTAMP:20260901T080000Z\r\n" + lines +
                        "END:VEVENT\r\n");
}

std::string reminder(const std::string& uid, const std::string& lines) {
    return calendarFile("BEGIN:VTODO\r\nUID:" + uid + "\r\nDTSTAMP:20260901T080000Z\r\n" + lines +
                        "END:VTODO\r\n");
}

/// The messages are an hour old: the tools list recent ones only.
std::time_t timeOfMessages() {
    static const std::time_t time = std::time(nullptr) - 3600;
    return time;
}

std::string deliveryTime() {
    return std::to_string(timeOfMessages());
}

std::string messageDate() {
    const std::time_t time = timeOfMessages();
    std::tm parts{};
    ::gmtime_r(&time, &parts);
    std::array<char, 64> text{};
    std::strftime(text.data(), text.size(), "%a, %d %b %Y %H:%M:%S +0000", &parts);
    return text.data();
}

std::string message(const std::string& subject) {
    return "From: Anna Berg <anna@example.org>\r\nTo: me@example.org\r\nSubject: " + subject +
           "\r\nDate: " + messageDate() + "\r\nMessage-ID: <" + subject +
           "@example.org>\r\nContent-Type: text/plain; charset=utf-8\r\n\r\nSix o'clock.\r\n";
}

std::vector<std::pair<std::string, std::string>> sampleFiles() {
    return {
        {"Calendars/home/displayname", "Home\n"},
        {"Calendars/home/zahnarzt.ics",
         event("zahnarzt", "DTSTART;TZID=Europe/Berlin:20261014T150000\r\nDURATION:PT1H\r\n"
                           "SUMMARY:Zahnarzt\r\n")},
        {"Calendars/work/weekly.ics",
         event("weekly", "DTSTART;TZID=America/New_York:20260902T090000\r\nDURATION:PT1H\r\n"
                         "RRULE:FREQ=WEEKLY\r\nSUMMARY:Weekly\r\n")},
        {"Reminders/errands/bread.ics", reminder("bread", "SUMMARY:Bread\r\nPRIORITY:5\r\n")},
        {"Reminders/errands/water.ics",
         reminder("water", "DUE:20261014T080000Z\r\nRRULE:FREQ=WEEKLY\r\nSUMMARY:Water\r\n")},
        {"Contacts/anna.vcf", "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Anna Berg\r\nN:Berg;Anna;;;\r\n"
                              "EMAIL:anna@example.org\r\nEND:VCARD\r\n"},
        {"Contacts/club/annette.vcf",
         "BEGIN:VCARD\r\nVERSION:4.0\r\nFN:Annette Tal\r\nN:Tal;Annette;;;\r\nEND:VCARD\r\n"},
        {"Notes/Home/bread.md", "# Bread\n\n- flour, 500 g\n- **salt**\n"},
        {"Notes/Work/plan.md", "# Plan\n\nBake bread & rest.\n"},
        {"Mail/cur/" + deliveryTime() + ".M1P1.host:2,S", message("supper")},
        {"Mail/new/" + deliveryTime() + ".M2P2.host", message("lunch")},
    };
}

bool startsWithAny(std::string_view line, const auto& beginnings) {
    return std::ranges::any_of(
        beginnings, [line](std::string_view beginning) { return line.starts_with(beginning); });
}

/// Returns the contents without the values that differ from run to run.
std::string settled(const std::string& contents) {
    constexpr std::array varying{
        "UID:",  "DTSTAMP:",    "CREATED:",    "LAST-MODIFIED:", "COMPLETED:",
        "Date:", "Message-ID:", "Message-Id:", "RECURRENCE-ID:"};
    std::istringstream lines{contents};
    std::string result;
    for (std::string line; std::getline(lines, line);) {
        result += startsWithAny(line, varying) ? line.substr(0, line.find(':')) + ":…" : line;
        result += '\n';
    }
    // Whether the last line has its end.
    return contents.ends_with('\n') ? result : result + "(no line feed)";
}

bool isOfSample(const std::string& name) {
    static const auto files = sampleFiles();
    return std::ranges::any_of(files, [&](const auto& file) { return file.first == name; });
}

bool isHidden(const fs::path& path) {
    return std::ranges::any_of(path, [](const fs::path& part) {
        return part.string().starts_with('.') && part != ".Drafts";
    });
}

} // namespace

fs::path SampleHome::data() const {
    return path() / "Library/Application Support/Velmiro";
}

void SampleHome::restore(Filling filling) const {
    fs::remove_all(path() / "Library");
    if (filling == Filling::empty) {
        return;
    }
    static const auto time = fs::file_time_type::clock::now() - std::chrono::hours{1};
    for (const auto& [name, contents] : sampleFiles()) {
        fs::create_directories((data() / name).parent_path());
        support::writeFile(data() / name, contents);
        fs::last_write_time(data() / name, time);
    }
}

VisibleState visibleState(const std::map<std::string, std::string>& snapshot,
                          const fs::path& data) {
    VisibleState state;
    for (const auto& [path, contents] : snapshot) {
        const fs::path inData = fs::path{path}.lexically_relative(data);
        const std::string name = inData.string();
        const bool isMaildir = name.starts_with("Mail");
        if (fs::is_directory(path)) {
            // Empty folders of a Maildir mean nothing to any program.
            if (!isMaildir && !isHidden(inData)) {
                ++state[name + "/"];
            }
        } else if (!isHidden(inData) && inData.filename() != "maildirfolder") {
            const bool isKnown = isOfSample(name);
            const std::string shown =
                isKnown ? name
                        : (inData.parent_path() / "*").string() + inData.extension().string();
            ++state[(isMaildir && !isKnown ? inData.parent_path().string() : shown) + "\n" +
                    settled(contents)];
        }
    }
    return state;
}

bool isOldOrNew(const VisibleState& found, const VisibleState& before, const VisibleState& after) {
    if (found == before || found == after) {
        return true;
    }
    // Everything that was there is there, and what is more is also in the new state.
    const auto isWithin = [](const VisibleState& less, const VisibleState& more) {
        return std::ranges::all_of(less, [&](const auto& entry) {
            const auto other = more.find(entry.first);
            return other != more.end() && other->second >= entry.second;
        });
    };
    VisibleState more;
    for (const auto& [entry, count] : found) {
        const auto known = before.find(entry);
        if (known == before.end() || known->second < count) {
            more[entry] = count;
        }
    }
    const bool isSeries = std::ranges::all_of(
        more, [](const auto& entry) { return entry.first.find("RRULE") != std::string::npos; });
    const bool isEmptyFolder =
        std::ranges::all_of(more, [](const auto& entry) { return entry.first.ends_with('/'); });
    return isWithin(before, found) && isWithin(more, after) && (isSeries || isEmptyFolder);
}

std::map<std::string, std::string> hiddenFiles(const std::map<std::string, std::string>& snapshot) {
    std::map<std::string, std::string> hidden;
    for (const auto& [path, contents] : snapshot) {
        if (!fs::is_directory(path) && fs::path{path}.filename().string().starts_with('.')) {
            hidden.emplace(path, contents);
        }
    }
    return hidden;
}

} // namespace velmiro::test
