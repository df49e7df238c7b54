#include "tests/approval_host/Asker.hpp"
#include "tests/approval_host/HostProcess.hpp"

#include <gtest/gtest.h>

#include <csignal>

namespace velmiro::host::test {
namespace {

TEST(Unattended, AllowsEverythingAndPrintsOneLineForEachQuestion) {
    const TemporaryFolder folder;
    HostProcess host{{.arguments = {"--yes", "--socket", folder / "s"}}};
    host.waitFor("listening at " + (folder / "s") + '\n');
    for (const std::string summary : {"one", "two\n\033[2J"}) {
        Asker asker{folder / "s"};
        asker.ask("notes_create", summary);
        EXPECT_EQ(asker.reply(), yes);
    }
    EXPECT_EQ(host.waitFor("[2J\n"), "allowed notes_create: one\n"
                                     "allowed notes_create: two␊␛[2J\n");
}

TEST(Unattended, RefusesEverything) {
    const TemporaryFolder folder;
    HostProcess host{{.arguments = {"--no", "--socket", folder / "s"}}};
    host.waitFor("listening at " + (folder / "s") + '\n');
    Asker asker{folder / "s"};
    asker.ask("notes_create", "one");
    EXPECT_EQ(asker.reply(), no);
    EXPECT_EQ(host.waitFor("one\n"), "refused notes_create: one\n");
}

TEST(Unattended, RefusesGarbageEvenWhereEverythingIsAllowed) {
    const TemporaryFolder folder;
    HostProcess host{{.arguments = {"--yes", "--socket", folder / "s"}}};
    host.waitFor("listening at ");
    Asker asker{folder / "s"};
    asker.send("{\"summary\":\"one\"}\n");
    EXPECT_EQ(asker.reply(), no);
}

TEST(Unattended, RunsOnWithoutInput) {
    const TemporaryFolder folder;
    HostProcess host{{.arguments = {"--yes", "--socket", folder / "s"}, .input = Stdin::closed}};
    host.waitFor("listening at ");
    Asker asker{folder / "s"};
    asker.ask("notes_create", "one");
    EXPECT_EQ(asker.reply(), yes);
    host.signal(SIGTERM);
    EXPECT_EQ(host.waitForExit(), 0);
}

TEST(Unattended, AllowsNothingThatItCannotPrint) {
    const TemporaryFolder folder;
    HostProcess host{{.arguments = {"--yes", "--socket", folder / "s"}}};
    host.waitFor("listening at ");
    host.closeOutput();
    Asker asker{folder / "s"};
    asker.ask("notes_create", "one");
    EXPECT_EQ(asker.reply(), no);
    EXPECT_EQ(host.waitForExit(), 0);
}

TEST(Unattended, CanBeEndedWhileNobodyReadsWhatItPrints) {
    const TemporaryFolder folder;
    HostProcess host{{.arguments = {"--yes", "--socket", folder / "s"}}};
    host.waitFor("listening at ");
    // Enough questions to fill any pipe; the full pipe delays the first one that is not answered.
    for (bool isHeld = false; !isHeld;) {
        Asker asker{folder / "s"};
        asker.ask("notes_create", std::string(400, 'x'));
        isHeld = !asker.isAnsweredWithin(2000);
    }
    host.signal(SIGTERM);
    EXPECT_EQ(host.waitForExit(), 0);
}

} // namespace
} // namespace velmiro::host::test
