#pragma once

#include "tests/velmiro_mcp/platform/local/Support.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

namespace velmiro::local {

using Texts = std::vector<std::string>;

/// A home in which reminders are completed.
class CompletionTest : public testing::Test {
protected:
    [[nodiscard]] std::string path() const { return home.reminders() + "/Home/a.ics"; }

    /// Returns the file after completing one of its reminders, with NOW for each current time.
    std::string completed(std::string_view file, const std::string& identifier = "a") {
        home.writeReminder("Home", "a.ics", file);
        EXPECT_TRUE(database->completeReminder(identifier));
        return withoutNow(readFile(path()));
    }
    static std::string withoutNow(const std::string& text) {
        return std::regex_replace(text, std::regex{"20[0-9]{6}T[0-9]{6}Z(?=\r?\n)"}, "NOW");
    }
    /// Returns the other file of the list: the next reminder of the series.
    std::string next() {
        for (const std::string& name : namesIn(home.reminders() + "/Home")) {
            if (name != "a.ics") {
                return readFile(home.reminders() + "/Home/" + name);
            }
        }
        return "";
    }

    ScopedVariable zone{"TZ", "Europe/Berlin"};
    TemporaryHome home;
    std::unique_ptr<EventDatabase> database = openEventDatabase();
};

} // namespace velmiro::local
