#include "velmiro_mcp/ToolCatalogue.hpp"

#include <gtest/gtest.h>

using namespace velmiro;

namespace {

std::vector<std::string> names(const std::set<Kind>& enabled) {
    std::vector<std::string> list;
    for (const auto& tool : tools(enabled)) {
        list.push_back(tool.name);
    }
    return list;
}

using Names = std::vector<std::string>;

} // namespace

TEST(ToolCatalogue, HasEveryToolWhenAllKindsAreOn) {
    EXPECT_EQ(names({allCases.begin(), allCases.end()}),
              (Names{"calendar_list_events", "calendar_create_event", "reminders_list",
                     "reminders_create", "reminders_complete", "contacts_search", "notes_search",
                     "notes_create", "mail_list", "mail_read", "mail_create_draft"}));
}

TEST(ToolCatalogue, HasTheToolsOfTheKindsThatAreOn) {
    EXPECT_EQ(names({Kind::mail, Kind::calendar}),
              (Names{"calendar_list_events", "calendar_create_event", "mail_list", "mail_read",
                     "mail_create_draft"}));
    EXPECT_EQ(names({Kind::contacts}), Names{"contacts_search"});
    EXPECT_EQ(names({Kind::notes}), (Names{"notes_search", "notes_create"}));
    EXPECT_EQ(names({}), Names{});
}
