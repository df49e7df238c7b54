#include "osascript/drafts/DraftSaving.hpp"

#include "osascript/dictionary/ScriptError.hpp"
#include "support/ChildProcess.hpp"
#include "support/Files.hpp"
#include "support/ScopedVariable.hpp"
#include "support/TemporaryFolder.hpp"
#include "tests/support/FailingCalls.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <regex>
#include <string>
#include <vector>

namespace velmiro::osascript {
namespace {

using Names = std::vector<std::string>;

/// Returns all names in a folder, including hidden ones, in order.
Names namesIn(const std::filesystem::path& folder) {
    Names names;
    for (const auto& entry : std::filesystem::directory_iterator{folder}) {
        names.push_back(entry.path().filename());
    }
    std::ranges::sort(names);
    return names;
}

std::filesystem::perms rightsOf(const std::filesystem::path& path) {
    return std::filesystem::status(path).permissions();
}

class DraftSaving : public testing::Test {
protected:
    void save(const std::string& subject = "s") const {
        saveDraft(maildir(), {subject, "text", {{"", "a@b"}}, {}});
    }

    /// Returns why a draft cannot be saved; empty if it was.
    [[nodiscard]] std::string failure() const {
        try {
            save();
            return {};
        } catch (const ScriptError& error) {
            return error.what();
        }
    }

    [[nodiscard]] std::string maildir() const { return folder_ / "Mail"; }
    [[nodiscard]] std::string drafts() const { return maildir() + "/.Drafts"; }

    support::TemporaryFolder folder_;
    support::ScopedVariable noEmail_{"EMAIL", nullptr};
};

TEST_F(DraftSaving, MakesOneMessageInAFolderOfAMaildirForItsOwnerAlone) {
    save();
    const Names saved = namesIn(drafts() + "/cur");
    ASSERT_EQ(saved.size(), 1U);
    const std::regex name{R"(\d{10}\.M\d{1,3}P\d+R[0-9a-f]+\.[\w.-]+:2,DS)"};
    EXPECT_TRUE(std::regex_match(saved[0], name)) << saved[0];
    EXPECT_EQ(namesIn(maildir()), (Names{".Drafts", "cur", "new", "tmp"}));
    EXPECT_EQ(namesIn(drafts()), (Names{"cur", "maildirfolder", "new", "tmp"}));
    EXPECT_EQ(namesIn(drafts() + "/tmp"), Names{});
    using std::filesystem::perms;
    for (const char* made : {"", "/cur", "/.Drafts", "/.Drafts/cur", "/.Drafts/tmp"}) {
        EXPECT_EQ(rightsOf(maildir() + made), perms::owner_all) << made;
    }
    for (const std::string& made : {"/cur/" + saved[0], std::string{"/maildirfolder"}}) {
        EXPECT_EQ(rightsOf(drafts() + made), perms::owner_read | perms::owner_write) << made;
    }
}

TEST_F(DraftSaving, EveryDraftHasItsOwnFileAndIdentifier) {
    const std::regex field{"\nMessage-ID: (<[0-9a-f.]+@[\\w.-]+>)\n"};
    for (int count = 0; count < 50; ++count) {
        save();
    }
    Names identifiers;
    for (const std::string& name : namesIn(drafts() + "/cur")) {
        const std::string text = support::readFile(drafts() + "/cur/" + name);
        std::smatch found;
        ASSERT_TRUE(std::regex_search(text, found, field)) << text;
        identifiers.push_back(found[1]);
    }
    std::ranges::sort(identifiers);
    EXPECT_EQ(identifiers.size(), 50U);
    EXPECT_EQ(std::ranges::unique(identifiers).size(), 0U);
}

TEST_F(DraftSaving, NamesTheSender) {
    const support::ScopedVariable email{"EMAIL", "Mira <mira@example.org>"};
    save();
    const std::string text = support::readFile(drafts() + "/cur/" + namesIn(drafts() + "/cur")[0]);
    EXPECT_NE(text.find("\nFrom: \"Mira\" <mira@example.org>\n"), std::string::npos) << text;
}

TEST_F(DraftSaving, UsesWhatIsThereAlsoThroughALink) {
    folder_.write("other/.Drafts/maildirfolder", "mine");
    folder_.write("other/.Drafts/cur/1.a:2,D", "mine");
    std::filesystem::create_directory_symlink("other", maildir());
    save();
    EXPECT_EQ(namesIn(drafts() + "/cur").size(), 2U);
    EXPECT_EQ(support::readFile(drafts() + "/maildirfolder"), "mine");
    EXPECT_EQ(support::readFile(drafts() + "/cur/1.a:2,D"), "mine");
}

TEST_F(DraftSaving, SaysWhyItFails) {
    folder_.write("Mail", "a file");
    EXPECT_EQ(failure(), "the draft cannot be saved: Not a directory");
    std::filesystem::remove(maildir());
    std::filesystem::create_directory_symlink("nowhere", maildir());
    EXPECT_EQ(failure(), "the draft cannot be saved: Not a directory");
    std::filesystem::remove(maildir());
    std::filesystem::create_directory_symlink("/proc/self", maildir());
    EXPECT_EQ(failure(), "the draft cannot be saved: No such file or directory");
}

TEST_F(DraftSaving, RemovesWhatAKilledProgramHasLeft) {
    folder_.write("Mail/.Drafts/cur/.velmiro-new-dead.tmp", "half");
    save();
    EXPECT_EQ(namesIn(drafts()), (Names{"cur", "maildirfolder", "new", "tmp"}));
    EXPECT_EQ(namesIn(drafts() + "/cur").size(), 1U);
}

// Failing disks: this program runs itself with a library that lets calls fail.

class DraftSavingOnAFailingDisk : public DraftSaving {
protected:
    void SetUp() override {
        if (const char* const given = std::getenv("SAVE_DRAFT_IN")) {
            saveAsChild(given);
        }
        save(); // so that the next one creates nothing but its file
    }

