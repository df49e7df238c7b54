// Each call that the programs make fails once, and several in a row, while they answer each tool.
// The server stays alive and loses no descriptor, thread or child; the data is as before or as
// after; the answer says which, in words for a person.

#include "MCPStdio/json/JSONValue.hpp"
#include "support/Eventually.hpp"
#include "tests/faults/Faults.hpp"
#include "tests/faults/Session.hpp"
#include "tests/faults/Tally.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <iostream>
#include <map>
#include <string_view>

using namespace velmiro::test;

namespace {

bool contains(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

/// Returns whether a person understands the text: it says what failed, and nothing about C++.
bool isUnderstandable(const std::string& text) {
    constexpr std::array<std::string_view, 8> internal{"std::",     "bad_alloc",     "basic_string",
                                                       "vector::",  "Unknown error", "Success",
                                                       "terminate", "assert"};
    return text.size() > 3 && std::ranges::none_of(internal, [&](std::string_view word) {
               return contains(text, word);
           });
}

/// An item of the user's that is not accessible is passed over, unlike one that cannot be read.
bool isAboutTheFile(int error) {
    return error == EACCES || error == ENOENT || error == EPERM;
}

/// Returns whether everything is as before, and there is one more item.
bool hasOneMore(const VisibleState& found, const VisibleState& before) {
    int more = 0;
    for (const auto& [entry, count] : found) {
        const auto known = before.find(entry);
        more += count - (known == before.end() ? 0 : known->second);
    }
    return more == 1 && std::ranges::all_of(
                            before, [&](const auto& entry) { return found.contains(entry.first); });
}

/// One tool, one program, and all the ways in which a call of that program can fail.
class Faults : public testing::TestWithParam<std::tuple<ToolCall, const char*>> {
protected:
    Session session;
    const ToolCall call = std::get<0>(GetParam());
    const std::string program = std::get<1>(GetParam());
    Tally& tally = tallyOf("faults");
    VisibleState before;
    VisibleState after;
    Answer undisturbed;
    std::size_t descriptors = 0;
    std::map<std::string, std::string> texts; ///< of all errors, with the fault that led there

    void SetUp() override { restart(); }

    void TearDown() override {
        if (std::getenv("FAULTS_TEXTS") != nullptr) {
            for (const auto& [text, where] : texts) {
                std::cout << "    " << text << " [" << where << "]\n";
            }
        }
    }

    /// Starts a server and learns what it does if nothing fails.
    void restart() {
        session.failures.disarm();
        session.home().restore(call.filling);
        session.start();
        before = session.state();
        undisturbed = session.call(call);
        ASSERT_FALSE(undisturbed.isError) << undisturbed.text;
        after = session.state();
        ASSERT_EQ(call.changes, before != after);
        session.home().restore(call.filling);
        session.call(call); // libraries and threads are there now
        descriptors = session.server().descriptorCount();
    }

    /// Makes calls fail from the n-th on and returns whether there were that many.
    bool inject(const Fault& fault, int skip) {
        session.home().restore(call.filling);
        session.failures.arm({.calls = static_cast<std::uint32_t>(fault.call),
                              .error = fault.error,
                              .effect = fault.effect,
                              .skip = skip,
                              .count = fault.count,
                              .program = program});
        const Answer answer = session.call(call);
        session.failures.disarm();
        if (session.failures.failed() == 0) {
            return false;
        }
        ++tally.tried;
        tally.tools.insert(call.tool);
        judge(fault, answer);
        return true;
    }

    void judge(const Fault& fault, const Answer& answer) {
        const VisibleState found = session.state();
        if (!answer.isThere) {
            ADD_FAILURE() << answer.text;
        } else if (answer.isError) {
            texts.emplace(answer.text, nameOf(fault));
            EXPECT_TRUE(isUnderstandable(answer.text)) << answer.text;
            // A script that dies after the change cannot tell of it.
            const bool mayBeEither = contains(answer.text, "cannot be told") ||
                                     (call.isScript && program != "velmiro_mcp");
            const bool mayHaveNext = contains(answer.text, "the next one of its series was added");
            EXPECT_TRUE(found == before || (mayBeEither && found == after) ||
                        (mayHaveNext && hasOneMore(found, before)))
                << answer.text << "\n"
                << testing::PrintToString(found);
        } else {
            const bool mayLack = fault.effect == Effect::error && isAboutTheFile(fault.error);
            // A calendar that cannot be written is not the one to add to; the next one is.
            EXPECT_TRUE(found == after || (mayLack && hasOneMore(found, before))) << answer.text;
            // A message whose reader fails is shown as it is in its file.
            const bool mayBeRaw = call.tool == "mail_read" && program != "velmiro_mcp";
            if (mayBeRaw) {
                EXPECT_TRUE(contains(answer.text, "Six o'clock.")) << answer.text;
            } else if (!call.changes && !mayLack) {
                EXPECT_EQ(answer.text, undisturbed.text);
            }
        }
        EXPECT_TRUE(session.isAlive());
    }

    /// Checks that nothing was lost for good.
    void expectNoLeak() {
        using namespace std::chrono_literals;
        session.home().restore(call.filling);
        const Answer answer = session.call(call);
        EXPECT_FALSE(answer.isError) << answer.text;
        if (!call.changes) {
            EXPECT_EQ(answer.text, undisturbed.text);
        }
        EXPECT_EQ(session.state(), after);
        EXPECT_TRUE(hiddenFiles(session.files()).empty());
        EXPECT_TRUE(velmiro::support::eventually(
            [&] {
                return session.server().descriptorCount() <= descriptors &&
                       session.childCount() == 0 && session.server().threadCount() <= 6;
            },
            10s))
            << session.server().descriptorCount() << " descriptors instead of " << descriptors
            << ", " << session.childCount() << " children, " << session.server().threadCount()
            << " threads";
    }
};

/// Returns the number of failed checks of this test so far.
int failureCount() {
    return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
}

std::string nameOfParameter(const testing::TestParamInfo<Faults::ParamType>& info) {
    return std::get<0>(info.param).name + "_" + std::get<1>(info.param);
}

std::vector<Faults::ParamType> cases() {
    std::vector<Faults::ParamType> all;
    for (const ToolCall& call : toolCalls()) {
        all.emplace_back(call, "velmiro_mcp");
        if (call.isScript) {
            all.emplace_back(call, "osascript");
        }
        if (call.tool == "mail_read") {
            all.emplace_back(call, "message_reader");
        }
    }
    return all;
}

} // namespace

TEST_P(Faults, LeaveTheDataWholeAndTheAnswerTrue) {
    constexpr int most = 20'000;
    const int stride = !isSlice() ? 1 : call.isScript ? 11 : 3;
    const char* const only = std::getenv("FAULTS_FAMILY");
    for (const Fault& fault : faults()) {
        if ((isSlice() && !fault.isFirst) || (only != nullptr && fault.name != only)) {
            continue;
        }
        for (int skip = 0; skip < most; skip += stride) {
            SCOPED_TRACE(nameOf(fault) + ", after " + std::to_string(skip) + " calls of " +
                         program);
            const int failuresBefore = failureCount();
            if (!inject(fault, skip)) {
                break;
            }
            if (failureCount() > failuresBefore) {
                ++tally.wrong;
                restart();
            }
        }
    }
    expectNoLeak();
}

INSTANTIATE_TEST_SUITE_P(All, Faults, testing::ValuesIn(cases()), nameOfParameter);
