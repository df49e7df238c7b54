// The power fails at each step of each change, and the disk keeps what was flushed and any part of
// the rest. What is there then is the old state or the new one, and the next server works. Once the
// agent has read that a change is made, it is there.

#include "support/Files.hpp"
#include "tests/faults/Disk.hpp"
#include "tests/faults/Session.hpp"
#include "tests/faults/Tally.hpp"

#include <gtest/gtest.h>

using namespace velmiro::test;
namespace fs = std::filesystem;

namespace {

class PowerCuts : public testing::TestWithParam<std::tuple<ToolCall, FileSystem>> {
protected:
    Session session;
    const ToolCall call = std::get<0>(GetParam());
    Tally& tally = tallyOf("cuts");
    VisibleState before;
    VisibleState after;

    /// Makes the change and returns its steps. `disk` is the disk before the first.
    std::vector<Step> recordedSteps(std::optional<Disk>& disk) {
        const FileSystem& system = std::get<1>(GetParam());
        session.home().restore(call.filling);
        session.start();
        EXPECT_TRUE(session.isAlive());
        before = session.state();
        disk.emplace(session.home().path());
        session.failures.arm(
            {.exchangeError = system.exchangeError, .namelessError = system.namelessError});
        session.failures.startRecord();
        const Answer answer = session.call(call);
        const std::string record = session.failures.takeRecord();
        session.failures.disarm();
        EXPECT_FALSE(answer.isError) << answer.text;
        after = session.state();
        EXPECT_NE(before, after);
        return stepsIn(record);
    }

    /// Makes the home what is left on the disk.
    void put(const Tree& tree) const {
        const fs::path home = session.home().path();
        fs::remove_all(home / "Library");
        for (const auto& [name, contents] : tree) {
            if (name.ends_with('/')) {
                fs::create_directories(home / name);
            } else {
                velmiro::support::writeFile(home / name, contents);
            }
        }
    }

    /// Returns the tree of the home as it is.
    [[nodiscard]] Tree treeOfHome() const {
        Tree tree;
        const fs::path home = session.home().path();
        for (const auto& entry : fs::recursive_directory_iterator{home}) {
            const std::string name = entry.path().lexically_relative(home).string();
            const bool isFolder = entry.is_directory();
            tree[isFolder ? name + "/" : name] =
                isFolder ? std::string{} : velmiro::support::readFile(entry.path());
        }
        return tree;
    }

    void check(const Tree& tree, bool mustBeNew) {
        ++tally.tried;
        tally.tools.insert(call.tool);
        put(tree);
        const VisibleState found = session.state();
        EXPECT_TRUE(mustBeNew ? found == after : isOldOrNew(found, before, after))
            << testing::PrintToString(tree);
        const bool isOld = found == before;
        session.start();
        const Answer again = session.call(call);
        EXPECT_FALSE(again.isError) << again.text;
        if (isOld) {
            EXPECT_EQ(session.state(), after);
        }
    }
};

std::string nameOfParameter(const testing::TestParamInfo<PowerCuts::ParamType>& info) {
    return std::get<0>(info.param).name + "_on_a_file_system_" + std::get<1>(info.param).name;
}

} // namespace

TEST_P(PowerCuts, AtAnyStepLeaveTheOldStateOrTheNewOne) {
    std::optional<Disk> disk;
    const auto steps = recordedSteps(disk);
    ASSERT_GT(steps.size(), 3U);
    // All trees first: checking them changes the folder that the record leads to.
    std::set<Tree> anyTime = disk->remains();
    for (const Step& step : steps) {
        disk->replay(step);
        anyTime.merge(disk->remains());
    }
    EXPECT_EQ(disk->whole(), treeOfHome()) << "a change of files was not recorded";
    const auto atTheEnd = disk->remains();
    for (const Tree& tree : anyTime) {
        check(tree, false);
    }
    for (const Tree& tree : atTheEnd) {
        check(tree, true);
    }
    tally.wrong += testing::Test::HasFailure() ? 1 : 0;
}

INSTANTIATE_TEST_SUITE_P(All, PowerCuts,
                         testing::Combine(testing::ValuesIn(changingCalls()),
                                          testing::ValuesIn(fileSystems())),
                         nameOfParameter);
