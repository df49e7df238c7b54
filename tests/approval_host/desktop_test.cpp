// The programs that show windows, on a desktop without a screen. What they do with text and keys
// differs between their releases, so it is seen here, not read in their manuals.

#include "support/ChildProcess.hpp"
#include "tests/approval_host/Asker.hpp"
#include "tests/approval_host/HostProcess.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace velmiro::host::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int screenWidth = 1024;
constexpr int screenHeight = 768;

/// An X server that draws into memory. Without -noreset it would start anew whenever no window is
/// left, and refuse programs for that moment.
class Desktop {
public:
    Desktop()
        : server_{{.arguments = {"/usr/bin/Xvfb", "-displayfd", "1", "-noreset", "-nolisten", "tcp",
                                 "-screen", "0", "1024x768x24"},
                   .inheritsEnvironment = true}},
          display_{":" + server_.readLine().value_or("")} {}

    [[nodiscard]] const std::string& display() const { return display_; }

private:
    support::ChildProcess server_;
    std::string display_;
};

struct Program {
    std::string name;
    std::vector<std::string> keysThatAllow;
};

struct Place {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

class OnDesktop : public testing::TestWithParam<Program> {
protected:
    static void SetUpTestSuite() { desktop.emplace(); }
    static void TearDownTestSuite() { desktop.reset(); }

    OnDesktop() {
        fs::create_symlink("/usr/bin/" + GetParam().name, folder / GetParam().name);
        fs::create_directory(folder / "run");
        fs::permissions(folder / "run", fs::perms::owner_all);
        host.emplace(Start{.arguments = {"--window", "--socket", path},
                           .input = Stdin::closed,
                           .environment = {{"PATH", folder.path().string()},
                                           {"DISPLAY", desktop->display()},
                                           {"WAYLAND_DISPLAY", ""},
                                           {"GDK_BACKEND", "x11"},
                                           {"QT_QPA_PLATFORM", "xcb"},
                                           {"XDG_RUNTIME_DIR", folder / "run"},
                                           {"HOME", folder.path().string()}}});
        host->waitFor("listening at ");
    }

    /// Runs xdotool and returns what it prints.
    static std::string xdotool(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "/usr/bin/xdotool");
        support::ChildProcess child{{.arguments = std::move(arguments),
                                     .environment = {{"DISPLAY", desktop->display()}},
                                     .inheritsEnvironment = true}};
        std::string printed;
        while (const auto line = child.readLine()) {
            printed += *line + '\n';
        }
        child.wait();
        return printed;
    }

    /// Waits for the question's window until `there` holds, and returns its number.
    static std::string window(bool there = true) {
        const auto deadline = Clock::now() + 30s;
        while (Clock::now() < deadline) {
            const std::string found = xdotool({"search", "--onlyvisible", "--name", "^Allow this"});
            if (found.empty() != there) {
                return found.substr(0, found.find('\n'));
            }
            std::this_thread::sleep_for(20ms);
        }
        ADD_FAILURE() << (there ? "no window" : "the window stays");
        return {};
    }

    /// Presses keys in the window, when it has been there for long enough to be read.
    static void press(const std::string& window, const std::vector<std::string>& keys) {
        std::this_thread::sleep_for(1100ms);
        xdotool({"windowfocus", "--sync", window});
        std::vector<std::string> arguments{"key", "--delay", "60"};
        arguments.insert(arguments.end(), keys.begin(), keys.end());
        xdotool(arguments);
    }

    static Place placeOf(const std::string& window) {
        std::istringstream lines{xdotool({"getwindowgeometry", "--shell", window})};
        Place place;
        for (std::string line; std::getline(lines, line);) {
            for (const auto& [name, value] :
                 {std::pair{"X=", &place.x}, std::pair{"Y=", &place.y},
                  std::pair{"WIDTH=", &place.width}, std::pair{"HEIGHT=", &place.height}}) {
                if (line.starts_with(name)) {
                    *value = std::stoi(line.substr(line.find('=') + 1));
                }
            }
        }
        return place;
    }

