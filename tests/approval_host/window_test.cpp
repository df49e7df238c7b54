#include "tests/approval_host/Asker.hpp"
#include "tests/approval_host/HostProcess.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <thread>

namespace velmiro::host::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// A folder with a program of a given name, which a shell script stands in for, and a host that
/// finds it there. A script writes into the folder `$F`.
class InWindow : public testing::Test {
protected:
    void install(const std::string& name, const std::string& script) const {
        const std::string program = folder / name;
        std::ofstream{program} << "#!/bin/sh\nF=" << folder.path().string() << "\n"
                               << script << '\n';
        fs::permissions(program, fs::perms::owner_all);
    }

    void start(std::map<std::string, std::string> environment = {}) {
        environment.try_emplace("PATH", folder.path().string() + ":/usr/bin:/bin");
        environment.try_emplace("DISPLAY", ":0");
        host.emplace(Start{.arguments = {"--window", "--socket", path},
                           .input = Stdin::closed,
                           .environment = std::move(environment)});
        host->waitFor("listening at " + path + '\n');
    }

    [[nodiscard]] std::string contents(const std::string& name) const {
        std::ostringstream text;
        text << std::ifstream{folder / name}.rdbuf();
        return text.str();
    }

    /// Waits until a file has at least this many lines, and returns it.
    [[nodiscard]] std::string lines(const std::string& name, int count) const {
        const auto deadline = Clock::now() + 30s;
        while (Clock::now() < deadline) {
            std::string text = contents(name);
            if (std::ranges::count(text, '\n') >= count) {
                return text;
            }
            std::this_thread::sleep_for(5ms);
        }
        ADD_FAILURE() << name << " has fewer than " << count << " lines: " << contents(name);
        return {};
    }

    const TemporaryFolder folder;
    const std::string path = folder / "s";
    std::optional<HostProcess> host;
};

bool isGone(const std::string& id) {
    const auto deadline = Clock::now() + 30s;
    while (Clock::now() < deadline) {
        if (::kill(std::stoi(id), 0) != 0) {
            return true;
        }
        std::ifstream status{"/proc/" + id + "/stat"}; // a zombie whose parent does not reap it
        std::string text;
        if (!std::getline(status, text) || text.find(") Z ") != std::string::npos) {
            return true;
        }
        std::this_thread::sleep_for(5ms);
    }
    return false;
}

TEST_F(InWindow, AllowsWhatIsAllowedThere) {
    install("zenity", R"(for a; do printf '%s\n' "$a"; done >$F/arguments; sleep 1.2)");
    start();
    Asker asker{path};
    asker.ask("notes_create", "<b>Shopping</b>\nlist");
    EXPECT_EQ(asker.reply(), yes);
    EXPECT_EQ(contents("arguments"), "--question\n--no-markup\n--no-wrap\n--default-cancel\n"
                                     "--title=Allow this change?\n"
                                     "--ok-label=Allow\n--cancel-label=Refuse\n"
                                     "--text=\u200Enotes_create wants to:\n\u200E\n"
                                     "\u200E│ <b>Shopping</b>␊list\n");
    EXPECT_EQ(host->printedWithin(0), "") << "a journal is no place for what people plan";
}

TEST_F(InWindow, RefusesHoweverElseTheProgramEnds) {
    install(
        "zenity",
        R"(sleep 1.2; case $(cat $F/how) in killed) kill -KILL $$ ;; *) exit $(cat $F/how) ;; esac)");
    start();
    for (const std::string_view how : {"1", "2", "5", "255", "killed"}) {
        std::ofstream{folder / "how"} << how;
        Asker asker{path};
        asker.ask("notes_create", "x");
        EXPECT_EQ(asker.reply(), no) << how;
    }
}

