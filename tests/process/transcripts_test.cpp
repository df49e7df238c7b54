// Golden transcripts: what a client writes and, byte for byte, what the server answers.
//
// A transcript begins with comments (#) that say what it shows. The other lines are:
//
//   ! NAME=VALUE   sets a variable of the server's environment
//   + FILE         puts a file into its home, with the content of the indented lines that follow
//   ? scripts      needs the program that runs scripts in place of osascript
//   > LINE         is sent to the server
//   < LINE         is expected from it
//
// The files are a minute apart; the first is of 5 January 2026, 08:00 UTC. All lines are sent at
// once. Replies may overtake one another, so they are compared as a set, each once. Nobody is there
// to allow anything, so the home must not have changed afterwards. With VELMIRO_REWRITE=1 in the
// environment, the file is rewritten with the actual replies. Transcripts that differ between
// platforms are in a folder with the platform's name.

#include "tests/process/ServerUnderTest.hpp"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace velmiro::test;
namespace fs = std::filesystem;

namespace {

struct Transcript {
    std::vector<std::string> preamble; ///< everything before the first line to the server
    std::vector<std::string> sent;
    std::vector<std::string> expected;
};

Transcript read(const fs::path& file) {
    Transcript transcript;
    std::ifstream stream{file};
    for (std::string line; std::getline(stream, line);) {
        if (line.starts_with("> ")) {
            transcript.sent.push_back(line.substr(2));
        } else if (line.starts_with("< ")) {
            transcript.expected.push_back(line.substr(2));
        } else if (transcript.sent.empty()) {
            transcript.preamble.push_back(line);
        }
    }
    return transcript;
}

/// Writes the files and sets the variables of a preamble.
void prepare(const Transcript& transcript, const TemporaryFolder& home,
             ChildProcess::Options& options) {
    std::string file;
    std::string content;
    timespec written{1767600000, 0};
    const auto finish = [&] {
        if (!file.empty()) {
            home.write(file, content);
            const std::array times{written, written};
            ::utimensat(AT_FDCWD, (home.path() / file).c_str(), times.data(), 0);
            written.tv_sec += 60;
        }
        content.clear();
    };
    for (const std::string& line : transcript.preamble) {
        if (line.starts_with("+ ")) {
            finish();
            file = line.substr(2);
        } else if (line.starts_with("  ")) {
            content += line.substr(2) + "\r\n";
        } else if (line.starts_with("! ")) {
            const auto equals = line.find('=');
            options.environment[line.substr(2, equals - 2)] = line.substr(equals + 1);
        }
    }
    finish();
}

/// Returns whether a transcript uses the scripts where the system's own osascript would run them.
bool isForTheSystem(const Transcript& transcript) {
    return std::ranges::find(transcript.preamble, "? scripts") != transcript.preamble.end() &&
           fs::exists("/usr/bin/osascript");
}

std::vector<std::string> run(const Transcript& transcript) {
    const TemporaryFolder home;
    auto options = serverIn(home);
    prepare(transcript, home, options);
    const auto before = snapshot(home.path());
    ChildProcess server{options};
    for (const std::string& line : transcript.sent) {
        server.writeLine(line);
    }
    server.closeInput();
    std::vector<std::string> received;
    while (auto line = server.readLine()) {
        received.push_back(*std::move(line));
    }
    EXPECT_EQ(server.waitForEnd(), 0);
    EXPECT_EQ(snapshot(home.path()), before);
    return received;
}

/// Returns the replies in the order of the file, followed by those that are not in it.
std::vector<std::string> inOrderOf(const std::vector<std::string>& expected,
                                   std::vector<std::string> received) {
    std::vector<std::string> ordered;
    for (const std::string& line : expected) {
        const auto at = std::ranges::find(received, line);
        if (at != received.end()) {
            ordered.push_back(*at);
            received.erase(at);
        }
    }
    ordered.insert(ordered.end(), received.begin(), received.end());
    return ordered;
}

class TranscriptTest : public testing::TestWithParam<fs::path> {};

std::vector<fs::path> allTranscripts() {
    std::vector<fs::path> files;
    for (const char* folder : {TRANSCRIPTS_FOLDER, TRANSCRIPTS_FOLDER "/" PLATFORM}) {
        for (const auto& entry : fs::directory_iterator{folder}) {
            if (entry.is_regular_file()) {
                files.push_back(entry.path());
            }
        }
    }
    std::ranges::sort(files);
    return files;
}

} // namespace

TEST_P(TranscriptTest, IsWhatTheServerSays) {
    const auto transcript = read(GetParam());
    ASSERT_FALSE(transcript.sent.empty());
    if (isForTheSystem(transcript)) {
        GTEST_SKIP() << "the system's own osascript would run";
    }
    const auto received = inOrderOf(transcript.expected, run(transcript));
    if (std::getenv("VELMIRO_REWRITE") != nullptr) {
        std::ofstream file{GetParam()};
        for (const auto& [mark, lines] :
             {std::pair{"", &transcript.preamble}, {"> ", &transcript.sent}, {"< ", &received}}) {
            for (const std::string& line : *lines) {
                file << mark << line << "\n";
            }
        }
        return;
    }
    EXPECT_EQ(received, transcript.expected);
}

INSTANTIATE_TEST_SUITE_P(All, TranscriptTest, testing::ValuesIn(allTranscripts()),
                         [](const testing::TestParamInfo<fs::path>& test) {
                             return test.param.stem().string();
                         });
