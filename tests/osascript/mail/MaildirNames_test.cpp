#include "osascript/mail/MaildirNames.hpp"
#include "tests/osascript/mail/MailHome.hpp"

#include <filesystem>
#include <set>
#include <string>
#include <system_error>

#include <gtest/gtest.h>

namespace velmiro::osascript {
namespace {

using test::MailHome;

/// Returns the names, each after its folder.
std::set<std::string> listed(const MailHome& home) {
    const MaildirNames names{home.maildir()};
    std::set<std::string> all;
    for (MaildirNames::Index i = 0; i < names.size(); ++i) {
        all.insert((names[i].place == Place::fresh ? "new/" : "cur/") + std::string{names[i].text});
        EXPECT_EQ(names[i].text.data()[names[i].text.size()], '\0');
        EXPECT_EQ(names.numbers().find(names[i].unique()), i);
    }
    EXPECT_EQ(all.size(), names.size());
    EXPECT_EQ(names.numbers().size(), names.size());
    return all;
}

TEST(MaildirNames, HaveAUniquePartAndFlags) {
    const MessageName flagged{"1.a,S=5:2,FS", Place::current};
    EXPECT_EQ(flagged.unique(), "1.a,S=5");
    EXPECT_EQ(flagged.flags(), "FS");
    for (const char* const name : {"1.a", "1.a:1,FS", "1.a:2", ""}) {
        const MessageName plain{name, Place::fresh};
        EXPECT_EQ(plain.unique(), name);
        EXPECT_EQ(plain.flags(), "");
    }
    EXPECT_EQ((MessageName{":2,S", Place::current}.unique()), "");
    EXPECT_EQ((MessageName{"a:2,", Place::current}.flags()), "");
}

TEST(MaildirNames, AreThoseInNewAndCur) {
    const MailHome home;
    EXPECT_TRUE(listed(home).empty());
    home.write("new/1.a", "x");
    EXPECT_EQ(listed(home), std::set<std::string>{"new/1.a"});
    home.write("cur/2.b:2,T", "x");
    home.write("cur/.hidden", "x");
    home.write("tmp/3.c", "x");
    home.write(".Sent/cur/4.d:2,", "x");
    home.write("5.e", "x");
    std::filesystem::create_directory(home.path("cur/6.f"));
    EXPECT_EQ(listed(home), (std::set<std::string>{"new/1.a", "cur/2.b:2,T"}));
}

TEST(MaildirNames, MayBeBehindLinks) {
    const MailHome home;
    home.write("elsewhere/1.a", "x");
    std::filesystem::create_directory_symlink("elsewhere", home.path("cur"));
    std::filesystem::create_symlink("1.a", home.path("elsewhere/2.b"));
    EXPECT_EQ(listed(home), (std::set<std::string>{"cur/1.a", "cur/2.b"}));
}

TEST(MaildirNames, CountAMessageOnce) {
    const MailHome home;
    for (const char* const name : {"new/1.a", "cur/1.a:2,", "cur/1.a:2,S", "new/2.b", "cur/3.c"}) {
        home.write(name, "x");
    }
    EXPECT_EQ(listed(home), (std::set<std::string>{"cur/1.a:2,S", "new/2.b", "cur/3.c"}));
}

TEST(MaildirNames, MayBeMany) {
    const MailHome home;
    std::set<std::string> expected;
    const std::string longTail(240, 'x'); // several blocks of the kernel's
    for (int i = 0; i < 1'300; ++i) {
        const std::string name = std::to_string(i) + longTail;
        home.write("cur/" + name, "");
        expected.insert("cur/" + name);
    }
    EXPECT_EQ(listed(home), expected);
}

TEST(MaildirNames, AreOnlyThoseThatMatterForAWantedNumber) {
    const MailHome home;
    const std::string longTail(240, 'x'); // several blocks of the kernel's
    for (int i = 0; i < 3'000; ++i) {
        home.write("cur/" + std::to_string(i) + longTail, "");
    }
    home.write("cur/found:2,", "");
    home.write("cur/found:2,S", "");
    home.write("new/found", "");
    const MaildirNames names{home.maildir(), numberOf("found")};
    ASSERT_EQ(names.size(), 1);
    EXPECT_EQ(names[0].text, "found:2,S");
    EXPECT_EQ(names.numbers().number(0), numberOf("found"));
    EXPECT_EQ(MaildirNames(home.maildir(), numberOf("missing")).size(), 0);
}

TEST(MaildirNames, AreNoneWhereThereIsNoFolder) {
    const MailHome home;
    home.write("cur", "a file");
    EXPECT_TRUE(listed(home).empty());
}

TEST(MaildirNames, AreAnErrorBehindALinkThatLeadsNowhere) {
    const MailHome home;
    std::filesystem::create_directories(std::filesystem::path{home.maildir()}.parent_path());
    std::filesystem::create_directory_symlink("/nonexistent/inbox", home.maildir());
    EXPECT_THROW(MaildirNames{home.maildir()}, std::system_error);
    std::filesystem::remove(home.maildir());
    EXPECT_TRUE(listed(home).empty());
    home.write("new/1.a", "x");
    std::filesystem::create_directory_symlink("/nonexistent/cur", home.path("cur"));
    EXPECT_THROW(MaildirNames{home.maildir()}, std::system_error);
}

TEST(MaildirNames, FailWithTheNameOfTheFolder) {
    const MailHome home;
    std::filesystem::create_directories(home.maildir());
    std::filesystem::create_symlink("new", home.path("new")); // to itself
    try {
        const MaildirNames names{home.maildir()};
        FAIL();
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::too_many_symbolic_link_levels);
        EXPECT_NE(std::string{error.what()}.find("cannot read " + home.maildir() + "/new"),
                  std::string::npos);
    }
}

} // namespace
} // namespace velmiro::osascript
