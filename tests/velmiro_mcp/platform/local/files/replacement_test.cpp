// Replacing a file with a changed version, whatever other programs do at the same time.

#include "tests/velmiro_mcp/platform/local/Support.hpp"

#include "velmiro_mcp/platform/local/files/FileReplacement.hpp"
#include "velmiro_mcp/platform/local/files/HiddenFiles.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>

namespace velmiro::local {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Texts = std::vector<std::string>;
using End = Replacement::End;

const Replacement done{};
const Replacement conflict{End::conflict, {}, {}};

Replacement failed(std::errc error) {
    return {End::failed, std::make_error_code(error), {}};
}

class LocalFileReplacement : public testing::TestWithParam<Replacing> {
protected:
    [[nodiscard]] std::string path(const std::string& name) const { return folder_ / "" + name; }
    Replacement replace(const std::string& name, std::string_view expected,
                        std::string_view contents) {
        return replaceFile(path(name), expected, contents, GetParam());
    }

    TemporaryFolder folder_;
};

INSTANTIATE_TEST_SUITE_P(Ways, LocalFileReplacement,
                         testing::Values(Replacing::bySwap, Replacing::byRename),
                         [](const auto& way) {
                             return way.param == Replacing::bySwap ? "BySwap" : "ByRename";
                         });

} // namespace

TEST_P(LocalFileReplacement, PutsTheNewVersionInPlaceAndLeavesNothingElse) {
    writeFile(path("a.ics"), "old");
    EXPECT_EQ(replace("a.ics", "old", "new"), done);
    EXPECT_EQ(readFile(path("a.ics")), "new");
    EXPECT_EQ(namesIn(folder_.path()), Texts{"a.ics"});
}

TEST_P(LocalFileReplacement, LeavesAVersionThatIsNotTheOneRead) {
    writeFile(path("a.ics"), "other");
    EXPECT_EQ(replace("a.ics", "old", "new"), conflict);
    EXPECT_EQ(readFile(path("a.ics")), "other");
    EXPECT_EQ(namesIn(folder_.path()), Texts{"a.ics"});
}

TEST_P(LocalFileReplacement, MakesNoFileWhereThereIsNone) {
    EXPECT_EQ(replace("a.ics", "old", "new"), conflict);
    EXPECT_EQ(namesIn(folder_.path()), Texts{});
}

TEST_P(LocalFileReplacement, KeepsTheModeOfTheFile) {
    writeFile(path("a.ics"), "old");
    ASSERT_EQ(chmod(path("a.ics").c_str(), 0664), 0);
    ASSERT_EQ(replace("a.ics", "old", "new"), done);
    struct stat about{};
    ASSERT_EQ(stat(path("a.ics").c_str(), &about), 0);
    EXPECT_EQ(about.st_mode & 07777U, 0664U);
}

TEST_P(LocalFileReplacement, ReplacesWhatALinkLeadsToAndKeepsTheLink) {
    fs::create_directory(path("elsewhere"));
    writeFile(path("elsewhere/real.ics"), "old");
    fs::create_symlink("elsewhere/real.ics", path("a.ics"));
    EXPECT_EQ(replace("a.ics", "old", "new"), done);
    EXPECT_TRUE(fs::is_symlink(path("a.ics")));
    EXPECT_EQ(readFile(path("elsewhere/real.ics")), "new");
    EXPECT_EQ(namesIn(path("elsewhere")), Texts{"real.ics"});
}

TEST_P(LocalFileReplacement, AVersionThatDoesNotFitChangesNothing) {
    writeFile(path("a.ics"), "old");
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small{1000, before.rlim_max};
    const auto disposition = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const Replacement end = replace("a.ics", "old", std::string(5000, 'x'));
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, disposition);
    EXPECT_EQ(end, failed(std::errc::file_too_large));
    EXPECT_EQ(readFile(path("a.ics")), "old");
    EXPECT_EQ(namesIn(folder_.path()), Texts{"a.ics"});
}

