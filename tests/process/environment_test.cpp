// Whatever language and time zone the environment names, the server answers, with a date that a
// user can read.

#include "MCPStdio/json/JSONValue.hpp"
#include "tests/process/ServerUnderTest.hpp"
#include "tests/support/ScriptedHost.hpp"

#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <random>
#include <sys/stat.h>

using namespace velmiro::test;

namespace {

/// Values of all kinds: languages, almost languages, and random bytes.
std::vector<std::string> values() {
    std::vector<std::string> all{"English (United States)",
                                 "abcdefghijkl",
                                 "abcdefghijkl_DE",
                                 "de_" + std::string(20, 'X'),
                                 "zh_" + std::string(12, 'H') + "_CN",
                                 "en_US_" + std::string(300, 'P'),
                                 "en-u-ca-" + std::string(500, 'b'),
                                 "i-klingon",
                                 "x-private",
                                 "root",
                                 "german",
                                 "de_DE.UTF-8@euro",
                                 "sr_Latn_RS",
                                 "es_419",
                                 "C",
                                 "C.UTF-8",
                                 "POSIX",
                                 "_",
                                 "-",
                                 ".",
                                 "@",
                                 "__",
                                 "de_",
                                 "_DE",
                                 "de__POSIX",
                                 "../../../../etc/passwd",
                                 "/dev/stdin",
                                 "%s%s%s%n",
                                 ":",
                                 ":/dev/stdin",
                                 "Europe/Berlin",
                                 "CET-1CEST",
                                 "<" + std::string(5000, '+') + ">0"};
    for (std::size_t length = 1; length <= 70; ++length) {
        all.emplace_back(length, 'a');
        all.push_back("de_" + std::string(length, 'A'));
    }
    std::mt19937 random{20261122};
    while (all.size() < 300) {
        std::string text(random() % 40 + 1, '\0');
        std::ranges::generate(text, [&] { return static_cast<char>(random() % 255 + 1); });
        all.push_back(std::move(text));
    }
    return all;
}

class Environment : public testing::Test {
protected:
    TemporaryFolder home;
    std::string question;
    ScriptedHost host{home.path() / "approval.sock", [this](int connection) {
                          question = readQuestion(connection);
                          answerWith(connection, "{\"allow\":false}\n");
                      }};

    /// Returns the question about an event as the user of a server with these variables reads it.
    std::string questionWith(const std::map<std::string, std::string>& variables) {
        auto options = serverIn(home);
        options.environment.erase("LC_ALL");
        for (const auto& [name, value] : variables) {
            options.environment[name] = value;
        }
        ChildProcess server{options};
        server.writeLine(creation(1));
        const auto line = server.readLine();
        EXPECT_TRUE(line && line->find("did not allow") != std::string::npos)
            << line.value_or("(no reply)");
        server.closeInput();
        EXPECT_EQ(server.waitForEnd(), 0);
        return question;
    }
};

} // namespace

TEST_F(Environment, NoLanguageEndsTheServer) {
    const auto all = values();
    constexpr std::array names{"LC_ALL", "LC_TIME", "LANG"};
    for (std::size_t index = 0; index < all.size(); ++index) {
        const std::string shown = questionWith({{names[index % names.size()], all[index]}});
        EXPECT_NE(shown.find("Dentist"), std::string::npos) << all[index];
        EXPECT_NE(shown.find("14"), std::string::npos) << shown << all[index];
        EXPECT_TRUE(shown.find("15:00") != std::string::npos ||
                    shown.find("3:00") != std::string::npos)
            << shown << all[index];
    }
    EXPECT_NE(questionWith({{"LANG", "C"}, {"LC_MESSAGES", all[5]}}).find("15:00"),
              std::string::npos);
    EXPECT_NE(questionWith({{"LANG", "English (United States)"}}).find("14 Oct 2026, 15:00"),
              std::string::npos);
    EXPECT_NE(questionWith({{"LANG", "de_DE.UTF-8"}}).find("14.10.2026, 15:00"), std::string::npos);
}

TEST_F(Environment, NoZoneKeepsTheServerWaiting) {
    const std::string pipe = (home.path() / "pipe").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    auto all = values();
    all.insert(all.end(), {"/dev/stdin", "../../../dev/stdin", "/dev/zero", "/dev/tty", pipe,
                           ":" + pipe, "/proc/self/fd/0", "/etc/passwd", "/"});
    for (const std::string& value : all) {
        EXPECT_NE(questionWith({{"TZ", value}}).find("Dentist"), std::string::npos) << value;
    }
    EXPECT_NE(questionWith({{"TZDIR", home.path().string()}, {"TZ", "pipe"}}).find("Dentist"),
              std::string::npos);
}
