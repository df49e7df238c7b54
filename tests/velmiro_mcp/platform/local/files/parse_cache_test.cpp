// The cache of parsed files never returns what a file no longer holds.

#include "velmiro_mcp/platform/local/files/ParseCache.hpp"

#include "support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace fs = std::filesystem;
using namespace velmiro::local;

namespace {

struct Letters {
    std::string text;
};

std::size_t memoryOf(const Letters& letters) {
    return letters.text.size();
}

/// Only files older than two seconds are cached; to this clock, all of the test's files are.
std::chrono::hours ahead{1};
std::chrono::system_clock::time_point clockAhead() {
    return std::chrono::system_clock::now() + ahead;
}

using Cache = ParseCache<Letters>;

class ParseCacheTest : public testing::Test {
protected:
    std::string path(const std::string& name) const { return (folder_.path() / name).string(); }

    void write(const std::string& name, std::string_view text) const { folder_.write(name, text); }

    /// Returns the cache's answer, "(none)" for null. Counts how often it had to parse.
    std::string read(const std::string& name) {
        const OpenFolder folder{folder_.path()};
        Cache::Reader reader{cache_, folder};
        return read(reader, name);
    }

    std::string read(Cache::Reader& reader, const std::string& name) {
        const auto found = reader.read(name, 1000, [this](std::string bytes) {
            ++parsed_;
            return Letters{std::move(bytes)};
        });
        return found ? found->text : "(none)";
    }

    velmiro::support::TemporaryFolder folder_;
    Cache cache_{10'000, &clockAhead};
    int parsed_ = 0;
};

} // namespace

TEST_F(ParseCacheTest, ParsesAFileThatDoesNotChangeOnce) {
    write("a", "one");
    EXPECT_EQ(read("a"), "one");
    EXPECT_EQ(read("a"), "one");
    EXPECT_EQ(parsed_, 1);
}

TEST_F(ParseCacheTest, SeesAnEdit) {
    write("a", "one");
    read("a");
    write("a", "three");
    EXPECT_EQ(read("a"), "three");
}

TEST_F(ParseCacheTest, SeesAReplacementByRename) {
    write("a", "one");
    write("b", "two");
    read("a");
    fs::rename(path("b"), path("a"));
    EXPECT_EQ(read("a"), "two");
}

TEST_F(ParseCacheTest, SeesAReplacementWhoseTimeAndSizeAreThoseOfTheOld) {
    write("a", "one");
    write("b", "two");
    read("a");
    struct stat about{};
    ASSERT_EQ(stat(path("a").c_str(), &about), 0);
    const timespec times[2] = {about.st_atim, about.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, path("b").c_str(), times, 0), 0);
    fs::rename(path("b"), path("a"));
    EXPECT_EQ(read("a"), "two");
}

TEST_F(ParseCacheTest, SeesAnEditOfEqualSizeWhoseTimeIsPutBack) {
    write("a", "one");
    read("a");
    struct stat about{};
    ASSERT_EQ(stat(path("a").c_str(), &about), 0);
    write("a", "two");
    const timespec times[2] = {about.st_atim, about.st_mtim};
    // The time of change is set by the system and cannot be put back: wait until it differs.
    struct stat after{};
    do {
        ASSERT_EQ(utimensat(AT_FDCWD, path("a").c_str(), times, 0), 0);
        ASSERT_EQ(stat(path("a").c_str(), &after), 0);
    } while (after.st_ctim.tv_sec == about.st_ctim.tv_sec &&
             after.st_ctim.tv_nsec == about.st_ctim.tv_nsec);
    EXPECT_EQ(read("a"), "two");
}

TEST_F(ParseCacheTest, SeesADeletionAndAReturn) {
    write("a", "one");
    read("a");
    fs::remove(path("a"));
    EXPECT_EQ(read("a"), "(none)");
    write("a", "one");
    EXPECT_EQ(read("a"), "one");
}

TEST_F(ParseCacheTest, SeesTheNewTargetOfALink) {
    write("one", "one");
    write("two", "two");
    fs::create_symlink(path("one"), path("a"));
    EXPECT_EQ(read("a"), "one");
    fs::remove(path("a"));
    fs::create_symlink(path("two"), path("a"));
    EXPECT_EQ(read("a"), "two");
}

