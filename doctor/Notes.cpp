#include "doctor/Examinations.hpp"

#include "doctor/Collections.hpp"
#include "doctor/Words.hpp"

#include <algorithm>

namespace velmiro::doctor {
namespace {

/// Returns whether the name ends with .md or .txt, in any case.
bool isNoteFile(std::string_view name) {
    const auto hasEnding = [&](std::string_view ending) {
        return name.size() >= ending.size() &&
               std::ranges::equal(name.substr(name.size() - ending.size()), ending,
                                  [](char left, char right) {
                                      const bool isCapital = left >= 'A' && left <= 'Z';
                                      return (isCapital ? left - 'A' + 'a' : left) == right;
                                  });
    };
    return hasEnding(".md") || hasEnding(".txt");
}

bool isMisnamedNoteFile(std::string_view name) {
    return name.ends_with(".markdown");
}

class NoteReader final : public ItemReader {
public:
    /// Only opens the file: any text is a note.
    std::string read(const local::OpenFolder& folder, const std::string& name) override {
        const auto about = placeOf(folder.path() + "/" + name);
        if (about.what == Place::What::folder || about.what == Place::What::missing) {
            return {}; // not a note for the server either
        }
        if (about.what == Place::What::file) {
            const auto file = local::openForReading(folder.descriptor(), name);
            notes_ += 1;
            return file ? std::string{} : whyUnreadable(folder.path() + "/" + name);
        }
        return whyUnreadable(folder.path() + "/" + name);
    }

    Count take() override {
        Count count{notes_, counted(notes_, "note")};
        notes_ = 0;
        return count;
    }

private:
    std::size_t notes_ = 0;
};

} // namespace

Section examineNotes(const Bounds& bounds) {
    Section section{"notes"};
    const Layout layout{.root = "Notes",
                        .collection = "folder",
                        .files = ".md or .txt files",
                        .ending = ".md",
                        .isItem = isNoteFile,
                        .isMisnamed = isMisnamedNoteFile,
                        .listsCopies = true,
                        .usualDefault = "Notes",
                        .hasDefault = true,
                        .first = "Notes",
                        .ifMissing = "no note is found; the first new one creates it",
                        .usual = {"Notes", "notes", "Documents/Notes", "Documents/notes"}};
    NoteReader reader;
    CollectionsExamination{section, layout, reader, bounds}.run();
    return section;
}

} // namespace velmiro::doctor
