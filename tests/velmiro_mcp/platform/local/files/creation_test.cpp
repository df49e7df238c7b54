#include "tests/velmiro_mcp/platform/local/Support.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include "velmiro_mcp/platform/local/files/FileCreation.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <regex>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

// A new event is one new file: whole, or not there.

namespace velmiro::local {
namespace {

using Texts = std::vector<std::string>;

NewEvent dentist() {
    return {"Dentist", at("2026-09-09T15:00"), at("2026-09-09T16:00"),
            false,     "Main St. 1",           "Bring;"};
}

class LocalCreation : public testing::Test {
protected:
    LocalCreation() { home_.write("Work", "displayname", "My work"); }

    [[nodiscard]] std::string folder() const { return home_.calendars() + "/Work"; }

    ScopedVariable zone_{"TZ", "Europe/Berlin"};
    TemporaryHome home_;
    std::unique_ptr<EventDatabase> database_ = openEventDatabase();
    Calendar work_{"Work", "My work"};
};

TEST_F(LocalCreation, OneEventIsOneFileNamedAsItsIdentifier) {
    const std::string identifier = database_->saveEvent(dentist(), work_);
    EXPECT_TRUE(std::regex_match(
        identifier,
        std::regex{"[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}"}))
        << identifier;
    EXPECT_EQ(namesIn(folder()).size(), 2U); // and `displayname`
    EXPECT_TRUE(std::filesystem::is_regular_file(folder() + "/" + identifier + ".ics"));
    const auto events = database_->events(at("2026-09-09"), at("2026-09-10"), nullptr);
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].identifier, identifier);
    EXPECT_EQ(events[0].title, "Dentist");
    EXPECT_EQ(events[0].start, at("2026-09-09T15:00"));
    EXPECT_EQ(events[0].end, at("2026-09-09T16:00"));
    EXPECT_EQ(events[0].location, "Main St. 1");
    EXPECT_EQ(events[0].notes, "Bring;");
    EXPECT_EQ(events[0].calendar, "My work");
    EXPECT_FALSE(events[0].allDay);
}

TEST_F(LocalCreation, TextThatCannotBeStoredMakesNoFile) {
    for (const std::string& text : {std::string{"a\0b", 3}, std::string{"a\x01"},
                                    std::string{"\x1B["}, std::string{"\x7F"}}) {
        NewEvent event = dentist();
        event.title = text;
        EXPECT_THROW(database_->saveEvent(event, work_), PlatformError);
        event = dentist();
        event.location = text;
        EXPECT_THROW(database_->saveEvent(event, work_), PlatformError);
        event = dentist();
        event.notes = text;
        EXPECT_THROW(database_->saveEvent(event, work_), PlatformError);
    }
    EXPECT_EQ(namesIn(folder()), (Texts{"displayname"}));
}

TEST_F(LocalCreation, ACalendarThatIsGoneIsReported) {
    try {
        database_->saveEvent(dentist(), {"Gone", "Old"});
        FAIL();
    } catch (const PlatformError& error) {
        EXPECT_STREQ(error.what(),
                     "the calendar ‘Old’ cannot be written: No such file or directory");
    }
}

TEST_F(LocalCreation, ACalendarThatCannotBeWrittenIsReportedWithTheReason) {
    std::filesystem::create_directory_symlink("/proc/self", home_.calendars() + "/Strange");
    try {
        database_->saveEvent(dentist(), {"Strange", "Strange"});
        FAIL();
    } catch (const PlatformError& error) {
        EXPECT_TRUE(
            std::string{error.what()}.starts_with("the calendar ‘Strange’ cannot be written: "))
            << error.what();
    }
}

TEST_F(LocalCreation, NeitherAPathNorAHiddenFolderIsACalendar) {
    for (const char* identifier : {"", ".", "..", "../Calendars/Work", "/tmp", ".hidden"}) {
        EXPECT_THROW(database_->saveEvent(dentist(), {identifier, "x"}), PlatformError);
    }
    EXPECT_EQ(namesIn(folder()), (Texts{"displayname"}));
}

class LocalFileCreation : public testing::TestWithParam<Staging> {
protected:
    TemporaryFolder folder_;
};

INSTANTIATE_TEST_SUITE_P(Both, LocalFileCreation,
                         testing::Values(Staging::nameless, Staging::hidden),
                         [](const auto& about) {
                             return about.param == Staging::nameless ? "Nameless" : "Hidden";
                         });

