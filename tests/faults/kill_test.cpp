// The server, or the script that works for it, is killed at each step of each change. What other
// programs see is the old state or the new one, and the next server works.

#include "tests/faults/Session.hpp"
#include "tests/faults/Tally.hpp"

#include <gtest/gtest.h>
#include <string_view>

using namespace velmiro::test;

namespace {

/// Everything that changes a file or a folder.
constexpr std::uint32_t steps =
    Call::open | Call::write | static_cast<std::uint32_t>(Call::flush) |
    static_cast<std::uint32_t>(Call::rename) | static_cast<std::uint32_t>(Call::link) |
    static_cast<std::uint32_t>(Call::unlink) | static_cast<std::uint32_t>(Call::mkdir) |
    static_cast<std::uint32_t>(Call::lock);

class Kills : public testing::TestWithParam<std::tuple<ToolCall, FileSystem>> {
protected:
    Session session;
    const ToolCall call = std::get<0>(GetParam());
    const FileSystem system = std::get<1>(GetParam());
    Tally& tally = tallyOf("kills");
    VisibleState before;
    VisibleState after;

    [[nodiscard]] Failures failing(Effect effect, int skip, const std::string& program) const {
        return {.calls = steps,
                .effect = effect,
                .skip = skip,
                .part = "",
                .program = program,
                .exchangeError = system.exchangeError,
                .namelessError = system.namelessError};
    }

    void SetUp() override {
        session.home().restore(call.filling);
        session.start();
        before = session.state();
        const Answer answer = session.call(call);
        ASSERT_FALSE(answer.isError) << answer.text;
        after = session.state();
        ASSERT_NE(before, after);
    }

    /// Kills a process at one step of the change; returns whether there was such a step.
    bool killAt(Effect effect, int skip, const std::string& program) {
        session.home().restore(call.filling);
        session.start();
        session.failures.arm(failing(effect, skip, program));
        const Answer answer = session.call(call);
        session.failures.disarm();
        if (session.failures.failed() == 0) {
            EXPECT_FALSE(answer.isError) << answer.text;
            return false;
        }
        ++tally.tried;
        tally.tools.insert(call.tool);
        EXPECT_TRUE(answer.isError) << answer.text;
        if (effect == Effect::killParent || program == "velmiro_mcp") {
            EXPECT_FALSE(answer.isThere) << answer.text;
            EXPECT_TRUE(session.server().waitForEnd());
        } else {
            EXPECT_EQ(answer.text, "the script failed");
        }
        expectOldOrNew();
        return true;
    }

    /// A script whose server was killed ends a moment later.
    void expectOldOrNew() {
        const VisibleState found = session.state();
        EXPECT_TRUE(isOldOrNew(found, before, after)) << testing::PrintToString(found);
        session.start();
        const Answer again = session.call(call);
        EXPECT_FALSE(again.isError) << again.text;
        if (found == before) {
            EXPECT_EQ(session.state(), after);
        }
        EXPECT_TRUE(hiddenFiles(session.files()).empty())
            << "left over: " << hiddenFiles(session.files()).begin()->first;
    }
};

std::string nameOfParameter(const testing::TestParamInfo<Kills::ParamType>& info) {
    return std::get<0>(info.param).name + "_on_a_file_system_" + std::get<1>(info.param).name;
}

} // namespace

TEST_P(Kills, AtAnyStepLeaveTheOldStateOrTheNewOne) {
    constexpr int most = 1000;
    struct Victim {
        Effect effect;
        const char* program;
    };
    std::vector<Victim> victims;
    for (const Effect effect : {Effect::killBefore, Effect::killHalf, Effect::killAfter}) {
        victims.push_back({effect, call.isScript ? "osascript" : "velmiro_mcp"});
    }
    if (call.isScript) {
        victims.push_back({Effect::killParent, "osascript"});
    }
    for (const Victim& victim : victims) {
        int skip = 0;
        while (skip < most) {
            SCOPED_TRACE(std::string{victim.program} + ", effect " +
                         std::to_string(static_cast<int>(victim.effect)) + ", after " +
                         std::to_string(skip) + " steps");
            if (!killAt(victim.effect, skip, victim.program)) {
                break;
            }
            skip += isSlice() ? 3 : 1;
        }
        EXPECT_GT(skip, 2);
        if (testing::Test::HasFailure()) {
            ++tally.wrong;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, Kills,
                         testing::Combine(testing::ValuesIn(changingCalls()),
                                          testing::ValuesIn(fileSystems())),
                         nameOfParameter);
