#include "tests/velmiro_mcp/platform/local/Support.hpp"
#include "velmiro_mcp/ports/ContactStore.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include "velmiro_mcp/platform/local/files/RootCreation.hpp"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

// Calendars and reminder lists whose root does not exist: reading creates nothing, and the first
// item creates the root. Meanwhile a user or another program may put something else there.

namespace velmiro::local {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

const Calendar firstCalendar{"Calendar", "Calendar"};
const Calendar firstList{"Reminders", "Reminders"};

class LocalMissingRoot : public testing::Test {
protected:
    static std::string add(EventDatabase& database, const Calendar& calendar = firstCalendar) {
        // Read once: the thread sanitizer does not see the lock of the C library's clock.
        static const Instant start = at("2026-09-09");
        static const Instant end = at("2026-09-10");
        return database.saveEvent({"Dentist", start, end, false, {}, {}}, calendar);
    }
    std::string add() { return add(*database_); }
    std::string addReminder() { return database_->saveReminder({"Milk", {}, 0, {}}, firstList); }
    /// Returns the text of the error that adding an event throws.
    std::string failureOfAdding(const Calendar& calendar = firstCalendar) {
        try {
            add(*database_, calendar);
        } catch (const PlatformError& error) {
            return error.what();
        }
        return "(no failure)";
    }
    Texts titles(EntityType type = EntityType::event) {
        Texts found;
        for (const Calendar& calendar : database_->calendars(type)) {
            found.push_back(calendar.title);
        }
        return found;
    }
    /// Creates the folder that is to hold the calendars, and returns its path.
    [[nodiscard]] std::string makeParent() const {
        fs::create_directories(parent_);
        return parent_;
    }

    const std::string noSuchFile_ =
        "the calendar ‘Calendar’ cannot be written: No such file or directory";
    TemporaryHome home_;
    std::string parent_ = home_.path() + "/Library/Application Support/Velmiro";
    std::unique_ptr<EventDatabase> database_ = openEventDatabase();
};

TEST_F(LocalMissingRoot, IsReadAsOneEmptyCalendarAndStaysMissing) {
    EXPECT_EQ(database_->authorizationStatus(EntityType::event), AuthorizationStatus::fullAccess);
    EXPECT_EQ(titles(), Texts{"Calendar"});
    const auto target = database_->defaultCalendarForNewEvents().value();
    EXPECT_EQ(target.title, "Calendar");
    EXPECT_EQ(target.identifier, database_->calendars(EntityType::event)[0].identifier);
    EXPECT_TRUE(database_->events(at("2026-09-01"), at("2026-10-01"), nullptr).empty());
    EXPECT_TRUE(database_->events(at("2026-09-01"), at("2026-10-01"), &target).empty());
    EXPECT_EQ(namesIn(home_.path()), Texts{});
}

TEST_F(LocalMissingRoot, OfRemindersIsReadAsOneEmptyListAndStaysMissing) {
    EXPECT_EQ(database_->authorizationStatus(EntityType::reminder),
              AuthorizationStatus::fullAccess);
    EXPECT_EQ(titles(EntityType::reminder), Texts{"Reminders"});
    const auto target = database_->defaultListForNewReminders().value();
    EXPECT_EQ(target.title, "Reminders");
    EXPECT_TRUE(fetched(*database_).empty());
    EXPECT_TRUE(fetched(*database_, {true, {}, &target}).empty());
    EXPECT_FALSE(database_->reminder("milk"));
    EXPECT_FALSE(database_->completeReminder("milk"));
    EXPECT_EQ(namesIn(home_.path()), Texts{});
}

TEST_F(LocalMissingRoot, IsCreatedByTheFirstItemForTheUserAlone) {
    EXPECT_EQ(namesIn(makeParent()), Texts{});
    const std::string event = add();
    EXPECT_EQ(namesIn(parent_), Texts{"Calendars"});
    const std::string reminder = addReminder();
    EXPECT_EQ(namesIn(parent_), (Texts{"Calendars", "Reminders"}));
    EXPECT_EQ(namesIn(home_.calendars()), Texts{"Calendar"});
    EXPECT_EQ(namesIn(home_.reminders()), Texts{"Reminders"});
    EXPECT_EQ(namesIn(home_.calendars() + "/Calendar"), Texts{event + ".ics"});
    EXPECT_EQ(namesIn(home_.reminders() + "/Reminders"), Texts{reminder + ".ics"});
    for (const std::string& folder : {home_.calendars(), home_.calendars() + "/Calendar"}) {
        struct stat about{};
        ASSERT_EQ(stat(folder.c_str(), &about), 0);
        EXPECT_EQ(about.st_mode & 0777U, 0700U) << folder;
    }
    EXPECT_EQ(listed("2026-09-01", "2026-10-01").size(), 1U);
    EXPECT_EQ(titles(), Texts{"Calendar"});
}

TEST_F(LocalMissingRoot, IsCreatedWithAllFoldersAboveIt) {
    fs::remove(home_.path()); // not even the home is there
    add();
    EXPECT_EQ(namesIn(parent_), Texts{"Calendars"});
}

TEST_F(LocalMissingRoot, ThatWasRemovedIsCreatedAnew) {
    add();
    fs::remove_all(home_.calendars());
    EXPECT_EQ(titles(), Texts{"Calendar"});
    EXPECT_EQ(listed("2026-09-01", "2026-10-01"), Texts{});
    add();
    EXPECT_EQ(listed("2026-09-01", "2026-10-01").size(), 1U);
}

TEST_F(LocalMissingRoot, IsCreatedForNoOtherCalendar) {
    EXPECT_EQ(failureOfAdding({"Work", "Work"}),
              "the calendar ‘Work’ cannot be written: No such file or directory");
    // A calendar in the folder of that name, which the user removed together with the root.
    EXPECT_EQ(failureOfAdding({"Calendar", "Private"}),
              "the calendar ‘Private’ cannot be written: No such file or directory");
    EXPECT_EQ(namesIn(home_.path()), Texts{});
}

TEST_F(LocalMissingRoot, IsDeniedWhereItCouldNotBeCreated) {
    ASSERT_EQ(chmod(home_.path().c_str(), 0555), 0);
    {
        const Nobody nobody;
        if (!nobody.allowed()) {
            GTEST_SKIP() << "this process cannot act as another user";
        }
        EXPECT_EQ(database_->authorizationStatus(EntityType::event), AuthorizationStatus::denied);
        EXPECT_EQ(failureOfAdding(),
                  "the calendar ‘Calendar’ cannot be written: Permission denied");
    }
    EXPECT_EQ(namesIn(home_.path()), Texts{});
    ASSERT_EQ(chmod(home_.path().c_str(), 0777), 0);
    const Nobody nobody;
    EXPECT_EQ(database_->authorizationStatus(EntityType::event), AuthorizationStatus::fullAccess);
    EXPECT_EQ(namesIn(home_.path()), Texts{});
}

TEST_F(LocalMissingRoot, ItemsThatCannotBeStoredCreateNone) {
    const NewEvent event{std::string{"a\0b", 3}, at("2026-09-09"), at("2026-09-10"), false, {}, {}};
    EXPECT_THROW(database_->saveEvent(event, firstCalendar), PlatformError);
    EXPECT_EQ(namesIn(home_.path()), Texts{});
}

TEST_F(LocalMissingRoot, AFileThatDoesNotFitLeavesNone) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small{100, before.rlim_max};
    const auto disposition = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const std::string failure = failureOfAdding();
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, disposition);
    EXPECT_EQ(failure, "the calendar ‘Calendar’ cannot be written: File too large");
    EXPECT_EQ(namesIn(parent_), Texts{});
}

