#include "osascript/drafts/DraftSender.hpp"

#include "support/ScopedVariable.hpp"
#include "support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include <sys/stat.h>

namespace velmiro::osascript {
namespace {

class DraftSender : public testing::Test {
protected:
    void sent(const std::string& name, const std::string& message) const {
        maildir_.write(".Sent/" + name, message);
    }

    void sentFrom(const std::string& name, const std::string& from) const {
        sent(name, "Date: x\nFrom: " + from + "\nSubject: s\n\nFrom: body@example.org\n");
    }

    /// Returns `name|address`; empty if there is no sender.
    [[nodiscard]] std::string sender() const {
        const auto mailbox = draftSender(maildir_.path());
        return mailbox ? mailbox->name + "|" + mailbox->address : "";
    }

    support::TemporaryFolder maildir_;
    support::ScopedVariable noEmail_{"EMAIL", nullptr};
};

TEST_F(DraftSender, IsTheAddressInTheEnvironment) {
    sentFrom("cur/1.a:2,S", "other@example.org");
    const support::ScopedVariable email{"EMAIL", "Mira Ünal <mira@example.org>"};
    EXPECT_EQ(sender(), "Mira Ünal|mira@example.org");
    const support::ScopedVariable bare{"EMAIL", "mira@example.org"};
    EXPECT_EQ(sender(), "|mira@example.org");
}

TEST_F(DraftSender, IsOnlyFromTheEnvironmentWhatIsOneAddress) {
    sentFrom("cur/1.a:2,S", "sent@example.org");
    for (const char* value : {"", "mira", "a@b, c@d", "a@b\nBcc: c@d", "\xff@b", "<a@b"}) {
        const support::ScopedVariable email{"EMAIL", value};
        EXPECT_EQ(sender(), "|sent@example.org") << value;
    }
}

TEST_F(DraftSender, IsTheOnlyAddressOfTheSentMessagesWithTheLatestName) {
    sentFrom("cur/100.a:2,S", "Mira <mira@example.org>");
    sentFrom("new/300.b", "=?utf-8?Q?Mira_=C3=9Cnal?= <mira@EXAMPLE.org>");
    sentFrom("cur/99.c:2,S", "mira@example.org");
    EXPECT_EQ(sender(), "Mira Ünal|mira@EXAMPLE.org");
}

TEST_F(DraftSender, IsNobodyIfTwoAddressesOccur) {
    sentFrom("cur/1.a:2,S", "mira@example.org");
    sentFrom("cur/2.b:2,S", "work@example.org");
    EXPECT_EQ(sender(), "");
}

TEST_F(DraftSender, TakesAddressesThatDifferInTheCaseOfTheirFirstPartForTwo) {
    sentFrom("cur/1.a:2,S", "mira@example.org");
    sentFrom("cur/2.b:2,S", "Mira@example.org");
    EXPECT_EQ(sender(), "");
}

TEST_F(DraftSender, IsNobodyIfAMessageIsFromTwo) {
    sentFrom("cur/1.a:2,S", "mira@example.org, work@example.org");
    EXPECT_EQ(sender(), "");
}

TEST_F(DraftSender, IsNobodyWithoutSentMessages) {
    EXPECT_EQ(sender(), "");
    std::filesystem::create_directories(maildir_.path() / ".Sent/cur");
    EXPECT_EQ(sender(), "");
    maildir_.write("cur/1.a:2,S", "From: received@example.org\n\n");
    EXPECT_EQ(sender(), "");
}

TEST_F(DraftSender, IsNobodyIfTheFolderIsNone) {
    maildir_.write(".Sent", "a file");
    EXPECT_EQ(sender(), "");
    std::filesystem::remove(maildir_.path() / ".Sent");
    std::filesystem::create_directory_symlink("nowhere", maildir_.path() / ".Sent");
    EXPECT_EQ(sender(), "");
}

TEST_F(DraftSender, PassesOverWhatIsNoMessage) {
    sentFrom("cur/1.a:2,S", "mira@example.org");
    sent("cur/2.b:2,S", "");
    sent("cur/3.c:2,S", "no header");
    sent("cur/4.d:2,S", "Subject: without a sender\n\nFrom: body@example.org\n");
    sent("cur/5.e:2,S", "From: \n\n");
    sent("cur/6.e:2,S", "From: root\n\n");
    sent("cur/.6.f:2,S", "From: hidden@example.org\n\n");
    sent("cur/7.g:2,S", std::string(20'000, 'x') + "\nFrom: late@example.org\n\n");
    std::filesystem::create_directory(maildir_.path() / ".Sent/cur/8.h:2,S");
    std::filesystem::create_symlink("nowhere", maildir_.path() / ".Sent/cur/9.i:2,S");
    ASSERT_EQ(mkfifo((maildir_ / ".Sent/cur/10.j:2,S").c_str(), 0600), 0); // must not be waited for
    EXPECT_EQ(sender(), "|mira@example.org");
}

TEST_F(DraftSender, ReadsAHeaderWithoutABody) {
    sent("cur/1.a:2,S", "Subject: s\r\nFrom: mira@example.org\r\n");
    EXPECT_EQ(sender(), "|mira@example.org");
    sent("cur/2.b:2,S", "From: mira@example.org\r\n\r\nFrom: body@example.org\r\n");
    EXPECT_EQ(sender(), "|mira@example.org");
}

TEST_F(DraftSender, ReadsTheLatestTwoHundredMessagesByTheTimeInTheirNames) {
    for (int time = 1; time <= 200; ++time) {
        sentFrom("cur/" + std::to_string(1000 + time) + ".a:2,S", "mira@example.org");
    }
    sentFrom("cur/999.old:2,S", "old@example.org"); // comes last among the names
    sentFrom("cur/unknown:2,S", "unknown@example.org");
    EXPECT_EQ(sender(), "|mira@example.org");
    sentFrom("cur/1500.a:2,S", "new@example.org");
    EXPECT_EQ(sender(), "");
}

} // namespace
} // namespace velmiro::osascript
