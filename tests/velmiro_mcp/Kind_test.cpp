#include "velmiro_mcp/Kind.hpp"

#include <gtest/gtest.h>

using namespace velmiro;

namespace {

std::set<Kind> enabledBy(const std::string& value) {
    return enabledKinds({{"HOME", "/home/x"}, {"VELMIRO_ENABLED", value}});
}

const std::set<Kind> all{allCases.begin(), allCases.end()};
const std::set<Kind> none;

} // namespace

TEST(Kind, HasFiveNamesInTheirOrder) {
    std::string names;
    for (const Kind kind : allCases) {
        names += std::string{rawValue(kind)} + " ";
        EXPECT_EQ(kindNamed(rawValue(kind)), kind);
    }
    EXPECT_EQ(names, "calendar reminders contacts notes mail ");
    for (const char* wrong : {"", "Calendar", " calendar", "calendars", "mail\n"}) {
        EXPECT_EQ(kindNamed(wrong), std::nullopt) << wrong;
    }
}

TEST(EnabledKinds, AreAllIfTheVariableIsNotSet) {
    EXPECT_EQ(enabledKinds({}), all);
    EXPECT_EQ(enabledKinds({{"HOME", "/home/x"}}), all);
}

TEST(EnabledKinds, AreThoseNamedBetweenCommas) {
    EXPECT_EQ(enabledBy("calendar"), (std::set{Kind::calendar}));
    EXPECT_EQ(enabledBy("mail,mail,contacts,foo"), (std::set{Kind::mail, Kind::contacts}));
    EXPECT_EQ(enabledBy(",notes,,mail,"), (std::set{Kind::notes, Kind::mail}));
}

TEST(EnabledKinds, IgnoreBlanksAndTabsAroundNames) {
    const std::set expected{Kind::notes, Kind::mail};
    EXPECT_EQ(enabledBy(" notes , mail"), expected);
    EXPECT_EQ(enabledBy("\tnotes\t,\tmail"), expected);
    EXPECT_EQ(enabledBy("\u00A0notes\u3000,\u2003mail"), expected);
}

TEST(EnabledKinds, AreNoneIfTheVariableNamesNone) {
    for (const char* value : {"", ",,,", "Calendar,MAIL", "notes\n", "\nnotes",
                              "calendar;reminders", "calendar reminders", "calendars"}) {
        EXPECT_EQ(enabledBy(value), none) << value;
    }
}
