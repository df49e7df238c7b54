#pragma once

#include "osascript/notes/Markdown.hpp"
#include "osascript/notes/WordSieve.hpp"
#include "velmiro_mcp/platform/local/files/Files.hpp"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace velmiro::osascript {

/// The times of a file, in nanoseconds since 1970.
struct NoteTimes {
    std::int64_t created = 0; ///< the time of change if the file system knows no other
    std::int64_t modified = 0;
};

/// The file of a note. Both names are bytes, as the file system has them.
struct NotePath {
    std::string_view folder;
    std::string_view file;
};

/// A file that was read, with what was found out about it.
struct NotePage {
    std::string folder;
    std::string file;
    std::size_t length = 0; ///< of its bytes in the buffer
    std::optional<NoteText> text;
    const WordSieve* judge = nullptr; ///< the one that gave `mayShow`
    bool mayShow = true;
};

/// Folders of notes on the disk. Folders and files are found by their names; a symbolic link counts
/// as what it leads to. Files that are gone or cannot be read are empty.
///
/// Only the note that was read last is kept in memory.
class NoteFiles {
public:
    /// Does not access the path yet.
    explicit NoteFiles(std::string root) : root_{std::move(root)} {}

    /// Returns the names of the folders, in byte order; none if the root is missing. Throws
    /// std::system_error if the root cannot be read, also as a link that leads nowhere.
    [[nodiscard]] std::vector<std::string> folders() const;

    /// Returns the names of the notes in a folder, in any order.
    [[nodiscard]] std::vector<std::string> notes(std::string_view folder);

    /// Returns the times of a note; nullopt if it is gone.
    [[nodiscard]] std::optional<NoteTimes> times(const NotePath& path);

    /// Returns what a note shows. Valid until another note is read.
    [[nodiscard]] const NoteText& text(const NotePath& path);

    /// Returns false only if the note does not show the words, which are folded for searching. The
    /// name of its file does not count.
    [[nodiscard]] bool mayShow(const NotePath& path, const std::string& folded);

    /// Returns false only if the name of its file, which may be its title, does not contain them.
    [[nodiscard]] bool mayBeNamed(const NotePath& path, const std::string& folded);

    /// Creates a folder; it may be there already.
    [[nodiscard]] std::error_code makeFolder(const std::string& name) const;

    /// Creates a note in a folder, in a file named after its title.
    [[nodiscard]] std::error_code create(const std::string& folder, const NoteText& note) const;

    [[nodiscard]] std::string pathOf(std::string_view folder) const;

private:
    [[nodiscard]] const local::OpenFolder* open(std::string_view folder);
    void readPage(const NotePath& path);
    [[nodiscard]] std::size_t readFile(const NotePath& path);
    [[nodiscard]] WordSieve& sieveFor(const std::string& folded);
    [[nodiscard]] std::string_view bytes() const {
        return std::string_view{buffer_}.substr(0, page_ ? page_->length : 0);
    }

    std::string root_;
    std::string openName_; ///< the name of the folder that was opened last
    std::optional<local::OpenFolder> open_;
    std::string buffer_; ///< with room for the largest file read so far
    std::optional<NotePage> page_;
    std::map<std::string, WordSieve> sieves_; ///< by the words
};

} // namespace velmiro::osascript
