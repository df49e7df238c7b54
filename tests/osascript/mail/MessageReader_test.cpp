#include "osascript/dictionary/ScriptError.hpp"
#include "osascript/mail/MessageReader.hpp"
#include "support/TemporaryFolder.hpp"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <iterator>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velmiro::osascript {
namespace {

using namespace std::chrono_literals;

constexpr const char* raw = "the raw text";

/// A message and a shell script that takes the reader's place.
class MessageReaderProcess : public testing::Test {
protected:
    ~MessageReaderProcess() override {
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1); // no child is left, not even a dead one
        EXPECT_EQ(errno, ECHILD);
    }

    std::string read(const std::string& script, std::chrono::milliseconds patience = 20s) {
        folder_.write("reader", "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(folder_ / "reader", std::filesystem::perms::owner_all);
        return read(MessageReader{folder_ / "reader", patience});
    }
    std::string read(const MessageReader& reader) {
        folder_.write("message", message_);
        const MCPStdio::Descriptor file{
            ::open((folder_ / "message").c_str(), O_RDONLY | O_CLOEXEC)};
        return messageText(file, reader);
    }

    support::TemporaryFolder folder_;
    std::string message_ = std::string{"Subject: x\n\n"} + raw;
};

TEST_F(MessageReaderProcess, IsWhatTheReaderWrites) {
    EXPECT_EQ(read("cat"), message_);
    EXPECT_EQ(read("cat >/dev/null; printf 'Gr\\303\\274\\303\\237e'"), "Grüße");
    EXPECT_EQ(read("exit 0"), "");
    EXPECT_EQ(read("printf '\\377'"), "\uFFFD");
}

TEST_F(MessageReaderProcess, MayBeLong) {
    message_ = std::string(20UL << 20, 'x');
    EXPECT_EQ(read("cat"), message_);
}

TEST_F(MessageReaderProcess, IsRawIfTheReaderFails) {
    EXPECT_EQ(read("cat; exit 1"), raw);
    EXPECT_EQ(read("echo half; kill -9 $$"), raw);
    EXPECT_EQ(read("kill -SEGV $$"), raw);
    message_ = "\xFC\r\n\r\n\xFC\n";
    EXPECT_EQ(read("exit 1"), "ü\n");
    message_ = "no header \xFC";
    EXPECT_EQ(read("exit 1"), "no header ü");
    message_ = "";
    EXPECT_EQ(read("exit 1"), "");
}

TEST_F(MessageReaderProcess, IsRawIfTheReaderTakesTooLong) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(read("exec sleep 100", 50ms), raw);
    EXPECT_EQ(read("echo half; exec sleep 100", 50ms), raw);
    EXPECT_EQ(read("exec >&-; exec sleep 100", 50ms), raw); // its output has ended
    EXPECT_EQ(read("trap '' TERM INT HUP; while :; do :; done", 50ms), raw);
    EXPECT_EQ(read("sleep 100 & exit 0", 50ms), raw); // another process holds its output
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 20s);
}

TEST_F(MessageReaderProcess, IsCutIfItNeverEnds) {
    const std::string text = read("exec yes");
    EXPECT_EQ(text.size(), largestMessage);
    EXPECT_TRUE(text.starts_with("y\ny\n"));
}

TEST_F(MessageReaderProcess, IsAnErrorWithoutTheReader) {
    try {
        read(MessageReader{"/nonexistent/message_reader"});
        FAIL();
    } catch (const ScriptError& error) {
        EXPECT_STREQ(error.what(), "cannot start /nonexistent/message_reader, which reads "
                                   "messages: No such file or directory");
        EXPECT_EQ(error.number(), ScriptError::general);
    }
    folder_.write("plain", "no program");
    EXPECT_THROW(read(MessageReader{folder_ / "plain"}), ScriptError);
}

TEST_F(MessageReaderProcess, NeedsAReaderBesideThisProgram) {
    const auto self = std::filesystem::read_symlink("/proc/self/exe");
    EXPECT_EQ(installedReader().path, self.parent_path() / "message_reader");
    EXPECT_EQ(installedReader().patience, 20s);
}

TEST_F(MessageReaderProcess, ReaderGetsNothingElse) {
    const int leaked = ::fcntl(STDIN_FILENO, F_DUPFD, 99); // without close-on-exec
    ASSERT_GE(leaked, 99);
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(read("[ -e /proc/$$/fd/" + std::to_string(leaked) +
                   " ] && echo leaked; echo error >&2; readlink /proc/$$/fd/2"),
              "/dev/null\n");
    const std::string signals = read("exec sed -n 's/^Sig[BI].*\\t//p' /proc/self/status");
    EXPECT_EQ(std::stoull(signals, nullptr, 16), 0);       // blocked
    constexpr unsigned long long internal = 0x1'8000'0000; // the C library keeps two to itself
    EXPECT_EQ(std::stoull(signals.substr(signals.find('\n')), nullptr, 16) & ~internal, 0);
    std::signal(SIGPIPE, before);
    ::close(leaked);
}

TEST_F(MessageReaderProcess, LeavesNoDescriptorOpen) {
    const auto count = [] {
        const std::filesystem::directory_iterator all{"/proc/self/fd"};
        return std::distance(begin(all), end(all));
    };
    const auto before = count();
    read("cat");
    read("exit 1");
    read("exec sleep 100", 10ms);
    EXPECT_THROW(read(MessageReader{"/nonexistent"}), ScriptError);
    EXPECT_EQ(count(), before);
}

TEST_F(MessageReaderProcess, IsReadWhereDeadChildrenAreIgnored) {
    const auto before = std::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(read("cat; exit 0"), message_);
    EXPECT_EQ(read("exit 1"), raw);
    std::signal(SIGCHLD, before);
}

} // namespace
} // namespace velmiro::osascript
