#include "osascript/notes/NoteFiles.hpp"

#include "MCPStdio/text/UTF8.hpp"
#include "osascript/notes/NoteFileName.hpp"
#include "velmiro_mcp/platform/local/files/FileCreation.hpp"
#include "velmiro_mcp/platform/local/files/SystemError.hpp"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmiro::osascript {
namespace {

using local::FolderEntry;
using local::OpenFolder;

constexpr std::size_t largestPart = 16UL << 20; ///< of a file that is read
constexpr std::size_t firstRoom = 64UL << 10;

char lowered(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

/// Returns whether a name ends like that of a note, in any case.
bool isNoteName(std::string_view name) {
    const auto endsWith = [name](std::string_view ending) {
        return name.size() >= ending.size() &&
               std::ranges::equal(name.substr(name.size() - ending.size()), ending, {}, lowered);
    };
    return endsWith(".md") || endsWith(".txt");
}

NoteFormat formatOf(std::string_view name) {
    return lowered(name.back()) == 't' ? NoteFormat::plain : NoteFormat::markdown;
}

/// Throws the last error, unless it is about this folder or note. One that is gone, or that the
/// user may not read, is passed over; a failing machine says nothing about it.
void throwUnlessAbout(const std::string& path) {
    const std::error_code error = local::lastError();
    if (!local::isAboutTheFile(error)) {
        throw std::system_error{error, "cannot read " + path};
    }
}

/// Returns whether an entry is of a kind, if it is no link to something of that kind.
bool isOfKind(const OpenFolder& folder, const FolderEntry& entry, FolderEntry::Kind kind) {
    if (entry.kind == FolderEntry::Kind::file || entry.kind == FolderEntry::Kind::folder) {
        return entry.kind == kind;
    }
    struct stat about{};
    const bool isThere = fstatat(folder.descriptor(), entry.name.c_str(), &about, 0) == 0;
    if (!isThere) {
        throwUnlessAbout(folder.path() + "/" + entry.name);
    }
    return isThere &&
           (kind == FolderEntry::Kind::file ? S_ISREG(about.st_mode) : S_ISDIR(about.st_mode));
}

std::int64_t nanoseconds(const statx_timestamp& time) {
    return time.tv_sec * 1'000'000'000 + time.tv_nsec;
}

/// Returns the entries of a kind.
std::vector<std::string> namesIn(const OpenFolder& folder, FolderEntry::Kind kind) {
    std::vector<std::string> names;
    for (FolderEntry& entry : folder.visibleEntries()) {
        const bool isWanted = kind == FolderEntry::Kind::folder || isNoteName(entry.name);
        if (isWanted && isOfKind(folder, entry, kind)) {
            names.push_back(std::move(entry.name));
        }
    }
    return names;
}

} // namespace

std::string NoteFiles::pathOf(std::string_view folder) const {
    return std::string{root_}.append("/").append(folder);
}

std::vector<std::string> NoteFiles::folders() const {
    std::vector<std::string> names;
    try {
        if (const auto root = local::openFolderIfThere(root_)) {
            names = namesIn(*root, FolderEntry::Kind::folder);
        }
    } catch (const std::system_error& error) {
        throw std::system_error{error.code(), "cannot read " + root_};
    }
    std::ranges::sort(names);
    return names;
}

std::vector<std::string> NoteFiles::notes(std::string_view folder) {
    const OpenFolder* const opened = open(folder);
    try {
        return opened == nullptr ? std::vector<std::string>{}
                                 : namesIn(*opened, FolderEntry::Kind::file);
    } catch (const std::system_error& error) {
        throw std::system_error{error.code(), "cannot read " + pathOf(folder)};
    }
}

const OpenFolder* NoteFiles::open(std::string_view folder) {
    if (!open_ || openName_ != folder) {
        open_.reset();
        openName_ = folder;
        try {
            open_.emplace(pathOf(folder));
        } catch (const std::system_error& error) {
            if (!local::isAboutTheFile(error.code())) {
                throw std::system_error{error.code(), "cannot read " + pathOf(folder)};
            }
            return nullptr;
        }
    }
    return &*open_;
}

std::optional<NoteTimes> NoteFiles::times(const NotePath& path) {
    const OpenFolder* const folder = open(path.folder);
    struct statx about{};
    constexpr unsigned wanted = STATX_TYPE | STATX_MTIME | STATX_BTIME;
    if (folder == nullptr) {
        return std::nullopt;
    }
    const std::string file{path.file};
    if (statx(folder->descriptor(), file.c_str(), 0, wanted, &about) != 0) {
        throwUnlessAbout(folder->path() + "/" + file);
        return std::nullopt;
    }
    if (!S_ISREG(about.stx_mode)) {
        return std::nullopt;
    }
    const std::int64_t modified = nanoseconds(about.stx_mtime);
    const std::int64_t born = nanoseconds(about.stx_btime);
    const bool isKnown = (about.stx_mask & STATX_BTIME) != 0 && born > 0 && born < modified;
    return NoteTimes{isKnown ? born : modified, modified};
}

/// Reads a file into the buffer, or its beginning, and returns its length.
std::size_t NoteFiles::readFile(const NotePath& path) {
    const OpenFolder* const folder = open(path.folder);
    const auto file = folder == nullptr
                          ? local::Descriptor{}
                          : local::openForReading(folder->descriptor(), std::string{path.file});
    if (folder != nullptr && !file) {
        throwUnlessAbout(folder->path() + "/" + std::string{path.file});
    }
    std::size_t length = 0;
    buffer_.resize(std::max(buffer_.size(), firstRoom));
    while (file) {
        const ssize_t count = read(file.get(), buffer_.data() + length, buffer_.size() - length);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0 && errno != EISDIR) {
            throwUnlessAbout(folder->path() + "/" + std::string{path.file});
        }
        length += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        // A read of a regular file fills the buffer, except at the end.
        if (count <= 0 || length < buffer_.size() || length >= largestPart) {
            break;
        }
        buffer_.resize(std::min(4 * buffer_.size(), largestPart));
    }
    return length;
}

