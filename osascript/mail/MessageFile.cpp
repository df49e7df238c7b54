#include "osascript/mail/MessageFile.hpp"

#include "osascript/mail/Header.hpp"
#include "velmiro_mcp/platform/local/files/Files.hpp"
#include "velmiro_mcp/platform/local/files/SystemError.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmiro::osascript {
namespace {

using MCPStdio::Descriptor;

bool isThere(int folder, const char* name) {
    struct stat about{};
    return fstatat(folder, name, &about, AT_SYMLINK_NOFOLLOW) == 0;
}

constexpr const char* unreadable = "cannot read a message";

bool isRegular(const Descriptor& file) {
    struct stat about{};
    if (fstat(file.get(), &about) != 0) {
        throw std::system_error{local::lastError(), unreadable};
    }
    return S_ISREG(about.st_mode);
}

} // namespace

MessageFiles::MessageFiles(std::string maildir, std::optional<std::uint64_t> wanted)
    : maildir_{std::move(maildir)},
      wanted_{wanted},
      first_{maildir_, wanted} {}

std::optional<double> MessageFiles::written(MessageName& name) {
    struct stat about{};
    const bool isThere = isFound(
        name, [&](int folder, const char* file) { return fstatat(folder, file, &about, 0) == 0; });
    if (!isThere || !S_ISREG(about.st_mode)) {
        return std::nullopt;
    }
    const std::int64_t milliseconds =
        std::int64_t{about.st_mtim.tv_sec} * 1000 + about.st_mtim.tv_nsec / 1'000'000;
    return static_cast<double>(milliseconds);
}

Descriptor MessageFiles::open(MessageName& name) {
    Descriptor file;
    isFound(name, [&](int folder, const char* text) {
        file = local::openForReading(folder, text);
        return static_cast<bool>(file);
    });
    return file && isRegular(file) ? std::move(file) : Descriptor{};
}

/// Calls `look` with a folder and the name in it until it succeeds. Returns false if it cannot.
template <typename Look>
bool MessageFiles::isFound(MessageName& name, const Look& look) {
    constexpr int tries = 4;
    for (int attempt = 0; attempt < tries; ++attempt) {
        const int folder = (latest_ ? *latest_ : first_).folder(name.place);
        const char* const text = name.text.data();
        if (folder >= 0) {
            if (look(folder, text)) {
                return true;
            }
            const std::error_code error = local::lastError();
            if (!local::isAboutTheFile(error)) {
                throw std::system_error{error, unreadable};
            }
            if (error != std::errc::no_such_file_or_directory || isThere(folder, text)) {
                return false; // it may not be read, or is a link that leads nowhere
            }
        }
        if (!findAgain(name)) {
            return false;
        }
    }
    return false;
}

/// Finds the present name of a message that is not there under this one. Returns false if it is
/// gone: removed from a listing, it does not come back, so of a thousand that are removed while
/// they are read, most cost no further listing.
bool MessageFiles::findAgain(MessageName& name) {
    const auto present = [&]() -> const MessageName* {
        const auto found = latest_->numbers().find(name.unique());
        return found ? &(*latest_)[*found] : nullptr;
    };
    const auto isOld = [&] {
        const MessageName* const found = present();
        return found != nullptr && found->place == name.place && found->text == name.text;
    };
    if (!latest_ || isOld()) {
        latest_ = std::make_unique<MaildirNames>(maildir_, wanted_);
    }
    const MessageName* const found = present();
    if (found == nullptr || isOld()) {
        return false;
    }
    name = {renamed_.emplace_back(found->text), found->place};
    return true;
}

bool readMore(const Descriptor& file, std::size_t most, std::string& bytes) {
    constexpr std::size_t chunk = 65'536;
    const std::size_t length = bytes.size();
    bytes.resize(length + std::min(most - length, std::max(length, chunk)));
    ssize_t count = -1;
    do {
        count = pread(file.get(), bytes.data() + length, bytes.size() - length,
                      static_cast<off_t>(length));
    } while (count < 0 && errno == EINTR);
    bytes.resize(length + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    if (count < 0) {
        local::throwLastError();
    }
    return count > 0 && bytes.size() < most;
}

std::string_view readHeader(const Descriptor& message, std::string& buffer) {
    constexpr std::size_t usual = 8UL << 10;
    buffer.clear();
    bool isMore = readMore(message, usual, buffer) || buffer.size() == usual;
    std::size_t end = headerEnd(buffer);
    for (; isMore && end == std::string_view::npos; end = headerEnd(buffer)) {
        isMore = readMore(message, largestHeader, buffer);
    }
    if (end == std::string_view::npos && buffer.size() == largestHeader) {
        end = buffer.rfind('\n'); // half a line could be another field's
    }
    return std::string_view{buffer}.substr(0, end);
}

} // namespace velmiro::osascript
