#include "doctor/CommandLine.hpp"
#include "doctor/Enabled.hpp"
#include "doctor/Examinations.hpp"
#include "doctor/Report.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace velmiro::doctor {
namespace {

TEST(Report, EachFindingIsALineAndEachMendTheLineAfterIt) {
    Section section{"mail"};
    section.fact("the inbox: 1 message");
    section.hint("it could be linked", "ln -s a b");
    section.problem("it is not", "rm b");
    EXPECT_EQ(textOf(section, false), "mail\n"
                                      "  the inbox: 1 message\n"
                                      "? it could be linked\n"
                                      "      ln -s a b\n"
                                      "! it is not\n"
                                      "      rm b\n");
    EXPECT_EQ(section.problems(), 1U);
    EXPECT_EQ(section.hints(), 1U);
}

TEST(Report, ColourIsOnlyInTitlesAndMarks) {
    Section section{"mail"};
    section.problem("it is not", "rm b");
    EXPECT_EQ(textOf(section, true), "\033[1mmail\033[0m\n"
                                     "\033[1;31m!\033[0m it is not\n"
                                     "      rm b\n");
    EXPECT_EQ(verdict(0, true), "\033[32mAll is well.\033[0m\n");
}

TEST(Report, TheLastLineCountsTheProblems) {
    EXPECT_EQ(verdict(0, false), "All is well.\n");
    EXPECT_EQ(verdict(1, false), "1 problem. The line below it says how to mend it.\n");
    EXPECT_EQ(verdict(2, false), "2 problems. The line below each says how to mend it.\n");
}

TEST(CommandLine, KnowsThreeRequests) {
    const auto parse = [](const std::vector<const char*>& arguments) {
        return parseCommandLine(arguments);
    };
    EXPECT_EQ(parse({}), Request::examine);
    EXPECT_EQ(parse({"-h"}), Request::help);
    EXPECT_EQ(parse({"--help"}), Request::help);
    EXPECT_EQ(parse({"--version"}), Request::version);
    EXPECT_EQ(parse({"--version", "--help"}), Request::help);
    for (const char* const wrong : {"", "-", "--", "-v", "help", "--hel", "--version=1"}) {
        EXPECT_THROW(parse({wrong}), UsageError) << wrong;
    }
}

TEST(Enabled, WrongNamesAreCorrectedToTheKindTheyResemble) {
    EXPECT_EQ(correctedEnabled("calender"), "calendar");
    EXPECT_EQ(correctedEnabled("Calendar,REMINDERS"), "calendar,reminders");
    EXPECT_EQ(correctedEnabled("reminder, note ,contact"), "reminders,notes,contacts");
    EXPECT_EQ(correctedEnabled("email"), "mail");
    EXPECT_EQ(correctedEnabled("calendar,tasks"), "calendar");
    EXPECT_EQ(correctedEnabled("calendar,calender"), "calendar");
    EXPECT_EQ(correctedEnabled("everything"), "calendar,reminders,contacts,notes,mail");
    EXPECT_EQ(correctedEnabled(""), "calendar,reminders,contacts,notes,mail");
}

std::string toolsFor(const std::string& value) {
    return textOf(examineEnabled({{"VELMIRO_ENABLED", value}}), false);
}

TEST(Enabled, WhatIsNotSetOffersEverything) {
    EXPECT_EQ(textOf(examineEnabled({}), false),
              "tools\n  VELMIRO_ENABLED is not set: all five kinds are offered\n");
}

TEST(Enabled, NamesThatAreNoKindAreTold) {
    for (const char* value : {"mail, calendar", "mail,,calendar, "}) {
        EXPECT_EQ(toolsFor(value), "tools\n  VELMIRO_ENABLED offers calendar, mail\n");
    }
    EXPECT_EQ(toolsFor("mail,calender,tasks"),
              "tools\n"
              "  VELMIRO_ENABLED offers mail\n"
              "! VELMIRO_ENABLED also names what is no kind: ‘calender’, ‘tasks’\n"
              "      export VELMIRO_ENABLED=mail,calendar\n");
    EXPECT_EQ(toolsFor("calender"),
              "tools\n"
              "! VELMIRO_ENABLED names no kind but ‘calender’: the agent sees no tools\n"
              "      export VELMIRO_ENABLED=calendar\n");
    EXPECT_EQ(toolsFor(""),
              "tools\n"
              "! VELMIRO_ENABLED names no kind: the agent sees no tools\n"
              "      export VELMIRO_ENABLED=calendar,reminders,contacts,notes,mail\n");
}

} // namespace
} // namespace velmiro::doctor