TEST_P(LocalFileReplacement, WaitsForWhoeverLocksTheFolderButNotForEver) {
    writeFile(path("a.ics"), "old");
    const auto holder = [this] {
        Descriptor folder{open(folder_.path().c_str(), O_RDONLY | O_CLOEXEC)};
        EXPECT_EQ(flock(folder.get(), LOCK_EX), 0);
        return folder;
    };
    {
        const Descriptor forgotten = holder();
        EXPECT_EQ(replaceFile(path("a.ics"), "old", "new", GetParam(), 20ms),
                  failed(std::errc::device_or_resource_busy));
        EXPECT_EQ(readFile(path("a.ics")), "old");
        EXPECT_EQ(namesIn(folder_.path()), Texts{"a.ics"});
    }
    std::optional<Descriptor> busy{holder()};
    std::thread soon{[&busy] {
        std::this_thread::sleep_for(50ms);
        busy.reset();
    }};
    EXPECT_EQ(replace("a.ics", "old", "new"), done);
    soon.join();
    EXPECT_EQ(readFile(path("a.ics")), "new");
}

TEST_P(LocalFileReplacement, WaitsForWhoeverHasTheFileOpenForWritingButNotForEver) {
    writeFile(path("a.ics"), "old");
    std::optional<Descriptor> editor{open(path("a.ics").c_str(), O_WRONLY | O_CLOEXEC)};
    EXPECT_EQ(replaceFile(path("a.ics"), "old", "new", GetParam(), 20ms),
              failed(std::errc::device_or_resource_busy));
    EXPECT_EQ(readFile(path("a.ics")), "old");
    EXPECT_EQ(namesIn(folder_.path()), Texts{"a.ics"});
    std::thread soon{[&editor] {
        std::this_thread::sleep_for(50ms);
        EXPECT_EQ(pwrite(editor->get(), "odd", 3, 0), 3);
        editor.reset();
    }};
    EXPECT_EQ(replace("a.ics", "old", "new"), conflict);
    soon.join();
    EXPECT_EQ(readFile(path("a.ics")), "odd");
}

TEST_P(LocalFileReplacement, KilledAtAnyMomentLeavesTheOldFileOrTheNew) {
    const std::string even(50'000, 'e');
    const std::string odd(60'000, 'o');
    writeFile(path("a.ics"), even);
    for (int round = 0; round < 30; ++round) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (;;) {
                replace("a.ics", even, odd);
                replace("a.ics", odd, even);
            }
        }
        usleep(static_cast<useconds_t>(500 + round * 211));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        const std::string found = readFile(path("a.ics"));
        ASSERT_TRUE(found == even || found == odd) << found.size();
        for (const std::string& name : namesIn(folder_.path())) {
            ASSERT_TRUE(name == "a.ics" || name.starts_with('.')) << name;
        }
    }
    const std::string found = readFile(path("a.ics"));
    ASSERT_EQ(replace("a.ics", found, "last"), done);
    EXPECT_EQ(namesIn(folder_.path()), Texts{"a.ics"}) << "leftovers go with the next change";
}

TEST(LocalFileReplacement, AVersionOfAnotherProgramLeftAsideIsNotRemoved) {
    const TemporaryFolder folder;
    const std::string file = folder / "a.ics";
    writeFile(file, "new");
    const pid_t dead = fork();
    ASSERT_GE(dead, 0);
    if (dead == 0) {
        for (const char* contents : {"old", "new", "written by another program"}) {
            writeFile(folder / "" + asideName("old", "new"), contents);
        }
        _exit(0);
    }
    waitpid(dead, nullptr, 0);
    const std::string alive = asideName("old", "new");
    writeFile(folder / "" + alive, "old");
    ASSERT_EQ(namesIn(folder.path()).size(), 5U);
    ASSERT_EQ(replaceFile(file, "new", "newer"), done);
    Texts left;
    for (const std::string& name : namesIn(folder.path())) {
        left.push_back(readFile(folder / "" + name));
    }
    std::ranges::sort(left);
    EXPECT_EQ(left, (Texts{"newer", "old", "written by another program"}));
    EXPECT_TRUE(fs::exists(folder / "" + alive));
}

