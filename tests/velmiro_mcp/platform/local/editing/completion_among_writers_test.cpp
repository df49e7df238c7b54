// A completion yields to programs that change the file at the same time.

#include "tests/velmiro_mcp/platform/local/editing/CompletionTest.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <thread>
#include <unistd.h>

namespace velmiro::local {
namespace {

namespace fs = std::filesystem;

class CompletionAmongWriters : public CompletionTest {};

} // namespace

TEST_F(CompletionAmongWriters, AnEditThatIsBeingWrittenIsAwaitedAndCompletedToo) {
    const std::string file = reminderFile("DUE:20261014T130000Z\r\nRRULE:FREQ=DAILY\r\n");
    home.writeReminder("Home", "a.ics", file);
    // The attempt on the version before the edit has already added the next one of its series.
    const int editor = open(path().c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_GE(editor, 0);
    std::thread soon{[&] {
        std::this_thread::sleep_for(std::chrono::milliseconds{100});
        EXPECT_EQ(pwrite(editor, "20261101", 8, static_cast<off_t>(file.find("20261014"))), 8);
        close(editor);
    }};
    EXPECT_TRUE(database->completeReminder("todo@example.org"));
    soon.join();
    const std::string done = readFile(path());
    EXPECT_NE(done.find("STATUS:COMPLETED"), std::string::npos) << done;
    EXPECT_NE(done.find("DUE:20261101T130000Z"), std::string::npos) << done;
    EXPECT_NE(next().find("DUE:20261102T130000Z"), std::string::npos) << next();
    EXPECT_EQ(namesIn(home.reminders() + "/Home").size(), 2U) << "one next reminder, not two";
}

TEST_F(CompletionAmongWriters, NothingOfAWriterThatReplacesInALoopIsLost) {
    const auto version = [](int number) {
        return "BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:a\nSUMMARY:version " + std::to_string(number) +
               "\nEND:VTODO\nEND:VCALENDAR\n";
    };
    home.writeReminder("Home", "a.ics", version(0));
    // A writer that always interferes would block completion forever. So it slows down after each
    // refusal and speeds up after each success: it interferes often, not always, on any machine.
    constexpr std::int64_t shortest = 20'000; // nanoseconds
    std::atomic<std::int64_t> pause = 5 * shortest;
    std::atomic<bool> stop = false;
    std::atomic<bool> lost = false;
    std::atomic<int> written = 0;
    // An older version may briefly appear in place of the one just written.
    const auto appears = [&](int number) {
        const std::string title = "SUMMARY:version " + std::to_string(number) + "\n";
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds{20};
        while (readFile(path()).find(title) == std::string::npos) {
            if (std::chrono::steady_clock::now() > end) {
                return false;
            }
            std::this_thread::sleep_for(std::chrono::nanoseconds{shortest});
        }
        return true;
    };
    std::thread writer{[&] {
        const std::string aside = home.reminders() + "/aside";
        while (!stop && !lost) {
            writeFile(aside, version(++written));
            fs::rename(aside, path());
            lost = !appears(written);
            std::this_thread::sleep_for(std::chrono::nanoseconds{pause});
        }
    }};
    int done = 0;
    int seen = 0;
    while (done < 50 && !lost && !HasFailure()) {
        try {
            EXPECT_TRUE(database->completeReminder("a"));
            ++done;
            pause = std::max(shortest, pause * 3 / 4);
        } catch (const PlatformError& error) {
            EXPECT_STREQ(error.what(),
                         "another program keeps changing this reminder; nothing was saved");
            pause = pause * 2;
        }
        const int number = std::stoi(database->reminder("a")->title->substr(8));
        EXPECT_GE(number, seen) << "an older version came back";
        seen = number;
    }
    stop = true;
    writer.join();
    ASSERT_FALSE(lost) << "version " << written;
    ASSERT_TRUE(database->completeReminder("a"));
    const auto last = database->reminder("a");
    EXPECT_EQ(last->title, "version " + std::to_string(written));
    EXPECT_TRUE(last->completed);
    EXPECT_EQ(namesIn(home.reminders() + "/Home"), Texts{"a.ics"});
}

} // namespace velmiro::local
