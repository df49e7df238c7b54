#include "osascript/mail/MaildirNames.hpp"

#include "velmiro_mcp/platform/local/files/Files.hpp"
#include "velmiro_mcp/platform/local/files/SystemError.hpp"

#include <system_error>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace velmiro::osascript {
namespace {

using local::lastError;
using MCPStdio::Descriptor;

constexpr std::string_view flagsMark = ":2,";

/// In this order, so that a message that is moved meanwhile is seen in at least one of them.
constexpr std::array places{Place::fresh, Place::current};

std::string pathOf(const std::string& maildir, Place place) {
    return maildir + (place == Place::fresh ? "/new" : "/cur");
}

Descriptor openFolder(const std::string& path) {
    Descriptor folder{open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    if (folder) {
        return folder;
    }
    const std::error_code error = lastError();
    const bool isAbsent = error == std::errc::not_a_directory ||
                          (error == std::errc::no_such_file_or_directory && local::isMissing(path));
    if (!isAbsent) {
        throw std::system_error{error, "cannot read " + path};
    }
    return folder;
}

timespec timeOfChange(const Descriptor& folder) {
    struct stat about{};
    return folder && fstat(folder.get(), &about) == 0 ? about.st_mtim : timespec{};
}

bool mayBeMessage(const dirent64& entry) {
    return entry.d_name[0] != '.' &&
           (entry.d_type == DT_REG || entry.d_type == DT_LNK || entry.d_type == DT_UNKNOWN);
}

} // namespace

MessageName::MessageName(std::string_view name, Place where) : text{name}, place{where} {
    uniqueLength = static_cast<std::uint32_t>(std::min(name.find(flagsMark), name.size()));
}

std::string_view MessageName::flags() const {
    return uniqueLength == text.size() ? "" : text.substr(uniqueLength + flagsMark.size());
}

MaildirNames::MaildirNames(const std::string& maildir, std::optional<std::uint64_t> wanted)
    : wanted_{wanted} {
    // A file that is renamed while its folder is listed can be missed under both names.
    constexpr int tries = 5;
    for (int attempt = 0; attempt < tries; ++attempt) {
        list(maildir);
        if (!haveChanged()) {
            break;
        }
    }
    index();
}

void MaildirNames::list(const std::string& maildir) {
    names_.clear();
    blocks_.clear();
    for (const Place place : places) {
        const auto at = static_cast<std::size_t>(place);
        folders_[at] = openFolder(pathOf(maildir, place));
        changed_[at] = timeOfChange(folders_[at]);
        if (folders_[at]) {
            try {
                readNames(place);
            } catch (const std::system_error& error) {
                throw std::system_error{error.code(), "cannot read " + pathOf(maildir, place)};
            }
        }
    }
}

void MaildirNames::readNames(Place place) {
    constexpr std::size_t blockSize = 256UL << 10;
    constexpr std::size_t enough = 32UL << 10; // any smaller room would cost more calls
    std::size_t room = 0;
    char* free = nullptr;
    for (;;) {
        if (room < enough) {
            blocks_.push_back(std::make_unique_for_overwrite<char[]>(blockSize));
            free = blocks_.back().get();
            room = blockSize;
        }
        const ssize_t filled = getdents64(folder(place), free, room);
        if (filled < 0) {
            local::throwLastError();
        }
        if (filled == 0) {
            return;
        }
        const std::size_t count = names_.size();
        for (const char* at = free; at < free + filled;) {
            const auto& entry = *reinterpret_cast<const dirent64*>(at);
            const MessageName name{&entry.d_name[0], place};
            if (mayBeMessage(entry) && isListed(name)) {
                names_.push_back(name);
            }
            at += entry.d_reclen;
        }
        if (names_.size() > count) { // else the next entries may take the place of these
            free += filled;
            room -= static_cast<std::size_t>(filled);
        }
    }
}

bool MaildirNames::isListed(const MessageName& name) const {
    return !wanted_ || mayMatter(numberOf(name.unique()), *wanted_);
}

void MaildirNames::index() {
    uniques_ = NumberedNames{names_.size()};
    for (const MessageName& name : names_) {
        const std::size_t count = uniques_.size();
        const Index at = uniques_.add(name.unique());
        MessageName& kept = names_[at]; // at the latest `name` itself
        if (at == count || name.place != kept.place || name.text > kept.text) {
            kept = name;
        }
    }
    names_.resize(uniques_.size());
}

bool MaildirNames::haveChanged() const {
    for (const Place place : places) {
        const auto at = static_cast<std::size_t>(place);
        const timespec now = timeOfChange(folders_[at]);
        if (now.tv_sec != changed_[at].tv_sec || now.tv_nsec != changed_[at].tv_nsec) {
            return true;
        }
    }
    return false;
}

} // namespace velmiro::osascript
