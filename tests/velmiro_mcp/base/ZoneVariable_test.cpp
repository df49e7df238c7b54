#include "velmiro_mcp/base/ZoneVariable.hpp"

#include "support/ScopedVariable.hpp"
#include "support/TemporaryFolder.hpp"

#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace velmiro;
using velmiro::support::ScopedVariable;
using velmiro::support::TemporaryFolder;

TEST(ZoneVariable, AZoneFileOrARuleIsATimeZone) {
    for (const char* value :
         {"", ":", "Europe/Berlin", ":Europe/Berlin", "UTC", "Etc/GMT+2",
          "/usr/share/zoneinfo/Asia/Tokyo", ":/usr/share/zoneinfo/Asia/Tokyo", "CET-1CEST",
          "CET-1CEST,M3.5.0,M10.5.0/3", "<-03>3", "<+0330>-3:30", "EST5EDT", "ABC+12"}) {
        EXPECT_TRUE(isTimeZone(value)) << value;
    }
}

TEST(ZoneVariable, AnythingElseIsNotATimeZone) {
    const TemporaryFolder folder;
    const std::string pipe = (folder.path() / "pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR), 0);
    folder.write(folder.path() / "empty", "");
    folder.write(folder.path() / "text", "Europe/Berlin");
    for (const std::string& value : {std::string{":/dev/stdin"},
                                     std::string{"/dev/stdin"},
                                     std::string{"/dev/tty"},
                                     std::string{"/dev/zero"},
                                     std::string{"/dev/null"},
                                     std::string{"/etc"},
                                     std::string{"/etc/passwd"},
                                     std::string{"../../../dev/stdin"},
                                     std::string{"/"},
                                     std::string{"Europe"},
                                     std::string{"Nowhere/Zone"},
                                     std::string{"AB5"},
                                     std::string{"CET"} + "x",
                                     std::string{"<CET-1"},
                                     std::string{"5"},
                                     std::string{"-1"},
                                     std::string{"::UTC"},
                                     std::string{"\xFF\xFE"},
                                     std::string(100'000, 'x'),
                                     pipe,
                                     ":" + pipe,
                                     (folder.path() / "empty").string(),
                                     (folder.path() / "text").string()}) {
        EXPECT_FALSE(isTimeZone(value)) << value.substr(0, 100);
    }
}

TEST(ZoneVariable, FilesAreLookedForWhereTheCLibraryDoes) {
    const TemporaryFolder folder;
    ASSERT_EQ(mkfifo((folder.path() / "UTC").c_str(), S_IRUSR | S_IWUSR), 0);
    const ScopedVariable zones{"TZDIR", folder.path().c_str()};
    EXPECT_FALSE(isTimeZone("UTC"));
    EXPECT_FALSE(isTimeZone("Europe/Berlin"));
    EXPECT_TRUE(isTimeZone("CET-1"));
}

TEST(ZoneVariable, OnlyAnInvalidZoneIsRemoved) {
    {
        const ScopedVariable zone{"TZ", "Asia/Tokyo"};
        sanitizeZoneVariable();
        EXPECT_STREQ(std::getenv("TZ"), "Asia/Tokyo");
    }
    {
        const ScopedVariable zone{"TZ", ":/dev/stdin"};
        sanitizeZoneVariable();
        EXPECT_EQ(std::getenv("TZ"), nullptr);
    }
    const ScopedVariable none{"TZ", nullptr};
    sanitizeZoneVariable();
    EXPECT_EQ(std::getenv("TZ"), nullptr);
}