TEST_F(InWindow, TakesFromKDialogOnlyTheWordForYes) {
    install("kdialog", "exit 1");
    start({{"PATH", folder.path().string()}});
    struct Case {
        std::string_view prints, status, reply;
    };
    for (const auto& [prints, status, reply] :
         {Case{"allow\n", "0", yes}, Case{"refuse\n", "0", no}, Case{"", "0", no},
          Case{"allow\n", "1", no}}) {
        // The script needs `sleep` and `cat`, but must not find another program.
        install("kdialog", "PATH=/usr/bin:/bin; sleep 1.2; printf '" + std::string{prints} +
                               "'; exit " + std::string{status});
        Asker asker{path};
        asker.ask("notes_create", "x");
        EXPECT_EQ(asker.reply(), reply) << prints << status;
    }
}

TEST_F(InWindow, AsksAgainWhenNobodyCanHaveReadTheQuestionYet) {
    install("zenity", R"(echo x >>$F/starts; [ $(wc -l <$F/starts) -lt 3 ] || sleep 1.2)");
    start();
    const auto begin = Clock::now();
    Asker asker{path};
    asker.ask("notes_create", "x");
    EXPECT_EQ(asker.reply(), yes);
    EXPECT_EQ(contents("starts"), "x\nx\nx\n");
    EXPECT_GE(Clock::now() - begin, 3s) << "it rests in between";
}

TEST_F(InWindow, TakesAWithdrawnQuestionFromTheScreenAndThenRests) {
    install("zenity", R"(sleep 600 & echo $$ >>$F/ids; echo $! >>$F/ids; wait)");
    start();
    Asker gone{path};
    gone.ask("notes_create", "first");
    std::istringstream ids{lines("ids", 2)};
    Asker next{path};
    next.ask("notes_create", "second");
    const auto begin = Clock::now();
    gone.hangUp();
    for (std::string id; std::getline(ids, id);) {
        EXPECT_TRUE(isGone(id));
    }
    static_cast<void>(lines("ids", 4));
    EXPECT_GE(Clock::now() - begin, 1s);
    EXPECT_FALSE(next.isAnswered());
}

TEST_F(InWindow, GivesAnAnswerAfterTheHangUpToNoQuestion) {
    install("zenity", R"(echo x >>$F/starts; while [ ! -e $F/go ]; do sleep 0.05; done
[ $(wc -l <$F/starts) = 1 ] || sleep 600)");
    start();
    Asker gone{path};
    gone.ask("notes_create", "first");
    static_cast<void>(lines("starts", 1));
    std::this_thread::sleep_for(1100ms);
    Asker next{path};
    next.ask("notes_create", "second");
    host->hold(); // so that it sees both at the same time
    gone.hangUp();
    std::ofstream{folder / "go"} << "";
    std::this_thread::sleep_for(300ms);
    host->signal(SIGCONT);
    static_cast<void>(lines("starts", 2));
    EXPECT_FALSE(next.isAnsweredWithin(500));
}

TEST_F(InWindow, RefusesAndClosesTheWindowWhenItEnds) {
    install("zenity", R"(echo $$ >>$F/ids; sleep 600)");
    start();
    Asker asker{path};
    asker.ask("notes_create", "x");
    const std::string id = lines("ids", 1);
    host->signal(SIGTERM);
    EXPECT_EQ(asker.reply(), no);
    EXPECT_EQ(host->waitForExit(), 0);
    EXPECT_TRUE(isGone(id));
    EXPECT_FALSE(fs::exists(path));
}

/// Returns the links of descriptors above standard error that this process passes on.
std::string inheritedDescriptors() {
    std::string all;
    for (const auto& entry : fs::directory_iterator{"/proc/self/fd"}) {
        const int number = std::stoi(entry.path().filename());
        std::error_code gone;
        const auto target = fs::read_symlink(entry.path(), gone);
        if (number > 2 && !gone && (::fcntl(number, F_GETFD) & FD_CLOEXEC) == 0) {
            all += std::to_string(number) + " -> " + target.string() + '\n';
        }
    }
    return all;
}