    /// Shows a question for a moment, and returns the place of its window.
    Place placeFor(std::string_view summary) const {
        Asker asker{path};
        asker.ask("notes_create", summary);
        const std::string shown = window();
        std::this_thread::sleep_for(300ms); // it may still be on its way to its size
        const Place place = placeOf(shown);
        asker.hangUp();
        window(false);
        return place;
    }

    static inline std::optional<Desktop> desktop;
    const TemporaryFolder folder;
    const std::string path = folder / "s";
    std::optional<HostProcess> host;
};

TEST_P(OnDesktop, AllowsWhatTheUserAllows) {
    Asker asker{path};
    asker.ask("notes_create", "Shopping list");
    press(window(), GetParam().keysThatAllow);
    EXPECT_EQ(asker.reply(), yes);
    window(false);
}

TEST_P(OnDesktop, BeginsWithNo) {
    for (const std::string key : {"Return", "Escape", "KP_Enter"}) {
        Asker asker{path};
        asker.ask("notes_create", "Shopping list");
        press(window(), {key});
        EXPECT_EQ(asker.reply(), no) << key;
        window(false);
    }
}

TEST_P(OnDesktop, TakesNothingThatIsTypedForAYes) {
    Asker asker{path};
    asker.ask("notes_create", "Shopping list");
    press(window(), {"a", "l", "o", "w", "y", "e", "s", "O", "K", "A", "Y", "alt+a", "alt+y",
                     "alt+o", "Return"});
    EXPECT_EQ(asker.reply(), no);
}

TEST_P(OnDesktop, RefusesWhenTheWindowIsDestroyed) {
    Asker asker{path};
    asker.ask("notes_create", "Shopping list");
    xdotool({"windowkill", window()});
    EXPECT_EQ(asker.reply(), no);
}

TEST_P(OnDesktop, TakesAWithdrawnQuestionFromTheScreen) {
    Asker asker{path};
    asker.ask("notes_create", "Shopping list");
    window();
    asker.hangUp();
    window(false);
    host->signal(SIGTERM);
    EXPECT_EQ(host->waitForExit(), 0);
}

TEST_P(OnDesktop, LetsNothingInASummaryAct) {
    const int height = placeFor("plain, in one row").height;
    ASSERT_GT(height, 40);
    for (const std::string_view summary :
         {"<span size='99999'>x</span>", "<big><big>x</big></big>", "<h1>x</h1><p>y<p>z",
          "a<br>b<br>c", R"(a\nb\nc\012d)", R"(a\\nb\\nc)", "a&#10;b&#10;c",
          "<img src='/usr/share/pixmaps/x.png' height=300>", "</div></qt><h1>x</h1>",
          "<table><tr><td>x</td></tr><tr><td>", "<unclosed", "&lt;h1&gt;x&lt;/h1&gt;", "a_b_c"}) {
        EXPECT_EQ(placeFor(summary).height, height) << summary;
    }
}

TEST_P(OnDesktop, KeepsTheWidestAndTheTallestQuestionOnTheScreen) {
    for (const std::string& summary : {std::string(500, 'W'), [] {
                                           std::string hidden;
                                           for (int count = 0; count < 500; ++count) {
                                               hidden += "\U000E0001";
                                           }
                                           return hidden;
                                       }()}) {
        const Place place = placeFor(summary);
        EXPECT_GE(place.x, 0);
        EXPECT_GE(place.y, 0);
        EXPECT_LE(place.x + place.width, screenWidth);
        EXPECT_LE(place.y + place.height, screenHeight);
        EXPECT_GT(place.width, 400);
    }
}

INSTANTIATE_TEST_SUITE_P(Programs, OnDesktop,
                         testing::Values(Program{"zenity", {"Tab", "Return"}},
                                         Program{"kdialog", {"Down", "Return"}}),
                         [](const auto& parameters) { return parameters.param.name; });

} // namespace
} // namespace velmiro::host::test