TEST_F(LocalMissingRoot, ThatBecameALinkToOtherCalendarsReceivesNothingUnasked) {
    const TemporaryFolder theirs;
    fs::create_directory(theirs / "work");
    EXPECT_EQ(titles(), Texts{"Calendar"}); // this is what the user was asked about
    fs::create_directory_symlink(theirs.path(), makeParent() + "/Calendars");
    EXPECT_EQ(failureOfAdding(), noSuchFile_);
    EXPECT_EQ(namesIn(theirs.path()), Texts{"work"});
    EXPECT_EQ(namesIn(theirs / "work"), Texts{});
    // From then on their first calendar is the default.
    EXPECT_EQ(titles(), Texts{"work"});
    add(*database_, database_->defaultCalendarForNewEvents().value());
    EXPECT_EQ(namesIn(theirs / "work").size(), 1U);
}

TEST_F(LocalMissingRoot, ThatBecameAFolderWithAnotherCalendarOfThatNameReceivesNothing) {
    const TemporaryFolder theirs;
    fs::create_directory(theirs / "Calendar");
    writeFile(theirs / "Calendar/displayname", "Private");
    fs::create_directory_symlink(theirs.path(), makeParent() + "/Calendars");
    EXPECT_EQ(failureOfAdding(), noSuchFile_);
    EXPECT_EQ(namesIn(theirs / "Calendar"), Texts{"displayname"});
    // One that has the title as well is the calendar that was asked about.
    writeFile(theirs / "Calendar/displayname", "Calendar");
    add();
    EXPECT_EQ(namesIn(theirs / "Calendar").size(), 2U);
}

