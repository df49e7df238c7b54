#include "MCPStdio/transport/Descriptor.hpp"
#include "support/ChildProcess.hpp"
#include "support/Files.hpp"

#include <csignal>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velmiro {
namespace {

using MCPStdio::Descriptor;

Descriptor temporaryFile() {
    return Descriptor{::memfd_create("file", MFD_CLOEXEC)};
}

/// What the program did with a message.
struct Outcome {
    std::optional<int> status; ///< a wait status
    std::string output;

    [[nodiscard]] bool succeeded() const {
        return status && WIFEXITED(*status) && WEXITSTATUS(*status) == 0;
    }
};

/// Runs the program over a file that `write` fills.
Outcome run(const std::function<void(int)>& write) {
    const Descriptor message = temporaryFile();
    write(message.get());
    ::lseek(message.get(), 0, SEEK_SET);
    const Descriptor output = temporaryFile();
    const Descriptor silence{::open("/dev/null", O_WRONLY | O_CLOEXEC)};
    support::ChildProcess reader{{.arguments = {MESSAGE_READER},
                                  .input = message.get(),
                                  .output = output.get(),
                                  .error = silence.get()}};
    Outcome outcome{reader.waitForEnd(std::chrono::seconds{40}), {}};
    outcome.output.resize(static_cast<std::size_t>(::lseek(output.get(), 0, SEEK_END)));
    ::lseek(output.get(), 0, SEEK_SET);
    if (::read(output.get(), outcome.output.data(), outcome.output.size()) !=
        static_cast<ssize_t>(outcome.output.size())) {
        outcome.output = "cannot read";
    }
    return outcome;
}

Outcome run(std::string_view message) {
    return run([&](int file) {
        while (!message.empty()) {
            const ssize_t count = ::write(file, message.data(), message.size());
            ASSERT_GT(count, 0);
            message.remove_prefix(static_cast<std::size_t>(count));
        }
    });
}

std::string repeated(std::string_view piece, std::size_t times) {
    std::string text;
    text.reserve(times * piece.size());
    for (std::size_t i = 0; i < times; ++i) {
        text += piece;
    }
    return text;
}

TEST(MessageReader, WritesTheTextOfAMessage) {
    const Outcome outcome = run("Subject: x\nContent-Type: text/plain; charset=koi8-r\n\n\xF0\n");
    EXPECT_TRUE(outcome.succeeded());
    EXPECT_EQ(outcome.output, "П");
    EXPECT_TRUE(run("").succeeded());
}

TEST(MessageReader, SaysSoIfItCannotReadAMessage) {
    std::string deep;
    for (int i = 0; i < 60; ++i) {
        const std::string mark = "b" + std::to_string(i);
        deep += "Content-Type: multipart/mixed; boundary=" + mark + "\n\n--" + mark + "\n";
    }
    const Outcome outcome = run(deep + "\ntext\n");
    ASSERT_TRUE(outcome.status);
    EXPECT_TRUE(WIFEXITED(*outcome.status));
    EXPECT_EQ(WEXITSTATUS(*outcome.status), 1);
    EXPECT_EQ(outcome.output, "");
}

TEST(MessageReader, FindsTheTextBehindALargeAttachment) {
    const Outcome outcome = run([](int file) {
        const std::string begin = "Content-Type: multipart/mixed; boundary=x\n\n--x\n"
                                  "Content-Type: application/zip\n"
                                  "Content-Transfer-Encoding: base64\n\n";
        const std::string lines = repeated(std::string(76, 'A') + "\n", 13'618);
        ASSERT_GT(::write(file, begin.data(), begin.size()), 0);
        for (int i = 0; i < 100; ++i) {
            ASSERT_GT(::write(file, lines.data(), lines.size()), 0);
        }
        const std::string_view end = "--x\n\nbehind it\n--x--\n";
        ASSERT_GT(::write(file, end.data(), end.size()), 0);
    });
    EXPECT_TRUE(outcome.succeeded());
    EXPECT_EQ(outcome.output, "behind it");
}

TEST(MessageReader, DiesOfAMessageThatNeedsTooMuchMemory) {
    if (SANITIZED != 0) {
        GTEST_SKIP() << "sanitizers reserve more memory than the limit";
    }
    const Outcome outcome =
        run("Content-Type: multipart/mixed; boundary=x\n\n" + repeated("--x\n\n\n", 1'500'000));
    ASSERT_TRUE(outcome.status);
    EXPECT_TRUE(WIFSIGNALED(*outcome.status));
    EXPECT_FALSE(WCOREDUMP(*outcome.status));
    EXPECT_EQ(outcome.output, "");
}

TEST(MessageReader, ReadsOnlyRegularFiles) {
    support::ChildProcess reader{{.arguments = {MESSAGE_READER}}}; // its input is a pipe
    const auto status = reader.waitForEnd();
    ASSERT_TRUE(status);
    EXPECT_TRUE(WIFEXITED(*status));
    EXPECT_EQ(WEXITSTATUS(*status), 1);
}

TEST(MessageReader, ItsTimeIsLimited) {
    const Descriptor message = temporaryFile();
    const std::string text = "Subject: x\n\n" + repeated("text\n", 1'000'000);
    ASSERT_GT(::write(message.get(), text.data(), text.size()), 0);
    ::lseek(message.get(), 0, SEEK_SET);
    // Nobody reads its output, so it waits as if the message had no end.
    support::ChildProcess reader{{.arguments = {MESSAGE_READER}, .input = message.get()}};
    EXPECT_FALSE(reader.waitForEnd(std::chrono::seconds{2}));
    const auto limits = support::readFile("/proc/" + std::to_string(reader.pid()) + "/limits");
    EXPECT_NE(limits.find("Max cpu time              20 "), std::string::npos) << limits;
    EXPECT_EQ(limits.find("Max address space         1073741824 ") == std::string::npos,
              SANITIZED != 0)
        << limits;
    EXPECT_NE(limits.find("Max core file size        0 "), std::string::npos) << limits;
    const auto status = reader.waitForEnd(std::chrono::seconds{40});
    ASSERT_TRUE(status);
    EXPECT_TRUE(WIFSIGNALED(*status));
    EXPECT_EQ(WTERMSIG(*status), SIGALRM);
}

TEST(MessageReader, OnlyACompleteOutputIsASuccess) {
    const Descriptor message = temporaryFile();
    ASSERT_GT(::write(message.get(), "Subject: x\n\ntext\n", 17), 0);
    const Descriptor full{::open("/dev/full", O_WRONLY | O_CLOEXEC)};
    support::ChildProcess reader{
        {.arguments = {MESSAGE_READER}, .input = message.get(), .output = full.get()}};
    const auto status = reader.waitForEnd();
    ASSERT_TRUE(status);
    EXPECT_TRUE(WIFEXITED(*status));
    EXPECT_EQ(WEXITSTATUS(*status), 1);
}

} // namespace
} // namespace velmiro