TEST_F(ParseCacheTest, ReadsAFileAnewThatWasChangedAMomentAgo) {
    // Within a tick of the clock, an edit of equal size leaves the stamp unchanged.
    Cache cache{10'000};
    const OpenFolder folder{folder_.path()};
    Cache::Reader reader{cache, folder};
    int parsed = 0;
    const auto parse = [&parsed](std::string bytes) {
        ++parsed;
        return Letters{std::move(bytes)};
    };
    for (int round = 0; round < 200; ++round) {
        const std::string text = round % 2 == 0 ? "one" : "two";
        write("a", text);
        const auto found = reader.read("a", 1000, parse);
        ASSERT_TRUE(found);
        ASSERT_EQ(found->text, text) << "round " << round;
    }
    EXPECT_EQ(parsed, 200);
}

TEST_F(ParseCacheTest, ReturnsNullIfItIsNotAFileOrTooLarge) {
    write("large", std::string(1001, 'x'));
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(read("large"), "(none)");
    EXPECT_EQ(read("pipe"), "(none)");
    EXPECT_EQ(read("."), "(none)");
    EXPECT_EQ(read("missing"), "(none)");
    EXPECT_EQ(parsed_, 0);
}

TEST_F(ParseCacheTest, StaysWithinItsBoundAndStillReadsEverything) {
    for (int round = 0; round < 3; ++round) {
        for (int file = 0; file < 100; ++file) {
            const std::string name = std::to_string(file);
            if (round == 0) {
                write(name, std::string(500, static_cast<char>('a' + file % 26)));
            }
            ASSERT_EQ(read(name), std::string(500, static_cast<char>('a' + file % 26)));
            ASSERT_LE(cache_.memory(), 10'000U);
        }
    }
    EXPECT_LT(parsed_, 300) << "what fits is kept";
    EXPECT_GT(parsed_, 200) << "what does not is read anew";
}

TEST_F(ParseCacheTest, DropsWhatNobodyUsesAnyLonger) {
    for (int file = 0; file < 12; ++file) {
        write("old" + std::to_string(file), std::string(500, 'o'));
        read("old" + std::to_string(file));
    }
    ahead += std::chrono::hours{1};
    for (int file = 0; file < 10; ++file) {
        write("new" + std::to_string(file), std::string(500, 'n'));
        read("new" + std::to_string(file));
    }
    parsed_ = 0;
    for (int file = 0; file < 10; ++file) {
        read("new" + std::to_string(file));
    }
    EXPECT_EQ(parsed_, 0);
    EXPECT_LE(cache_.memory(), 10'000U);
}

TEST_F(ParseCacheTest, DropsDeletedFilesOnceAFolderWasReadWhole) {
    write("a", "one");
    write("b", "two");
    read("a");
    const std::size_t memoryOfOne = cache_.memory();
    read("b");
    fs::remove(path("b"));
    const OpenFolder folder{folder_.path()};
    {
        Cache::Reader reader{cache_, folder};
        read(reader, "a");
        EXPECT_GT(cache_.memory(), memoryOfOne); // it may be about to read more
        reader.forgetOthers();
    }
    EXPECT_EQ(cache_.memory(), memoryOfOne);
    Cache::Reader again{cache_, folder};
    read(again, "a");
    again.forgetOthers();
    EXPECT_EQ(parsed_, 2) << "a file that is still there was dropped too";
}

TEST_F(ParseCacheTest, FindsFilesInWhateverOrderAReaderAsksForThem) {
    const std::vector<std::string> names{"a", "b", "c", "d"};
    for (const std::string& name : names) {
        write(name, name + name);
    }
    const OpenFolder folder{folder_.path()};
    Cache::Reader reader{cache_, folder};
    for (const char* order : {"abcd", "dcba", "aabb", "bdac", "cccc"}) {
        for (const char letter : std::string{order}) {
            EXPECT_EQ(read(reader, std::string(1, letter)), std::string(2, letter)) << order;
        }
    }
    EXPECT_EQ(parsed_, 4);
}

TEST_F(ParseCacheTest, AReaderContinuesWhenItsNextEntryIsDropped) {
    for (const char* name : {"a", "b", "c"}) {
        write(name, name);
        read(name);
    }
    const OpenFolder folder{folder_.path()};
    Cache::Reader reader{cache_, folder};
    EXPECT_EQ(read(reader, "a"), "a");
    write("b", "changed");
    EXPECT_EQ(read("b"), "changed") << "another reader puts a new entry where that one looks next";
    EXPECT_EQ(read(reader, "b"), "changed");
    cache_.clear();
    EXPECT_EQ(read(reader, "c"), "c");
    EXPECT_EQ(read(reader, "b"), "changed");
    EXPECT_EQ(parsed_, 6);
}

TEST_F(ParseCacheTest, KeepsFilesOfOneNameInTwoFoldersApart) {
    write("one/a", "first");
    write("two/a", "second");
    for (int round = 0; round < 2; ++round) {
        for (const auto& [name, text] : {std::pair{"one", "first"}, std::pair{"two", "second"}}) {
            const OpenFolder folder{path(name)};
            Cache::Reader reader{cache_, folder};
            EXPECT_EQ(read(reader, "a"), text);
        }
    }
    EXPECT_EQ(parsed_, 2);
}

TEST_F(ParseCacheTest, ForgetsAllWhenAsked) {
    write("a", "one");
    read("a");
    cache_.clear();
    EXPECT_EQ(cache_.memory(), 0U);
    read("a");
    EXPECT_EQ(parsed_, 2);
}

TEST_F(ParseCacheTest, ServesManyThreadsAndParsesOnce) {
    write("a", "one");
    std::atomic<int> parsed = 0;
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int index = 0; index < 8; ++index) {
        threads.emplace_back([&] {
            const OpenFolder folder{folder_.path()};
            Cache::Reader reader{cache_, folder};
            for (int round = 0; round < 200; ++round) {
                const auto found = reader.read("a", 1000, [&parsed](std::string bytes) {
                    ++parsed;
                    return Letters{std::move(bytes)};
                });
                wrong += found && found->text == "one" ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(parsed, 1);
    EXPECT_EQ(wrong, 0);
}