TEST_F(InWindow, GivesTheProgramNothingOfItsOwn) {
    install("zenity",
            "for n in /proc/$$/fd/*; do echo \"${n##*/} -> $(readlink $n)\"; done >$F/open\n"
            "grep -E 'Sig(Blk|Ign)' /proc/self/status >$F/signals; exit 1");
    start();
    Asker other{path};
    other.send("{"); // open at the time
    Asker asker{path};
    asker.ask("notes_create", "x");
    EXPECT_EQ(asker.reply(), no);
    const std::string inherited = inheritedDescriptors();
    std::istringstream open{contents("open")};
    int ours = 0;
    for (std::string line; std::getline(open, line);) {
        // The shell reads the script itself, and keeps what it redirects, at 10 and above.
        const bool isShells = line.find(folder.path().string()) != std::string::npos ||
                              line.find("-> pipe:") != std::string::npos || line.ends_with("-> ");
        const bool isStandard =
            line.starts_with("0 ") || line.starts_with("1 ") || line.starts_with("2 ");
        ours += isStandard ? 1 : 0;
        EXPECT_TRUE(isStandard || isShells || inherited.find(line) != std::string::npos) << line;
    }
    EXPECT_EQ(ours, 3);
    EXPECT_NE(contents("open").find("0 -> /dev/null\n"), std::string::npos);
    std::istringstream signals{contents("signals")};
    std::string name;
    for (std::uint64_t set = 0; signals >> name >> std::hex >> set;) {
        EXPECT_EQ(set & 0x7FFF'FFFFU, 0U) << name;
    }
    EXPECT_EQ(name, "SigIgn:");
}

TEST_F(InWindow, GivesTheProgramALocaleThatTakesOurText) {
    install("zenity", R"(echo "${LC_ALL-none}" >>$F/locales; exit 1)");
    const auto localeIn = [&](std::map<std::string, std::string> environment) {
        start(std::move(environment));
        Asker asker{path};
        asker.ask("notes_create", "x");
        EXPECT_EQ(asker.reply(), no);
        const std::string locale = contents("locales");
        fs::remove(folder / "locales");
        host->signal(SIGTERM);
        EXPECT_EQ(host->waitForExit(), 0);
        return locale;
    };
    EXPECT_EQ(localeIn({{"LC_ALL", "C"}}), "C.UTF-8\n");
    EXPECT_EQ(localeIn({{"LC_ALL", "xx_XX.UTF-8"}}), "C.UTF-8\n") << "is not installed";
    EXPECT_EQ(localeIn({{"LC_ALL", ""}, {"LC_CTYPE", "C.UTF-8"}}), "\n") << "is left as it is";
}

TEST_F(InWindow, SaysWhyAQuestionCouldNotBeShown) {
    install("zenity", "exit 1");
    start();
    fs::rename(folder / "zenity", folder / "gone");
    Asker asker{path};
    asker.ask("notes_create", "x");
    EXPECT_EQ(asker.reply(), no);
    host->signal(SIGTERM);
    EXPECT_EQ(host->waitForExit(), 0);
    EXPECT_EQ(host->errors(), "approval_host: cannot start " + (folder / "zenity") +
                                  ": No such file or directory\n");
}

TEST_F(InWindow, DoesNotStartWhereItCouldNotAsk) {
    const auto errorsIn = [&](const std::map<std::string, std::string>& environment) {
        HostProcess failing{
            {.arguments = {"--window", "--socket", path}, .environment = environment}};
        EXPECT_EQ(failing.waitForExit(), 1);
        EXPECT_FALSE(fs::exists(path));
        return failing.errors();
    };
    EXPECT_EQ(errorsIn({{"PATH", folder.path().string() + "::."}, {"DISPLAY", ":0"}}),
              "approval_host: a window needs zenity or kdialog, and neither is installed\n");
    install("zenity", "exit 1");
    EXPECT_EQ(
        errorsIn({{"PATH", folder.path().string()}, {"DISPLAY", ""}, {"WAYLAND_DISPLAY", ""}}),
        "approval_host: no desktop for a window: WAYLAND_DISPLAY and DISPLAY are not set\n");
}

} // namespace
} // namespace velmiro::host::test
