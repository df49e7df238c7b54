#include "velmiro_mcp/base/ZoneVariable.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace velmiro {
namespace {

bool isLetter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

/// Returns the path at which the C library looks for the zone of that name.
std::string pathOf(const std::string& name) {
    if (name.starts_with('/')) {
        return name;
    }
    const char* const folder = std::getenv("TZDIR");
    const bool isGiven = folder != nullptr && *folder != '\0';
    return std::string{isGiven ? folder : "/usr/share/zoneinfo"} + '/' + name;
}

/// Opens regular files only: opening a device may have side effects.
bool isZoneFile(const std::string& path) {
    struct stat about{};
    if (::stat(path.c_str(), &about) != 0 || !S_ISREG(about.st_mode)) {
        return false;
    }
    const int file = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    std::array<char, 4> magic{};
    const bool isRead = ::read(file, magic.data(), magic.size()) == ssize_t{magic.size()};
    ::close(file);
    return isRead && std::string_view{magic.data(), magic.size()} == "TZif";
}

/// Returns whether the value begins as a rule does: with a name, of at least three letters or in
/// angle brackets, and an offset.
bool isRule(std::string_view value) {
    std::size_t end = 0;
    if (value.starts_with('<')) {
        end = value.find('>');
        if (end == std::string_view::npos) {
            return false;
        }
        ++end;
    } else {
        end = static_cast<std::size_t>(std::ranges::find_if_not(value, isLetter) - value.begin());
    }
    auto offset = value.substr(end);
    if (offset.starts_with('+') || offset.starts_with('-')) {
        offset.remove_prefix(1);
    }
    return end >= 3 && !offset.empty() && isDigit(offset.front());
}

} // namespace

bool isTimeZone(std::string_view value) {
    if (value.starts_with(':')) {
        value.remove_prefix(1);
    }
    if (value.empty()) {
        return true;
    }
    const std::string path = pathOf(std::string{value});
    struct stat about{};
    return ::stat(path.c_str(), &about) == 0 ? isZoneFile(path) : isRule(value);
}

void sanitizeZoneVariable() {
    const char* const value = std::getenv("TZ");
    if (value != nullptr && !isTimeZone(value)) {
        ::unsetenv("TZ"); // NOLINT(concurrency-mt-unsafe): the only thread
    }
    ::tzset();
}

} // namespace velmiro
