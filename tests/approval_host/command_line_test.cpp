#include "approval_host/CommandLine.hpp"

#include "tests/approval_host/HostProcess.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace velmiro::host::test {
namespace {

Options parse(const std::vector<const char*>& arguments) {
    return parseCommandLine(arguments);
}

TEST(CommandLine, AsksTheUserWhenNothingIsSaid) {
    const Options options = parse({});
    EXPECT_EQ(options.policy, Policy::askUser);
    EXPECT_FALSE(options.socketPath);
    EXPECT_FALSE(options.help);
    EXPECT_FALSE(options.version);
}

TEST(CommandLine, TakesItsOptionsInAnyOrder) {
    EXPECT_EQ(parse({"--yes"}).policy, Policy::allowAll);
    EXPECT_EQ(parse({"--no"}).policy, Policy::refuseAll);
    EXPECT_EQ(parse({"--window"}).policy, Policy::askInWindow);
    EXPECT_TRUE(parse({"--help"}).help);
    EXPECT_TRUE(parse({"-h"}).help);
    EXPECT_TRUE(parse({"--version"}).version);
    const Options options = parse({"--socket", "a b", "--no"});
    EXPECT_EQ(options.socketPath, "a b");
    EXPECT_EQ(options.policy, Policy::refuseAll);
}

TEST(CommandLine, RefusesWhatItDoesNotKnow) {
    for (const std::vector<const char*>& arguments :
         std::vector<std::vector<const char*>>{{"--yes", "--no"},
                                               {"--no", "--yes"},
                                               {"--window", "--yes"},
                                               {"--no", "--window"},
                                               {"--socket"},
                                               {"--socket", ""},
                                               {"-y"},
                                               {"path"},
                                               {""}}) {
        EXPECT_THROW(parse(arguments), UsageError);
    }
}

TEST(CommandLine, PrintsItsUsageAndEndsWell) {
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"--help"}, {"-h"}, {"--version", "-h", "--no"}}) {
        HostProcess host{{.arguments = arguments}};
        host.waitFor("usage: approval_host [--window | --yes | --no] [--socket PATH]\n");
        EXPECT_EQ(host.waitForExit(), 0);
    }
}

TEST(CommandLine, PrintsItsVersionAndNothingElse) {
    HostProcess host{{.arguments = {"--version"}}};
    host.waitFor("approval_host " VELMIRO_VERSION "\n");
    EXPECT_EQ(host.waitForExit(), 0);
    EXPECT_EQ(host.errors(), "");
}

TEST(CommandLine, EndsWithTwoAndOneLineWhenItIsWrong) {
    HostProcess host{{.arguments = {"--maybe"}}};
    EXPECT_EQ(host.waitForExit(), 2);
    EXPECT_EQ(host.errors(), "approval_host: unknown argument '--maybe' (try --help)\n");
    EXPECT_EQ(host.printedWithin(0), "");
}

} // namespace
} // namespace velmiro::host::test
