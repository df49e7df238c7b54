#include "tests/approval_host/Asker.hpp"
#include "tests/approval_host/HostProcess.hpp"

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace velmiro::host::test {
namespace {

constexpr std::string_view prompt = "Allow? [y/n] ";

using Askers = std::vector<std::unique_ptr<Asker>>;

Askers askMany(const std::string& path, int count) {
    Askers askers;
    for (int number = 0; number < count; ++number) {
        askers.push_back(std::make_unique<Asker>(path));
        EXPECT_TRUE(askers.back()->isConnected());
        askers.back()->ask("notes_create", "number " + std::to_string(number));
    }
    return askers;
}

void waitUntilReceived(const std::string& path) {
    Asker probe{path};
    probe.send("nonsense\n");
    EXPECT_EQ(probe.reply(), no);
}

std::string notice(int waiting) {
    if (waiting == 0) {
        return "";
    }
    return '(' + std::to_string(waiting) +
           (waiting == 1 ? " more question waits)\n" : " more questions wait)\n");
}

/// Answers the questions from `first` on with yes and no in turn. Checks that they are asked in
/// order, each with the number waiting after it, and that nobody is answered out of turn.
void answerInOrder(HostProcess& host, Askers& askers, int first) {
    const int count = static_cast<int>(askers.size());
    for (int number = first; number < count; ++number) {
        const std::string shown = host.waitFor(prompt);
        const std::string expected = "    number " + std::to_string(number) + '\n' +
                                     notice(count - 1 - number) + std::string{prompt};
        ASSERT_TRUE(shown.ends_with(expected)) << shown;
        if (number + 1 < count) {
            ASSERT_FALSE(askers[static_cast<std::size_t>(number) + 1]->isAnswered());
        }
        host.type(number % 2 == 0 ? "y\n" : "n\n");
        ASSERT_EQ(askers[static_cast<std::size_t>(number)]->reply(), number % 2 == 0 ? yes : no);
    }
}

double processorSeconds() {
    rusage used{};
    ::getrusage(RUSAGE_CHILDREN, &used);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(used.ru_utime) + seconds(used.ru_stime);
}

TEST(ManyAskers, AreAllTakenAtOnceAndAskedInOrder) {
    const TemporaryFolder folder;
    HostProcess host{{.arguments = {"--socket", folder / "s"}}};
    host.waitFor("listening at ");
    Askers askers = askMany(folder / "s", 1000);
    waitUntilReceived(folder / "s");
    // The first was shown before the others arrived.
    host.waitFor("    number 0\n");
    host.waitFor(prompt);
    host.type("y\n");
    EXPECT_EQ(askers.front()->reply(), yes);
    answerInOrder(host, askers, 1);
}

TEST(ManyAskers, AreAnsweredAtOnceWhereNobodyIsAsked) {
    const TemporaryFolder folder;
    HostProcess host{{.arguments = {"--yes", "--socket", folder / "s"}}};
    host.waitFor("listening at ");
    const Askers askers = askMany(folder / "s", 1000);
    for (const auto& asker : askers) {
        ASSERT_EQ(asker->reply(), yes);
    }
}

TEST(ManyAskers, CanAllHangUpAtOnce) {
    const TemporaryFolder folder;
    HostProcess host{{.arguments = {"--socket", folder / "s"}}};
    host.waitFor("listening at ");
    Askers askers = askMany(folder / "s", 1000);
    waitUntilReceived(folder / "s");
    host.waitFor(prompt);
    askers.clear();
    host.waitFor("Withdrawn");
    Asker last{folder / "s"};
    last.ask("notes_create", "last");
    EXPECT_EQ(host.waitFor(prompt), ": whoever asked is gone.\n\nnotes_create wants to:\n"
                                    "    last\nAllow? [y/n] ");
    host.type("y\n");
    EXPECT_EQ(last.reply(), yes);
}

TEST(ManyAskers, GiveTheirDescriptorsBack) {
    const TemporaryFolder folder;
    HostProcess host{{.arguments = {"--yes", "--socket", folder / "s"}, .descriptors = 20}};
    host.waitFor("listening at ");
    for (int round = 0; round < 100; ++round) {
        Asker asker{folder / "s"};
        asker.ask("notes_create", "one");
        ASSERT_EQ(asker.reply(), yes);
        Asker garbage{folder / "s"};
        garbage.send("x\n");
        ASSERT_EQ(garbage.reply(), no);
        Asker{folder / "s"}.hangUp();
    }
}

TEST(ManyAskers, WaitQuietlyWhenDescriptorsRunOut) {
    const double before = processorSeconds();
    const TemporaryFolder folder;
    HostProcess host{{.arguments = {"--socket", folder / "s"}, .descriptors = 20}};
    host.waitFor("listening at ");
    Askers askers = askMany(folder / "s", 100);
    host.waitFor("    number 0\n");
    host.waitFor(prompt);
    EXPECT_EQ(host.printedWithin(3000), "");
    for (int number = 0; number < 100; ++number) {
        if (number > 0) {
            host.waitFor("    number " + std::to_string(number) + '\n');
            host.waitFor(prompt);
        }
        host.type("y\n");
        ASSERT_EQ(askers[static_cast<std::size_t>(number)]->reply(), yes);
    }
    host.signal(SIGTERM);
    EXPECT_EQ(host.waitForExit(), 0);
    EXPECT_LT(processorSeconds() - before, 1.0) << "it spins while it waits";
}

TEST(ManyAskers, WaitUnacceptedBeyondWhatMacOSCanPoll) {
    constexpr rlim_t enough = 10'100;
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::max(limit.rlim_cur, enough);
    if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) {
        GTEST_SKIP() << "this system does not allow so many descriptors";
    }
    const TemporaryFolder folder;
    HostProcess host{{.arguments = {"--socket", folder / "s"}}};
    host.waitFor("listening at ");
    const Askers askers = askMany(folder / "s", 10'000);
    Asker last{folder / "s"};
    last.send("nonsense\n");
    host.waitFor("    number 0\n");
    host.waitFor(prompt);
    EXPECT_FALSE(last.isAnsweredWithin(2000));
    host.type("y\n");
    EXPECT_EQ(askers.front()->reply(), yes);
    EXPECT_EQ(last.reply(), no);
}

TEST(ManyAskers, WhoNeverEndTheirLineKeepNoQuestionFromTheScreen) {
    const TemporaryFolder folder;
    HostProcess host{{.arguments = {"--socket", folder / "s"}, .descriptors = 20}};
    host.waitFor("listening at ");
    Askers half;
    for (int number = 0; number < 30; ++number) {
        half.push_back(std::make_unique<Asker>(folder / "s"));
        half.back()->send(number % 2 == 0 ? "" : "{\"summary\":\"");
    }
    Asker asker{folder / "s"};
    asker.ask("notes_create", "a real one");
    host.waitFor("    a real one\n");
    host.waitFor(prompt);
    EXPECT_EQ(half.front()->reply(), no);
    EXPECT_FALSE(asker.isAnswered());
    host.type("y\n");
    EXPECT_EQ(asker.reply(), yes);
}

TEST(ManyAskers, AQuestionThatIsBegunMayTakeSomeSecondsWhereNobodyElseWaits) {
    const TemporaryFolder folder;
    HostProcess host{{.arguments = {"--socket", folder / "s"}}};
    host.waitFor("listening at ");
    Asker slow{folder / "s"};
    slow.send(R"({"summary":"late","tool":"x"})");
    Asker silent{folder / "s"};
    EXPECT_FALSE(slow.isAnsweredWithin(2000));
    slow.send("\n");
    host.waitFor("    late\n");
    host.waitFor(prompt);
    EXPECT_EQ(silent.reply(), no);
    host.type("y\n");
    EXPECT_EQ(slow.reply(), yes);
}

TEST(ManyAskers, CostNoMemoryForWhatIsNotShown) {
    const TemporaryFolder folder;
    HostProcess host{{.arguments = {"--socket", folder / "s"},
                      .environment = {{"ASAN_OPTIONS", "quarantine_size_mb=1"}}}};
    host.waitFor("listening at ");
    Askers askers;
    for (int count = 0; count < 100; ++count) {
        askers.push_back(std::make_unique<Asker>(folder / "s"));
        askers.back()->ask("notes_create", std::string(3'000'000, 'x'));
    }
    waitUntilReceived(folder / "s");
    const std::string statistics = "/proc/" + std::to_string(host.id()) + "/statm";
    if (!std::filesystem::exists(statistics)) {
        GTEST_SKIP() << "this system does not tell a process's memory in /proc";
    }
    std::size_t pages = 0;
    std::size_t residentPages = 0;
    std::ifstream{statistics} >> pages >> residentPages;
    EXPECT_GT(residentPages, 0U);
    EXPECT_LT(residentPages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)), 150'000'000U);
}

} // namespace
} // namespace velmiro::host::test