TEST_P(LocalFileCreation, MakesTheWholeFileForTheUserAlone) {
    const std::string contents(300'000, 'x');
    ASSERT_EQ(createFile(folder_.path(), "a.ics", contents, GetParam()), std::error_code{});
    EXPECT_EQ(readFile(folder_ / "a.ics"), contents);
    EXPECT_EQ(namesIn(folder_.path()), (Texts{"a.ics"}));
    struct stat about{};
    ASSERT_EQ(stat((folder_ / "a.ics").c_str(), &about), 0);
    EXPECT_EQ(about.st_mode & 0777U, 0600U);
}

TEST_P(LocalFileCreation, NeverReplacesAFileNorALink) {
    writeFile(folder_ / "a.ics", "old");
    std::filesystem::create_symlink("/nowhere", folder_ / "b.ics");
    EXPECT_EQ(createFile(folder_.path(), "a.ics", "new", GetParam()), std::errc::file_exists);
    EXPECT_EQ(createFile(folder_.path(), "b.ics", "new", GetParam()), std::errc::file_exists);
    EXPECT_EQ(readFile(folder_ / "a.ics"), "old");
    EXPECT_EQ(namesIn(folder_.path()), (Texts{"a.ics", "b.ics"}));
}

TEST_P(LocalFileCreation, TakesTheFirstNameThatIsFree) {
    const NameChoices names = [](int number) {
        return number < 3 ? std::optional{std::to_string(number)} : std::nullopt;
    };
    writeFile(folder_ / "0", "old");
    EXPECT_EQ(createFile(folder_.path(), names, "first", GetParam()), std::error_code{});
    EXPECT_EQ(createFile(folder_.path(), names, "second", GetParam()), std::error_code{});
    EXPECT_EQ(createFile(folder_.path(), names, "third", GetParam()), std::errc::file_exists);
    EXPECT_EQ(namesIn(folder_.path()), (Texts{"0", "1", "2"}));
    EXPECT_EQ(readFile(folder_ / "0"), "old");
    EXPECT_EQ(readFile(folder_ / "2"), "second");
}

TEST_P(LocalFileCreation, ReturnsTheReasonOfAFailure) {
    EXPECT_EQ(createFile(folder_ / "none", "a.ics", "x", GetParam()),
              std::errc::no_such_file_or_directory);
    writeFile(folder_ / "file", "");
    EXPECT_EQ(createFile(folder_ / "file", "a.ics", "x", GetParam()), std::errc::not_a_directory);
}

TEST_P(LocalFileCreation, AFileThatDoesNotFitLeavesNothing) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small{1000, before.rlim_max};
    const auto disposition = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const std::error_code error =
        createFile(folder_.path(), "a.ics", std::string(5000, 'x'), GetParam());
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, disposition);
    EXPECT_EQ(error, std::errc::file_too_large);
    EXPECT_EQ(namesIn(folder_.path()), Texts{});
}

TEST_P(LocalFileCreation, RemovesWhatADeadMakerLeftAndNothingElse) {
    const Texts others{".velmiro-x", ".x.tmp", "velmiro-x.tmp"};
    for (const std::string& name : others) {
        writeFile(folder_ / "" + name, "");
    }
    writeFile(folder_ / ".velmiro-new-dead.tmp", "half");
    writeFile(folder_ / ".velmiro-new-alive.tmp", "half");
    const int alive = open((folder_ / ".velmiro-new-alive.tmp").c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(alive, 0);
    ASSERT_EQ(flock(alive, LOCK_EX), 0);
    ASSERT_EQ(createFile(folder_.path(), "a.ics", "x", GetParam()), std::error_code{});
    EXPECT_EQ(namesIn(folder_.path()),
              (Texts{".velmiro-new-alive.tmp", ".velmiro-x", ".x.tmp", "a.ics", "velmiro-x.tmp"}));
    close(alive);
}

TEST_P(LocalFileCreation, ManyAtOnceDoNotDisturbEachOther) {
    constexpr int each = 50;
    std::vector<std::thread> makers;
    makers.reserve(4);
    for (int maker = 0; maker < 4; ++maker) {
        makers.emplace_back([&, maker] {
            for (int number = 0; number < each; ++number) {
                const std::string name = std::to_string(maker * each + number) + ".ics";
                EXPECT_EQ(createFile(folder_.path(), name, name, GetParam()), std::error_code{});
            }
        });
    }
    for (std::thread& maker : makers) {
        maker.join();
    }
    EXPECT_EQ(namesIn(folder_.path()).size(), 4U * each);
}

TEST_P(LocalFileCreation, AMakerKilledAtAnyMomentLeavesNoPartOfAFile) {
    const std::string contents(100'000, 'x');
    for (int round = 0; round < 30; ++round) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (int number = 0;; ++number) {
                createFile(folder_.path(),
                           std::to_string(round) + "-" + std::to_string(number) + ".ics", contents,
                           GetParam());
            }
        }
        usleep(static_cast<useconds_t>(500 + round * 211));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        for (const std::string& name : namesIn(folder_.path())) {
            if (name.ends_with(".ics")) {
                ASSERT_EQ(readFile(folder_ / "" + name).size(), contents.size()) << name;
            } else {
                ASSERT_TRUE(name.starts_with(".velmiro-")) << name;
            }
        }
    }
    ASSERT_EQ(createFile(folder_.path(), "last.ics", contents, GetParam()), std::error_code{});
    for (const std::string& name : namesIn(folder_.path())) {
        EXPECT_TRUE(name.ends_with(".ics")) << name;
    }
}

TEST(LocalFileCreationByDefault, MakesTheFileAndReplacesNone) {
    const TemporaryFolder folder;
    ASSERT_EQ(createFile(folder.path(), "a.ics", "x"), std::error_code{});
    EXPECT_EQ(createFile(folder.path(), "a.ics", "y"), std::errc::file_exists);
    EXPECT_EQ(readFile(folder / "a.ics"), "x");
}

} // namespace
} // namespace velmiro::local
