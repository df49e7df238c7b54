#include "velmiro_mcp/AppleTools/Scripts.hpp"

#include "support/Files.hpp"

#include <filesystem>
#include <gtest/gtest.h>

using namespace velmiro;

namespace {

std::string file(const std::string& name) {
    return support::readFile(std::filesystem::path{SOURCE_FOLDER} /
                             "velmiro_mcp/AppleTools/scripts" / (name + ".js"));
}

} // namespace

TEST(Scripts, AreTheFilesByteForByte) {
    EXPECT_EQ(scripts::mailCreateDraft, file("mail_create_draft"));
    EXPECT_EQ(scripts::mailList, file("mail_list"));
    EXPECT_EQ(scripts::mailRead, file("mail_read"));
    EXPECT_EQ(scripts::notesCreate, file("notes_create"));
    EXPECT_EQ(scripts::notesSearch, file("notes_search"));
    EXPECT_TRUE(scripts::notesSearch.starts_with("function run(argv) {\n"));
    EXPECT_TRUE(scripts::notesSearch.ends_with("\n}"));
}