void NoteFiles::readPage(const NotePath& path) {
    if (!page_ || page_->folder != path.folder || page_->file != path.file) {
        page_.reset();
        const std::size_t length = readFile(path);
        page_.emplace();
        page_->folder = path.folder;
        page_->file = path.file;
        page_->length = length;
    }
}

const NoteText& NoteFiles::text(const NotePath& path) {
    readPage(path);
    if (!page_->text) {
        page_->text = readNote(MCPStdio::repairUTF8(std::string{bytes()}), formatOf(path.file));
    }
    return *page_->text;
}

WordSieve& NoteFiles::sieveFor(const std::string& folded) {
    constexpr std::size_t most = 16; // a script asks for one or two
    if (sieves_.size() > most) {
        sieves_.clear();
        page_.reset();
    }
    return sieves_.try_emplace(folded, folded).first->second;
}

bool NoteFiles::mayShow(const NotePath& path, const std::string& folded) {
    WordSieve& sieve = sieveFor(folded);
    readPage(path);
    if (page_->judge != &sieve) {
        page_->judge = &sieve;
        page_->mayShow = sieve.mayShow(bytes());
    }
    return page_->mayShow;
}

bool NoteFiles::mayBeNamed(const NotePath& path, const std::string& folded) {
    return sieveFor(folded).mayShow(path.file);
}

std::error_code NoteFiles::makeFolder(const std::string& name) const {
    return local::makeFolders(pathOf(name)) ? std::error_code{}
                                            : std::error_code{errno, std::generic_category()};
}

std::error_code NoteFiles::create(const std::string& folder, const NoteText& note) const {
    return local::createFile(
        pathOf(folder), [&](int number) { return noteFileName(note.title, number); },
        writtenNote(note));
}

} // namespace velmiro::osascript