    [[noreturn]] static void saveAsChild(const std::string& maildir) {
        try {
            saveDraft(maildir, {});
            std::cout << "saved\n" << std::flush;
        } catch (const ScriptError& error) {
            std::cout << "failed: " << error.what() << '\n' << std::flush;
        }
        std::_Exit(0);
    }

    static constexpr auto flush = static_cast<std::uint32_t>(test::Call::flush);

    /// Returns how a process ends that saves a second draft, in which these calls fail.
    [[nodiscard]] std::string outcome(std::uint32_t failing, int skip) const {
        test::FailingCalls calls{FAILING_CALLS};
        calls.arm({.calls = failing, .skip = skip, .count = 1000});
        auto environment = calls.environment();
        environment["SAVE_DRAFT_IN"] = maildir();
        support::ChildProcess child{
            {.arguments = {"/proc/self/exe", "--gtest_filter=DraftSavingOnAFailingDisk.*"},
             .environment = environment}};
        std::string last;
        while (const auto line = child.readLine()) {
            if (line->starts_with("saved") || line->starts_with("failed")) {
                last = *line;
            }
        }
        return last;
    }
};

TEST_F(DraftSavingOnAFailingDisk, ADraftThatCannotBeWrittenIsNotThere) {
    EXPECT_EQ(outcome(flush, 0), "failed: the draft cannot be saved: Input/output error");
    EXPECT_EQ(namesIn(drafts() + "/cur").size(), 1U);
}

TEST_F(DraftSavingOnAFailingDisk, ADraftWhoseNameCannotBeFlushedIsTakenBack) {
    EXPECT_EQ(outcome(flush, 1), "failed: the draft cannot be saved: Input/output error");
    EXPECT_EQ(namesIn(drafts() + "/cur").size(), 1U);
}

TEST_F(DraftSavingOnAFailingDisk, ADraftThatCannotBeTakenBackEitherCountsAsSaved) {
    EXPECT_EQ(outcome(test::Call::flush | test::Call::unlink, 1), "saved");
    EXPECT_EQ(namesIn(drafts() + "/cur").size(), 2U);
}

} // namespace
} // namespace velmiro::osascript
