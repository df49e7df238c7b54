#include "tests/faults/Disk.hpp"

#include "support/Files.hpp"

#include <algorithm>
#include <sstream>
#include <stdexcept>

#include <sys/stat.h>

namespace velmiro::test {
namespace {

namespace fs = std::filesystem;

std::string inodeOf(const fs::path& path) {
    struct stat about{};
    if (::lstat(path.c_str(), &about) != 0) {
        throw std::runtime_error{"no inode: " + path.string()};
    }
    return std::to_string(about.st_ino);
}

std::string fromHexadecimal(const std::string& digits) {
    std::string bytes;
    for (std::size_t index = 0; index + 1 < digits.size(); index += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(index, 2), nullptr, 16));
    }
    return bytes;
}

} // namespace

std::vector<Step> stepsIn(const std::string& record) {
    std::vector<Step> steps;
    std::istringstream lines{record};
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields{line};
        Step step;
        std::getline(fields, step.kind, '\t');
        for (std::string field; std::getline(fields, field, '\t');) {
            step.fields.push_back(field);
        }
        steps.push_back(std::move(step));
    }
    return steps;
}

Disk::Disk(const fs::path& root) : root_{inodeOf(root)} {
    read(root);
    flushedNames_ = names_;
}

void Disk::read(const fs::path& folder) {
    Names& names = names_[inodeOf(folder)];
    for (const auto& entry : fs::directory_iterator{folder}) {
        const Inode inode = inodeOf(entry.path());
        names[entry.path().filename().string()] = inode;
        if (entry.is_directory()) {
            read(entry.path());
        } else {
            const std::string contents = support::readFile(entry.path());
            files_[inode] = {contents, contents, true};
        }
    }
}

void Disk::make(Change change) {
    for (const Change::Entry& entry : change.entries) {
        if (entry.now.empty()) {
            names_[entry.folder].erase(entry.name);
        } else {
            names_[entry.folder][entry.name] = entry.now;
        }
    }
    pending_.push_back(std::move(change));
}

void Disk::flush(const Inode& inode) {
    if (const auto file = files_.find(inode); file != files_.end()) {
        file->second.flushed = file->second.written;
        file->second.isEverFlushed = true;
    }
    if (!names_.contains(inode)) {
        return;
    }
    // All changes up to now that concern the folder are there, and with them their other halves.
    std::erase_if(pending_, [&](const Change& change) {
        const bool isFlushed =
            std::ranges::any_of(change.entries, [&](const auto& e) { return e.folder == inode; });
        for (const Change::Entry& entry : change.entries) {
            if (isFlushed && entry.now.empty()) {
                flushedNames_[entry.folder].erase(entry.name);
            } else if (isFlushed) {
                flushedNames_[entry.folder][entry.name] = entry.now;
            }
        }
        return isFlushed;
    });
}

void Disk::replay(const Step& step) {
    const auto& f = step.fields;
    const auto owner = [&](std::size_t at) { return names_[f.at(at)][f.at(at + 1)]; };
    if (step.kind == "create") {
        if (names_[f.at(0)].contains(f.at(1))) {
            return; // opened, not made
        }
        files_[f.at(2)] = {};
        make({{{f.at(0), f.at(1), f.at(2)}}});
    } else if (step.kind == "nameless") {
        files_[f.at(0)] = {};
    } else if (step.kind == "write") {
        std::string& contents = files_[f.at(0)].written;
        const std::string bytes = f.size() > 2 ? fromHexadecimal(f.at(2)) : std::string{};
        const auto offset = static_cast<std::size_t>(std::stoul(f.at(1)));
        contents.resize(std::max(contents.size(), offset + bytes.size()), '\0');
        contents.replace(offset, bytes.size(), bytes);
    } else if (step.kind == "flush") {
        flush(f.at(0));
    } else if (step.kind == "link") {
        make({{{f.at(1), f.at(2), f.at(0)}}});
    } else if (step.kind == "unlink" || step.kind == "rmdir") {
        make({{{f.at(0), f.at(1), {}}}});
    } else if (step.kind == "rename") {
        const Inode moved = owner(0);
        make({{{f.at(0), f.at(1), {}}, {f.at(2), f.at(3), moved}}});
    } else if (step.kind == "exchange") {
        const Inode first = owner(0);
        const Inode second = owner(2);
        make({{{f.at(0), f.at(1), second}, {f.at(2), f.at(3), first}}});
    } else if (step.kind == "mkdir") {
        names_[f.at(2)];
        flushedNames_[f.at(2)];
        make({{{f.at(0), f.at(1), f.at(2)}}});
    } else {
        throw std::runtime_error{"no step: " + step.kind};
    }
}

