#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

// A disk that forgets. It replays the record of what a program did to files (see
// tests/failing_calls/Record.hpp) and says what may be there after the power failed.
//
// What fsync was called for is there. Of the rest, anything may be: a file may have the bytes that
// were flushed last, no bytes at all, half of the later ones or all of them; each change of a name
// may have reached the disk or not, whatever happened to the others, except that a change of a name
// needs the earlier changes of that same name, and that both halves of a rename go together.

namespace velmiro::test {

/// The tree of a file system: for each path its contents. A folder's path ends in a slash.
using Tree = std::map<std::string, std::string>;

/// One line of a record.
struct Step {
    std::string kind;
    std::vector<std::string> fields;
};

std::vector<Step> stepsIn(const std::string& record);

class Disk {
public:
    /// Takes over a folder as it is, all of it flushed.
    explicit Disk(const std::filesystem::path& root);

    void replay(const Step& step);

    /// Returns the tree if the power stays on.
    [[nodiscard]] Tree whole() const;

    /// Returns all trees that may be there if the power fails now.
    [[nodiscard]] std::set<Tree> remains() const;

private:
    using Inode = std::string;
    using Names = std::map<std::string, Inode>;

    struct File {
        std::string flushed;
        std::string written;
        bool isEverFlushed = false;
    };

    /// New owners of names in folders, in one step: rename concerns two of them.
    struct Change {
        struct Entry {
            Inode folder;
            std::string name;
            Inode now; ///< empty: the name is gone
        };
        std::vector<Entry> entries;
    };

    void read(const std::filesystem::path& folder);
    void make(Change change);
    void flush(const Inode& inode);
    [[nodiscard]] std::set<std::map<Inode, Names>> namesThatRemain() const;
    [[nodiscard]] std::vector<std::string> contentsThatRemain(const Inode& inode) const;
    void grow(std::set<Tree>& trees, const std::map<Inode, Names>& names, const Inode& folder,
              const std::string& path) const;

    Inode root_;
    std::map<Inode, File> files_;
    std::map<Inode, Names> flushedNames_; ///< of each folder
    std::map<Inode, Names> names_;        ///< of each folder, now
    std::vector<Change> pending_;         ///< changes of names that are not flushed, in order
};

} // namespace velmiro::test
