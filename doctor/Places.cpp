#include "doctor/Places.hpp"

#include "doctor/Words.hpp"
#include "velmiro_mcp/platform/local/files/SystemError.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmiro::doctor {
namespace {

std::string linkText(const std::string& path) {
    std::array<char, PATH_MAX> text;
    const ssize_t length = readlink(path.c_str(), text.data(), text.size());
    return {text.data(), length < 0 ? 0 : static_cast<std::size_t>(length)};
}

Place::What whatIs(mode_t mode) {
    if (S_ISDIR(mode)) {
        return Place::What::folder;
    }
    return S_ISREG(mode) ? Place::What::file : Place::What::other;
}

/// Visits the names in a folder, but for `.` and `..`, in the system's order, until `visit` returns
/// false. Returns false if the time was up before that.
template <typename Visit>
bool forEachName(const local::OpenFolder& folder, const Budget& budget, const Visit& visit) {
    const local::Listing entries = local::openListing(folder.descriptor());
    if (!entries) {
        local::throwLastError();
    }
    constexpr std::size_t betweenLooks = 4096; // at the clock
    for (std::size_t count = 1; count % betweenLooks != 0 || budget.isTimeLeft(); ++count) {
        errno = 0;
        const dirent* const entry = readdir(entries.get());
        if (entry == nullptr) {
            if (errno != 0) {
                local::throwLastError();
            }
            return true;
        }
        const std::string_view name = &entry->d_name[0];
        if (name != "." && name != ".." && !visit(name)) {
            return true;
        }
    }
    return false;
}

void keep(std::vector<std::string>& names, std::string_view name, std::size_t most) {
    if (names.size() < most) {
        names.emplace_back(name);
    }
}

} // namespace

std::string realPathOf(const std::string& path) {
    const auto release = [](char* text) { std::free(text); };
    const std::unique_ptr<char, decltype(release)> real{realpath(path.c_str(), nullptr), release};
    return real ? real.get() : std::string{};
}

Place placeOf(const std::string& path) {
    Place place;
    struct stat about{};
    if (lstat(path.c_str(), &about) != 0) {
        place.error = local::lastError();
        const bool isMissing = errno == ENOENT || errno == ENOTDIR;
        place.what = isMissing ? Place::What::missing : Place::What::unreachable;
        return place;
    }
    place.isLink = S_ISLNK(about.st_mode);
    if (place.isLink) {
        place.target = linkText(path);
        if (stat(path.c_str(), &about) != 0) {
            place.error = local::lastError();
            const bool leadsNowhere = errno == ENOENT || errno == ELOOP || errno == ENOTDIR;
            place.what = leadsNowhere ? Place::What::dangling : Place::What::unreachable;
            return place;
        }
        if (std::string real = realPathOf(path); !real.empty()) {
            place.target = std::move(real);
        }
    }
    place.what = whatIs(about.st_mode);
    place.identity = {about.st_dev, about.st_ino};
    place.size = about.st_size;
    return place;
}

std::string danglingAbove(std::string path) {
    Place place = placeOf(path);
    while (place.what == Place::What::missing) {
        path = local::parentOf(path);
        place = placeOf(path);
    }
    return place.what == Place::What::dangling ? path : std::string{};
}

std::string lockedAbove(std::string path) {
    while (placeOf(path).what == Place::What::unreachable && path != "/") {
        path = local::parentOf(path);
    }
    return path;
}

std::string withTarget(const std::string& text, const Place& place) {
    return place.isLink ? text + " → " + visible(place.target) : text;
}

Listing listingOf(const local::OpenFolder& folder, NameTest isItem, const Budget& budget) {
    const Bounds& bounds = budget.bounds();
    Listing listing;
    const auto add = [&](std::string_view name) {
        if (name.starts_with('.')) {
            keep(listing.hidden, name, bounds.others);
        } else if (isItem(name)) {
            keep(listing.items, name, bounds.names);
            ++listing.itemCount;
        } else {
            keep(listing.others, name, bounds.others);
        }
        return true;
    };
    listing.isCut = !forEachName(folder, budget, add);
    std::ranges::sort(listing.items);
    std::ranges::sort(listing.others);
    std::ranges::sort(listing.hidden);
    return listing;
}

bool holdsItem(const std::string& path, NameTest isItem, const Budget& budget) {
    try {
        bool isFound = false;
        forEachName(local::OpenFolder{path}, budget, [&](std::string_view name) {
            isFound = !name.starts_with('.') && isItem(name);
            return !isFound;
        });
        return isFound;
    } catch (const std::system_error&) {
        return false;
    }
}

Listing listingIfReadable(const std::string& path, NameTest isItem, const Budget& budget) {
    try {
        return listingOf(local::OpenFolder{path}, isItem, budget);
    } catch (const std::system_error&) {
        return {};
    }
}

std::optional<std::string> readItem(const local::OpenFolder& folder, const std::string& name) {
    if (placeOf(folder.path() + "/" + name).what != Place::What::file) {
        return std::nullopt;
    }
    auto file = local::readStamped(folder, name, local::largestItem);
    return file ? std::optional{std::move(file->bytes)} : std::nullopt;
}

std::string whyUnreadable(const std::string& path) {
    const Place place = placeOf(path);
    switch (place.what) {
    case Place::What::missing:
        return {}; // removed in the meantime
    case Place::What::dangling:
        return "a link to " + visible(place.target) + ", which leads nowhere";
    case Place::What::unreachable:
        return reasonOf(place.error);
    case Place::What::folder:
        return "a folder";
    case Place::What::other:
        return "a pipe, a device or a socket";
    case Place::What::file:
        break;
    }
    if (std::cmp_greater(place.size, local::largestItem)) {
        return "larger than 32 MiB";
    }
    if (faccessat(AT_FDCWD, path.c_str(), R_OK, AT_EACCESS) != 0) {
        return reasonOf(local::lastError());
    }
    return {};
}

std::string lastName(const std::string& path) {
    const auto end = path.find_last_not_of('/');
    if (end == std::string::npos) {
        return {};
    }
    const auto slash = path.find_last_of('/', end);
    const std::size_t begin = slash == std::string::npos ? 0 : slash + 1;
    return path.substr(begin, end - begin + 1);
}

} // namespace velmiro::doctor