std::vector<std::string> Disk::contentsThatRemain(const Inode& inode) const {
    const auto found = files_.find(inode);
    if (found == files_.end()) {
        return {""};
    }
    const File& file = found->second;
    if (file.written == file.flushed && file.isEverFlushed) {
        return {file.written};
    }
    return {file.flushed, "", file.written.substr(0, file.written.size() / 2), file.written};
}

/// Returns every state of the names: each subset of the pending changes that holds, for each of its
/// changes, the earlier ones of the same names.
std::set<std::map<Disk::Inode, Disk::Names>> Disk::namesThatRemain() const {
    constexpr std::size_t most = 14;
    if (pending_.size() > most) {
        throw std::runtime_error{"too many changes are not flushed"};
    }
    const auto concernsSame = [](const Change& left, const Change& right) {
        return std::ranges::any_of(left.entries, [&](const auto& one) {
            return std::ranges::any_of(right.entries, [&](const auto& other) {
                return one.folder == other.folder && one.name == other.name;
            });
        });
    };
    std::set<std::map<Inode, Names>> states;
    for (std::uint32_t subset = 0; subset < (1U << pending_.size()); ++subset) {
        const auto has = [subset](std::size_t index) { return (subset >> index & 1U) != 0; };
        bool isLegal = true;
        auto names = flushedNames_;
        for (std::size_t index = 0; index < pending_.size() && isLegal; ++index) {
            if (!has(index)) {
                continue;
            }
            for (std::size_t earlier = 0; earlier < index; ++earlier) {
                isLegal =
                    isLegal && (has(earlier) || !concernsSame(pending_[earlier], pending_[index]));
            }
            for (const Change::Entry& entry : pending_[index].entries) {
                if (entry.now.empty()) {
                    names[entry.folder].erase(entry.name);
                } else {
                    names[entry.folder][entry.name] = entry.now;
                }
            }
        }
        if (isLegal) {
            states.insert(std::move(names));
        }
    }
    return states;
}

/// Adds to each of the trees what is in a folder, in every form that it may have.
void Disk::grow(std::set<Tree>& trees, const std::map<Inode, Names>& names, const Inode& folder,
                const std::string& path) const {
    const auto found = names.find(folder);
    if (found == names.end()) {
        return;
    }
    for (const auto& [name, inode] : found->second) {
        const std::string inside = path + name;
        const bool isFolder = names_.contains(inode);
        const auto forms = isFolder ? std::vector<std::string>{""} : contentsThatRemain(inode);
        std::set<Tree> grown;
        for (const Tree& tree : trees) {
            for (const std::string& form : forms) {
                Tree larger = tree;
                larger[isFolder ? inside + "/" : inside] = form;
                grown.insert(std::move(larger));
            }
        }
        trees = std::move(grown);
        if (isFolder) {
            grow(trees, names, inode, inside + "/");
        }
    }
}

std::set<Tree> Disk::remains() const {
    std::set<Tree> all;
    for (const auto& names : namesThatRemain()) {
        std::set<Tree> trees{Tree{}};
        grow(trees, names, root_, "");
        all.merge(trees);
    }
    return all;
}

Tree Disk::whole() const {
    Tree tree;
    const auto add = [&](const auto& self, const Inode& folder, const std::string& path) -> void {
        const auto found = names_.find(folder);
        for (const auto& [name, inode] : found->second) {
            if (names_.contains(inode)) {
                tree[path + name + "/"];
                self(self, inode, path + name + "/");
            } else {
                tree[path + name] = files_.at(inode).written;
            }
        }
    };
    add(add, root_, "");
    return tree;
}

} // namespace velmiro::test