TEST_F(LocalMissingRoot, ThatBecameAnEmptyFolderHoldsNoCalendar) {
    fs::create_directories(home_.calendars());
    EXPECT_EQ(failureOfAdding(), noSuchFile_);
    EXPECT_EQ(namesIn(home_.calendars()), Texts{});
}

TEST_F(LocalMissingRoot, ThatBecameADanglingLinkIsAnError) {
    fs::create_directory_symlink("/nowhere", makeParent() + "/Calendars");
    EXPECT_EQ(failureOfAdding(), noSuchFile_);
    EXPECT_THROW(titles(), PlatformError);
    EXPECT_THROW(database_->defaultCalendarForNewEvents(), PlatformError);
    EXPECT_EQ(namesIn(parent_), Texts{"Calendars"});
}

TEST_F(LocalMissingRoot, BelowADanglingLinkIsAnErrorNotAnEmptyCalendar) {
    fs::create_directories(home_.path() + "/Library/Application Support");
    fs::create_directory_symlink("/nowhere/at all", parent_);
    EXPECT_THROW(titles(), PlatformError);
    EXPECT_THROW(listed("2026-09-01", "2026-10-01"), PlatformError);
    EXPECT_THROW(database_->defaultListForNewReminders(), PlatformError);
    EXPECT_THROW(openContactStore()->contactsMatchingName("anna"), PlatformError);
    EXPECT_EQ(failureOfAdding(), noSuchFile_);
}

TEST_F(LocalMissingRoot, OfContactsIsEmptyAndStaysMissing) {
    EXPECT_TRUE(openContactStore()->contactsMatchingName("anna").empty());
    EXPECT_EQ(namesIn(home_.path()), Texts{});
}

TEST_F(LocalMissingRoot, IsCreatedOnceByManyAtTheSameTime) {
    for (int round = 0; round < 30; ++round) {
        const TemporaryHome home;
        std::vector<std::thread> makers;
        makers.reserve(6);
        for (int maker = 0; maker < 6; ++maker) {
            makers.emplace_back([maker] {
                const auto database = openEventDatabase();
                if (maker % 3 == 0) {
                    EXPECT_NO_THROW(database->saveReminder({"Milk", {}, 0, {}}, firstList));
                } else {
                    EXPECT_NO_THROW(add(*database));
                }
            });
        }
        for (std::thread& maker : makers) {
            maker.join();
        }
        ASSERT_EQ(namesIn(home.calendars() + "/.."), (Texts{"Calendars", "Reminders"}));
        ASSERT_EQ(namesIn(home.calendars()), Texts{"Calendar"});
        ASSERT_EQ(namesIn(home.reminders()), Texts{"Reminders"});
        ASSERT_EQ(namesIn(home.calendars() + "/Calendar").size(), 4U);
        ASSERT_EQ(namesIn(home.reminders() + "/Reminders").size(), 2U);
    }
}

TEST_F(LocalMissingRoot, IsCreatedWholeOrNotAtAllByOneThatIsKilled) {
    const std::string root = makeParent() + "/Calendars";
    for (int round = 0; round < 30; ++round) {
        const TemporaryFolder done; // where the roots go in one step
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (int number = 0;; ++number) {
                createRoot({root, "Calendar"});
                rename(root.c_str(), (done / std::to_string(number)).c_str());
            }
        }
        usleep(static_cast<useconds_t>(300 + round * 211));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        for (const std::string& name : namesIn(parent_)) {
            EXPECT_TRUE(name == "Calendars" || name == ".velmiro-new-Calendars") << name;
        }
        EXPECT_TRUE(!fs::exists(root) || fs::is_directory(root + "/Calendar"));
        add();
        ASSERT_EQ(namesIn(parent_), Texts{"Calendars"});
        fs::remove_all(root);
    }
}

TEST_F(LocalMissingRoot, ANameThatIsTakenIsNeverReplaced) {
    const std::string root = makeParent() + "/Calendars";
    const auto isLeftAlone = [&] {
        const RootCreation creation = createRoot({root, "Calendar"});
        EXPECT_FALSE(creation.isMade);
        EXPECT_EQ(creation.error, std::error_code{});
        EXPECT_EQ(namesIn(parent_), Texts{"Calendars"});
    };
    fs::create_directory(root);
    struct stat before{};
    ASSERT_EQ(stat(root.c_str(), &before), 0);
    isLeftAlone();
    struct stat after{};
    ASSERT_EQ(stat(root.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(namesIn(root), Texts{});
    fs::remove(root);

    writeFile(root, "theirs");
    isLeftAlone();
    EXPECT_EQ(readFile(root), "theirs");
    fs::remove(root);

    fs::create_directory_symlink("/nowhere", root);
    isLeftAlone();
    EXPECT_EQ(fs::read_symlink(root), "/nowhere");
}

} // namespace
} // namespace velmiro::local
