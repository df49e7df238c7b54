// The disk that forgets, by which the power cuts are judged.

#include "support/TemporaryFolder.hpp"
#include "tests/faults/Disk.hpp"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace velmiro::test;
using velmiro::support::TemporaryFolder;

namespace {

class DiskThatForgets : public testing::Test {
protected:
    TemporaryFolder folder;

    [[nodiscard]] std::string root() const {
        struct stat about{};
        EXPECT_EQ(::stat(folder.path().c_str(), &about), 0);
        return std::to_string(about.st_ino);
    }

    /// Replays lines in which R stands for the folder, and returns what may remain.
    [[nodiscard]] std::set<Tree> after(std::string record) const {
        for (auto at = record.find('R'); at != std::string::npos; at = record.find('R', at)) {
            record.replace(at, 1, root());
        }
        Disk disk{folder.path()};
        for (const Step& step : stepsIn(record)) {
            disk.replay(step);
        }
        return disk.remains();
    }
};

using Trees = std::set<Tree>;

const std::string written = "create\tR\tnew\t7\nwrite\t7\t0\t61626364\n";

} // namespace

TEST_F(DiskThatForgets, WhatIsNotFlushedIsThereInPartsOrNotAtAll) {
    EXPECT_EQ(after(written), (Trees{{}, {{"new", ""}}, {{"new", "ab"}}, {{"new", "abcd"}}}));
    EXPECT_EQ(after(written + "flush\t7\n"), (Trees{{}, {{"new", "abcd"}}}));
    EXPECT_EQ(after(written + "flush\tR\n"),
              (Trees{{{"new", ""}}, {{"new", "ab"}}, {{"new", "abcd"}}}));
    EXPECT_EQ(after(written + "flush\t7\nflush\tR\n"), (Trees{{{"new", "abcd"}}}));
}

TEST_F(DiskThatForgets, BothHalvesOfAnExchangeGoTogether) {
    folder.write("old", "1");
    EXPECT_EQ(after(written + "flush\t7\nflush\tR\nexchange\tR\tnew\tR\told\n"),
              (Trees{{{"new", "abcd"}, {"old", "1"}}, {{"new", "1"}, {"old", "abcd"}}}));
}

TEST_F(DiskThatForgets, AChangeOfANameNeedsTheEarlierOnes) {
    EXPECT_EQ(after("mkdir\tR\tinner\t8\nrmdir\tR\tinner\n"), (Trees{{}, {{"inner/", ""}}}));
    EXPECT_EQ(after(written + "flush\t7\nrename\tR\tnew\tR\tname\n"),
              (Trees{{}, {{"new", "abcd"}}, {{"name", "abcd"}}}));
}
