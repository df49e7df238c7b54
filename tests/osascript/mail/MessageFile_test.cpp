#include "osascript/mail/Header.hpp"
#include "osascript/mail/MessageFile.hpp"
#include "tests/osascript/mail/MailHome.hpp"

#include <ctime>
#include <string>
#include <system_error>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace velmiro::osascript {
namespace {

using test::MailHome;

std::string contentOf(MessageFiles& files, MessageName& name) {
    const auto file = files.open(name);
    std::string bytes;
    while (file && readMore(file, 1'000, bytes)) {
    }
    return bytes;
}

TEST(MessageFile, IsFoundAgainByItsUniquePart) {
    const MailHome home;
    home.write("new/1.a", "one", 50);
    MessageFiles files{home.maildir()};
    MessageName name = files.names()[0];
    for (const char* const next : {"cur/1.a:2,", "cur/1.a:2,FS", "new/1.a", "cur/1.a:2,S"}) {
        const std::string before =
            (name.place == Place::fresh ? "new/" : "cur/") + std::string{name.text};
        home.rename(before, next);
        EXPECT_EQ(contentOf(files, name), "one") << next;
        EXPECT_EQ("cur/" + std::string{name.text} == next, name.place == Place::current) << next;
    }
    EXPECT_EQ(name.flags(), "S");
    home.rename("cur/1.a:2,S", "cur/1.a:2,RS");
    EXPECT_NEAR(files.written(name).value(), 1000.0 * double(std::time(nullptr) - 50), 2000);
    EXPECT_EQ(name.flags(), "RS");
}

TEST(MessageFile, IsGoneIfItWasRemoved) {
    const MailHome home;
    home.write("cur/1.a:2,", "one");
    home.write("cur/2.b:2,", "two");
    MessageFiles files{home.maildir()};
    std::filesystem::remove_all(home.path("cur"));
    for (MaildirNames::Index i = 0; i < 2; ++i) {
        MessageName name = files.names()[i];
        EXPECT_FALSE(files.open(name));
        EXPECT_EQ(files.written(name), std::nullopt);
    }
}

TEST(MessageFile, ThatIsNoneIsNeitherOpenedNorWaitedFor) {
    const MailHome home;
    home.write("new/1.a", "one");
    std::filesystem::create_symlink("/nonexistent", home.path("new/2.b"));
    std::filesystem::create_symlink("/dev/zero", home.path("new/3.c"));
    std::filesystem::create_symlink("..", home.path("new/4.d"));
    std::filesystem::create_symlink("5.e", home.path("new/5.e"));
    std::filesystem::create_symlink("pipe", home.path("new/6.f"));
    ASSERT_EQ(::mkfifo(home.path("new/pipe").c_str(), 0600), 0);
    MessageFiles files{home.maildir()};
    ASSERT_EQ(files.names().size(), 6);
    for (MaildirNames::Index i = 0; i < 6; ++i) {
        MessageName name = files.names()[i];
        const bool isMessage = name.text == "1.a";
        EXPECT_EQ(static_cast<bool>(files.open(name)), isMessage) << name.text;
        EXPECT_EQ(files.written(name).has_value(), isMessage) << name.text;
    }
}

TEST(MessageFile, HeaderIsReadToItsEndAndNoFurther) {
    const MailHome home;
    std::string buffer;
    for (const std::size_t length :
         {0UL, 10UL, 8'190UL, 8'191UL, 8'192UL, 8'193UL, 100'000UL, largestHeader - 1}) {
        const std::string header =
            std::string(length == 0 ? 0 : length - 1, 'x') + std::string(length == 0 ? 0 : 1, '\n');
        home.write("cur/1.a", header + "\nbody");
        MessageFiles files{home.maildir()};
        MessageName name = files.names()[0];
        EXPECT_TRUE(readHeader(files.open(name), buffer) == header) << length;
    }
    home.write("cur/1.a", std::string(3 * largestHeader, 'x'));
    MessageFiles files{home.maildir()};
    MessageName name = files.names()[0];
    EXPECT_TRUE(readHeader(files.open(name), buffer) == std::string(largestHeader, 'x'));
    const std::string line = "To: a@example.org\n";
    std::string endless;
    while (endless.size() <= largestHeader) {
        endless += line;
    }
    home.write("cur/1.a", endless);
    const std::string_view whole = readHeader(files.open(name), buffer);
    EXPECT_TRUE(whole == endless.substr(0, largestHeader / line.size() * line.size() - 1));
    home.write("cur/1.a", "no header end");
    EXPECT_EQ(readHeader(files.open(name), buffer), "no header end");
    home.write("cur/1.a", "");
    EXPECT_EQ(readHeader(files.open(name), buffer), "");
}

} // namespace
} // namespace velmiro::osascript
