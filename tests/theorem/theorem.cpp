// Plays random histories of questions and answers, and checks the theorem: the changes made are the
// questions to which the client read a yes in time, each with the content that was asked about.
//
//   theorem [COUNT] [--seed NUMBER] [--server BINARY] [--workers COUNT]
//
// The histories have the seeds from NUMBER on, so a single one is repeated by `theorem 1 --seed N`.
// With a server, one in fifty is played with it; the others use this program's own tools. Many
// processes play side by side, because some histories mostly wait.

#include "support/TemporaryFolder.hpp"
#include "tests/theorem/Description.hpp"
#include "tests/theorem/Player.hpp"
#include "tests/theorem/RandomHistory.hpp"

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <map>
#include <new>
#include <random>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace velmiro::theorem;
using velmiro::support::TemporaryFolder;

struct Options {
    std::uint64_t count = 100'000;
    std::uint64_t seed = std::random_device{}();
    std::size_t workers = 48;
    std::string server;
};

constexpr std::size_t mostWorkers = 256;

/// What all processes share.
struct Shared {
    Totals totals;
    std::atomic<std::uint64_t> next{0};
    std::atomic<bool> isBroken{false};
    std::array<std::atomic<std::uint64_t>, mostWorkers> current{}; ///< the seed that each one plays
};

Shared& sharedMemory() {
    void* const memory =
        ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        std::perror("theorem");
        std::exit(2);
    }
    return *new (memory) Shared;
}

/// The kind depends on the seed alone, so that a history can be repeated.
Kind kindOf(std::uint64_t seed, bool hasServer) {
    return seed % 100 == 99              ? Kind::slow
           : seed % 50 == 0 && hasServer ? Kind::overFiles
                                         : Kind::quick;
}

/// Plays histories until there are enough. Ends the process if one breaks the theorem.
void work(const Options& options, const std::string& folder, Shared& shared,
          std::atomic<std::uint64_t>& current) {
    ::setenv("HOME", (folder + "/home").c_str(), 1);
    ::setenv("TZ", "Europe/Berlin", 1);
    ::setenv("LC_ALL", "en_GB.UTF-8", 1);
    Host host{folder};
    const auto tools = toolsInProcess();
    Player inProcess{*tools, host, shared.totals};
    std::unique_ptr<Client> binary;
    std::optional<Player> throughServer;
    if (!options.server.empty()) {
        binary = server(options.server, folder + "/home", host.pathOf(Path::first));
        throughServer.emplace(*binary, host, shared.totals);
    }
    for (auto index = shared.next++; index < options.count; index = shared.next++) {
        current = options.seed + index;
        const Kind kind = kindOf(current, !options.server.empty());
        const History history = randomHistory(current, kind);
        try {
            if (kind != Kind::overFiles) {
                inProcess.play(history);
                continue;
            }
            throughServer->play(history);
            ++shared.totals.throughServer;
        } catch (const std::exception& error) {
            if (!shared.isBroken.exchange(true)) { // the first is enough for a reader
                std::fprintf(stderr, "broken by the history of seed %llu:\n%s%s\n",
                             static_cast<unsigned long long>(current.load()),
                             described(history).c_str(), error.what());
            }
            ::_exit(1); // calls may hang; the folder is the parent's
        }
    }
}

/// Waits for all workers; ends them if one fails. Returns whether all succeeded.
bool awaitAll(std::map<pid_t, std::size_t> workers, const Shared& shared) {
    bool succeeded = true;
    while (!workers.empty()) {
        int status = 0;
        const pid_t ended = ::wait(&status);
        const auto worker = workers.find(ended);
        if (worker == workers.end()) {
            continue;
        }
        if (status != 0 && succeeded) {
            succeeded = false;
            if (WIFSIGNALED(status)) {
                std::fprintf(stderr, "killed by signal %d in the history of seed %llu\n",
                             WTERMSIG(status),
                             static_cast<unsigned long long>(shared.current.at(worker->second)));
            }
            for (const auto& [pid, number] : workers) {
                if (pid != ended) {
                    ::kill(pid, SIGKILL);
                }
            }
        }
        workers.erase(worker);
    }
    return succeeded;
}

bool run(const Options& options, Shared& shared) {
    std::deque<TemporaryFolder> folders;
    std::map<pid_t, std::size_t> workers;
    for (std::size_t number = 0; number < options.workers; ++number) {
        const auto& folder = folders.emplace_back("/tmp");
        const pid_t child = ::fork();
        if (child == 0) {
            std::fflush(nullptr);
            work(options, folder.path().string(), shared, shared.current.at(number));
            ::_exit(0);
        }
        workers.emplace(child, number);
    }
    return awaitAll(std::move(workers), shared);
}

std::optional<Options> optionsFrom(const std::vector<std::string>& arguments) {
    Options options;
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const std::string& name = arguments[at];
        if (at == 0 && !name.starts_with('-')) {
            options.count = std::stoull(name);
            continue;
        }
        if (++at == arguments.size()) {
            return std::nullopt;
        }
        if (name == "--seed") {
            options.seed = std::stoull(arguments[at]);
        } else if (name == "--server") {
            options.server = arguments[at];
        } else if (name == "--workers") {
            options.workers = std::min(mostWorkers, std::size_t{std::stoull(arguments[at])});
        } else {
            return std::nullopt;
        }
    }
    return options;
}

} // namespace

int main(int count, char** arguments) {
    std::optional<Options> options;
    try {
        options = optionsFrom({arguments + 1, arguments + count});
    } catch (const std::logic_error&) {
        options.reset(); // not a number
    }
    if (!options || options->count == 0 || options->workers == 0) {
        std::fputs("usage: theorem [COUNT] [--seed NUMBER] [--server BINARY] [--workers COUNT]\n",
                   stderr);
        return 2;
    }
    options->workers = std::min<std::size_t>(options->workers, options->count);
    const auto begin = std::chrono::steady_clock::now();
    Shared& shared = sharedMemory();
    const bool holds = run(*options, shared);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    const Totals& totals = shared.totals;
    const auto number = [](const auto& counted) {
        return static_cast<unsigned long long>(counted);
    };
    std::printf(
        "%llu histories (%llu through the server), seeds from %llu: %llu questions, %llu "
        "allowed, %llu given up by the client, %llu open to either; %llu changes (%.1f s)\n",
        number(totals.histories), number(totals.throughServer), number(options->seed),
        number(totals.questions), number(totals.yeses), number(totals.expired), number(totals.open),
        number(totals.changes), taken.count());
    return holds && totals.histories == options->count ? 0 : 1;
}
