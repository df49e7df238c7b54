#pragma once

#include "osascript/dictionary/Condition.hpp"
#include "osascript/dictionary/Value.hpp"
#include "osascript/notes/NoteFiles.hpp"

#include <memory>
#include <optional>
#include <string>

/// The objects of the application Notes.
namespace velmiro::osascript {

const Class& applicationClass();
const Class& accountClass();
const Class& folderClass();
const Class& noteClass();

using NoteFilesPointer = std::shared_ptr<NoteFiles>;

/// The application itself, or its only account.
class NotesRoot : public Object {
public:
    NotesRoot(NoteFilesPointer files, const Class& type) : files_{std::move(files)}, type_{type} {}

    [[nodiscard]] const Class& type() const noexcept override { return type_; }
    [[nodiscard]] const NoteFilesPointer& files() const noexcept { return files_; }

private:
    NoteFilesPointer files_;
    const Class& type_;
};

class NotesFolder : public Object, public std::enable_shared_from_this<NotesFolder> {
public:
    NotesFolder(NoteFilesPointer files, std::string name)
        : files_{std::move(files)},
          name_{std::move(name)} {}

    [[nodiscard]] const Class& type() const noexcept override { return folderClass(); }
    [[nodiscard]] NoteFiles& files() const noexcept { return *files_; }

    /// Returns its name on the disk.
    [[nodiscard]] const std::string& fileName() const noexcept { return name_; }

    [[nodiscard]] std::string name() const;
    [[nodiscard]] std::string identifier() const;

private:
    NoteFilesPointer files_;
    std::string name_;
};

using NotesFolderPointer = std::shared_ptr<NotesFolder>;

/// A note that is in a folder.
class StoredNote : public Object {
public:
    StoredNote(NotesFolderPointer folder, std::string file)
        : folder_{std::move(folder)},
          file_{std::move(file)} {}

    [[nodiscard]] const Class& type() const noexcept override { return noteClass(); }

    [[nodiscard]] std::string identifier() const;
    [[nodiscard]] std::string title() const;
    [[nodiscard]] std::string text() const;
    [[nodiscard]] std::string html() const;
    [[nodiscard]] ObjectPointer container() const { return folder_; }
    [[nodiscard]] Date created() const;
    [[nodiscard]] Date modified() const;

    /// Returns its times, as of the first call that found them; nullopt while it is gone.
    [[nodiscard]] const std::optional<NoteTimes>& times() const;

    /// Returns its path on the disk, below the folder of all notes.
    [[nodiscard]] std::string path() const { return folder_->fileName() + "/" + file_; }

    /// Decide conditions on the title and on the text; nullopt for those that compare.
    [[nodiscard]] std::optional<bool> decideTitle(const Condition& condition) const;
    [[nodiscard]] std::optional<bool> decideText(const Condition& condition) const;

private:
    [[nodiscard]] NoteFiles& files() const { return folder_->files(); }
    [[nodiscard]] NotePath location() const { return {folder_->fileName(), file_}; }

    NotesFolderPointer folder_;
    std::string file_;
    mutable std::optional<NoteTimes> times_;
};

/// A note that a script has made and not yet put anywhere.
class NewNote : public Object {
public:
    [[nodiscard]] const Class& type() const noexcept override { return noteClass(); }

    std::string html;
};

} // namespace velmiro::osascript
