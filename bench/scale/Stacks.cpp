#include "bench/scale/Stacks.hpp"

#include <fstream>
#include <ios>
#include <sstream>
#include <string>

namespace velmiro::bench {
namespace {

struct Mapping {
    unsigned long start = 0;
    unsigned long end = 0;
    std::string access;

    [[nodiscard]] unsigned long size() const { return end - start; }
};

/// Returns whether a line is the first of a mapping: 7f2a00000000-7f2a00100000 rw-p 00000000 00:00
/// 0
bool readMapping(const std::string& line, Mapping& mapping) {
    std::istringstream fields{line};
    char dash = 0;
    Mapping read;
    fields >> std::hex >> read.start >> dash >> read.end >> read.access;
    if (!fields || dash != '-') {
        return false;
    }
    mapping = read;
    return true;
}

} // namespace

double residentStackBytes(pid_t process) {
    constexpr unsigned long stack = 1UL << 20U;
    constexpr unsigned long longestGuard = 1UL << 16U;
    std::ifstream mappings{"/proc/" + std::to_string(process) + "/smaps"};
    Mapping current;
    bool isStack = false;
    double kibibytes = 0;
    for (std::string line; std::getline(mappings, line);) {
        const Mapping before = current;
        if (readMapping(line, current)) {
            const bool isGuarded = before.access == "---p" && before.end == current.start &&
                                   before.size() <= longestGuard;
            isStack = isGuarded && current.access == "rw-p" && current.size() <= stack &&
                      current.size() + longestGuard >= stack;
        } else if (isStack && line.starts_with("Rss:")) {
            kibibytes += std::stod(line.substr(4));
        }
    }
    return kibibytes * 1024;
}

} // namespace velmiro::bench