TEST(LocalFileReplacement, LosesNothingOfAWriterThatReplacesByRenameInALoop) {
    const TemporaryFolder folder;
    const std::string file = folder / "a.ics";
    writeFile(file, "0");
    constexpr int versions = 10'000;
    std::atomic<bool> finished = false;
    std::atomic<int> lost = 0;
    // An older version may briefly appear in place of the one just written.
    const auto appears = [&](int version) {
        const auto end = std::chrono::steady_clock::now() + 20s;
        while (std::stoi(readFile(file)) != version) {
            if (std::chrono::steady_clock::now() > end) {
                return false;
            }
        }
        return true;
    };
    std::thread writer{[&] {
        for (int version = 1; version <= versions && lost == 0; ++version) {
            writeFile(folder / "other", std::to_string(version));
            fs::rename(folder / "other", file);
            lost = appears(version) ? 0 : version;
        }
        finished = true;
    }};
    // Each of the writer's versions may get a mark. The file never goes back to a version before
    // the one that was marked or seen last.
    int seen = 0;
    int marked = 0;
    int refused = 0;
    for (bool last = false; !last;) {
        last = finished;
        const std::string current = readFile(file);
        const int version = std::stoi(current);
        ASSERT_GE(version, seen);
        seen = version;
        if (!current.ends_with("+")) {
            const Replacement end = replaceFile(file, current, current + "+");
            ASSERT_TRUE(end == done || end == conflict) << end.error;
            (end == done ? marked : refused) += 1;
        }
    }
    writer.join();
    ASSERT_EQ(lost, 0);
    EXPECT_EQ(readFile(file), std::to_string(versions) + "+");
    EXPECT_GT(marked, 0);
    EXPECT_GT(refused, 0) << "the two never met: this proved nothing";
    EXPECT_EQ(namesIn(folder.path()), Texts{"a.ics"});
}

TEST_P(LocalFileReplacement, LosesNothingOfAWriterThatWritesInPlaceInALoop) {
    const std::string file = path("a.ics");
    writeFile(file, "0");
    constexpr int versions = 500;
    std::atomic<bool> finished = false;
    std::atomic<int> lost = 0;
    // Like an editor: open, truncate, write, close. It then reads what it wrote, with or without a
    // mark.
    std::thread writer{[&] {
        for (int version = 1; version <= versions && lost == 0; ++version) {
            writeFile(file, std::to_string(version));
            const std::string found = readFile(file);
            lost = found == std::to_string(version) || found == std::to_string(version) + "+"
                       ? 0
                       : version;
            // Up to the duration of a replacement, so that the two meet at each of its steps.
            std::this_thread::sleep_for(std::chrono::microseconds{version * 37 % 3000});
        }
        finished = true;
    }};
    int marked = 0;
    for (bool last = false; !last;) {
        last = finished;
        const std::string current = readFile(file);
        if (!current.empty() && !current.ends_with("+")) {
            const Replacement end = replace("a.ics", current, current + "+");
            ASSERT_TRUE(end == done || end == conflict) << end.error;
            marked += end == done ? 1 : 0;
        }
    }
    writer.join();
    EXPECT_EQ(lost, 0);
    EXPECT_EQ(readFile(file), std::to_string(versions) + "+");
    EXPECT_GT(marked, 1);
    EXPECT_EQ(namesIn(folder_.path()), Texts{"a.ics"});
}

TEST(LocalFileReplacement, OneOfTwoChangesToTheSameVersionWins) {
    const TemporaryFolder folder;
    const std::string file = folder / "a.ics";
    writeFile(file, "0");
    // Each adds one to the number it read, and tries again after a conflict: no addition is lost.
    constexpr int each = 300;
    std::vector<std::thread> changers;
    for (int changer = 0; changer < 3; ++changer) {
        changers.emplace_back([&] {
            for (int count = 0; count < each;) {
                const std::string current = readFile(file);
                const Replacement end =
                    replaceFile(file, current, std::to_string(std::stoi(current) + 1));
                ASSERT_TRUE(end == done || end == conflict) << end.error;
                count += end == done ? 1 : 0;
            }
        });
    }
    for (std::thread& changer : changers) {
        changer.join();
    }
    EXPECT_EQ(readFile(file), std::to_string(3 * each));
    EXPECT_EQ(namesIn(folder.path()), Texts{"a.ics"});
}

} // namespace velmiro::local
