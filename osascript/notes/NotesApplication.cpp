#include "osascript/notes/NotesApplication.hpp"

#include "osascript/dictionary/Class.hpp"
#include "osascript/notes/NoteHTML.hpp"
#include "osascript/notes/NoteObjects.hpp"
#include "velmiro_mcp/platform/local/files/LocalFolders.hpp"

#include <algorithm>
#include <cstring>

namespace velmiro::osascript {
namespace {

constexpr std::string_view usualFolder = "Notes";

/// Throws an error that begins with the name of its number, such as EACCES.
void throwIf(const std::error_code& error, const std::string& path) {
    if (error) {
        const char* const name = strerrorname_np(error.value());
        throw ScriptError{std::string{name == nullptr ? "error" : name} + ": " + error.message() +
                          ": " + path};
    }
}

StoredNote& stored(Object& self) {
    auto* const note = dynamic_cast<StoredNote*>(&self);
    if (note == nullptr) {
        throw noObject();
    }
    return *note;
}

template <auto member>
Value readingStored(Object& self) {
    return Value{std::invoke(member, stored(self))};
}

template <auto member>
std::optional<bool> deciding(Object& self, const Condition& condition) {
    return std::invoke(member, stored(self), condition);
}

Value readBody(Object& self) {
    const auto* const fresh = dynamic_cast<NewNote*>(&self);
    return fresh == nullptr ? stored(self).html() : fresh->html;
}

void writeBody(Object& self, const Value& value) {
    if (dynamic_cast<NewNote*>(&self) == nullptr) {
        throw readOnly("body");
    }
    writingText<&NewNote::html>(self, value);
}

const NoteFilesPointer& filesOf(Object& root) {
    return static_cast<NotesRoot&>(root).files();
}

Objects foldersOf(Object& root) {
    Objects folders;
    for (std::string& name : filesOf(root)->folders()) {
        folders.push_back(std::make_shared<NotesFolder>(filesOf(root), std::move(name)));
    }
    return folders;
}

void appendNotes(Objects& notes, const NotesFolderPointer& folder) {
    for (std::string& name : folder->files().notes(folder->fileName())) {
        notes.push_back(std::make_shared<StoredNote>(folder, std::move(name)));
    }
}

Objects notesOf(Object& folder) {
    Objects notes;
    appendNotes(notes, static_cast<NotesFolder&>(folder).shared_from_this());
    return notes;
}

Objects allNotes(Object& root) {
    Objects notes;
    for (const ObjectPointer& folder : foldersOf(root)) {
        appendNotes(notes, std::static_pointer_cast<NotesFolder>(folder));
    }
    return notes;
}

/// Puts the latest first, and of equal times the lesser path. Drops notes that are gone.
void arrange(Objects& notes) {
    const auto noteOf = [](const ObjectPointer& note) -> const StoredNote& {
        return static_cast<const StoredNote&>(*note);
    };
    std::erase_if(notes, [&](const ObjectPointer& note) { return !noteOf(note).times(); });
    std::ranges::sort(notes, [&](const ObjectPointer& left, const ObjectPointer& right) {
        const auto one = noteOf(left).times()->modified;
        const auto other = noteOf(right).times()->modified;
        return one == other ? noteOf(left).path() < noteOf(right).path() : one > other;
    });
}

/// Returns the folder that is meant where none is named.
NotesFolderPointer defaultFolderOf(Object& root) {
    const auto names = filesOf(root)->folders();
    const auto usual = std::ranges::find(names, usualFolder);
    std::string name{usualFolder};
    if (names.empty()) {
        throwIf(filesOf(root)->makeFolder(name), filesOf(root)->pathOf(name));
    } else if (usual == names.end()) {
        name = names.front();
    }
    return std::make_shared<NotesFolder>(filesOf(root), name);
}

void addTo(Object& folder, const ObjectPointer& note) {
    const auto* const fresh = dynamic_cast<NewNote*>(note.get());
    if (fresh == nullptr) {
        throw wrongType();
    }
    auto lines = linesOfHTML(fresh->html);
    NoteText text;
    if (!lines.empty()) {
        text.title = std::move(lines.front());
        lines.erase(lines.begin());
    }
    text.lines = std::move(lines);
    const auto& self = static_cast<NotesFolder&>(folder);
    throwIf(self.files().create(self.fileName(), text), self.files().pathOf(self.fileName()));
}

void addToDefault(Object& root, const ObjectPointer& note) {
    addTo(*defaultFolderOf(root), note);
}

ObjectPointer accountOf(Object& application) {
    return std::make_shared<NotesRoot>(filesOf(application), accountClass());
}

Elements folderElements() {
    return {.name = "folders", .type = &folderClass(), .all = &foldersOf};
}

Elements noteElements() {
    return {.name = "notes",
            .type = &noteClass(),
            .all = &allNotes,
            .arrange = &arrange,
            .push = &addToDefault};
}

} // namespace

const Class& noteClass() {
    static const Class table{
        .properties = {
            {.name = "id", .read = &readingStored<&StoredNote::identifier>, .isKnown = true},
            {.name = "name",
             .read = &readingStored<&StoredNote::title>,
             .decide = &deciding<&StoredNote::decideTitle>},
            {.name = "plaintext",
             .read = &readingStored<&StoredNote::text>,
             .decide = &deciding<&StoredNote::decideText>},
            {.name = "body", .read = &readBody, .write = &writeBody},
            {.name = "container", .read = &readingStored<&StoredNote::container>, .isKnown = true},
            {.name = "creationDate", .read = &readingStored<&StoredNote::created>, .isKnown = true},
            {.name = "modificationDate",
             .read = &readingStored<&StoredNote::modified>,
             .isKnown = true},
        }};
    return table;
}

const Class& folderClass() {
    static const Class table{
        .properties = {{.name = "id", .read = &reading<&NotesFolder::identifier>, .isKnown = true},
                       {.name = "name", .read = &reading<&NotesFolder::name>, .isKnown = true}},
        .elements = {{.name = "notes",
                      .type = &noteClass(),
                      .all = &notesOf,
                      .arrange = &arrange,
                      .push = &addTo}}};
    return table;
}

const Class& accountClass() {
    static const Class table{
        .properties = {{.name = "name",
                        .read = [](Object& /*self*/) { return Value{std::string{"Velmiro"}}; },
                        .isKnown = true},
                       {.name = "defaultFolder",
                        .read = [](Object& self) { return Value{defaultFolderOf(self)}; }}},
        .elements = {folderElements(), noteElements()}};
    return table;
}

const Class& applicationClass() {
    static const Class table{
        .properties = {{.name = "name",
                        .read = [](Object& /*self*/) { return Value{std::string{"Notes"}}; },
                        .isKnown = true},
                       {.name = "defaultAccount",
                        .read = [](Object& self) { return Value{accountOf(self)}; }}},
        .elements = {folderElements(),
                     noteElements(),
                     {.name = "accounts",
                      .type = &accountClass(),
                      .all = [](Object& self) { return Objects{accountOf(self)}; }}},
        .constructors = {{.name = "Note",
                          .make = []() -> ObjectPointer { return std::make_shared<NewNote>(); }}}};
    return table;
}

ObjectPointer notesApplication() {
    return std::make_shared<NotesRoot>(std::make_shared<NoteFiles>(local::dataFolder("Notes")),
                                       applicationClass());
}

} // namespace velmiro::osascript
