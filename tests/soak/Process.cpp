#include "tests/soak/Process.hpp"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace velmiro::soak {
namespace {

namespace fs = std::filesystem;

std::size_t countOf(const fs::path& folder) {
    std::size_t count = 0;
    for (const auto& entry : fs::directory_iterator{folder}) {
        count += entry.path().empty() ? 0U : 1U;
    }
    return count;
}

/// Returns the number of children of all threads.
std::size_t childrenOf(const fs::path& process) {
    std::size_t count = 0;
    for (const auto& thread : fs::directory_iterator{process / "task"}) {
        std::ifstream children{thread.path() / "children"};
        for (std::string pid; children >> pid;) {
            ++count;
        }
    }
    return count;
}

double anonymousMegabytes(const fs::path& process) {
    std::ifstream status{process / "status"};
    for (std::string word; status >> word;) {
        if (word == "RssAnon:") {
            double kilobytes = 0;
            status >> kilobytes;
            return kilobytes / 1024;
        }
    }
    throw std::system_error{ESRCH, std::generic_category(), process.string()};
}

} // namespace

Usage usageOf(pid_t number) {
    const fs::path process = "/proc/" + std::to_string(number);
    return {anonymousMegabytes(process), countOf(process / "task"), countOf(process / "fd"),
            childrenOf(process)};
}

} // namespace velmiro::soak
