#include "osascript/notes/NotesApplication.hpp"

#include "osascript/dictionary/Class.hpp"
#include "osascript/notes/NoteFileName.hpp"
#include "osascript/text/Folding.hpp"
#include "support/Files.hpp"
#include "support/ScopedVariable.hpp"
#include "support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

// The objects of Notes, as their classes describe them to scripts.

namespace velmiro::osascript {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

class Notes : public testing::Test {
protected:
    [[nodiscard]] fs::path data() const {
        return home_.path() / "Library/Application Support/Velmiro/Notes";
    }

    /// Writes a note that was changed at that second.
    void write(const std::string& path, std::string_view content, std::int64_t second = 1'000) {
        fs::create_directories((data() / path).parent_path());
        support::writeFile(data() / path, content);
        setTime(path, second * 1'000'000'000);
    }

    void setTime(const std::string& path, std::int64_t nanoseconds) {
        const timespec time{nanoseconds / 1'000'000'000, nanoseconds % 1'000'000'000};
        const timespec both[] = {time, time};
        ASSERT_EQ(utimensat(AT_FDCWD, (data() / path).c_str(), both, 0), 0);
    }

    static Value read(const ObjectPointer& object, std::string_view property) {
        return entryNamed(object->type().properties, property)->read(*object);
    }

    static std::string text(const ObjectPointer& object, std::string_view property) {
        return std::get<std::string>(read(object, property));
    }

    static Objects elements(const ObjectPointer& object, std::string_view name) {
        const Elements* const elements = entryNamed(object->type().elements, name);
        Objects all = elements->all(*object);
        if (elements->arrange != nullptr) {
            elements->arrange(all);
        }
        return all;
    }

    static Texts texts(const Objects& objects, std::string_view property) {
        Texts all;
        for (const ObjectPointer& object : objects) {
            all.push_back(text(object, property));
        }
        return all;
    }

    [[nodiscard]] Objects notes() const { return elements(application_, "notes"); }

    /// Returns the titles of the notes for which a condition on a property holds.
    [[nodiscard]] Texts found(std::string_view property, Operator operation,
                              const std::string& wanted) const {
        const Condition condition{operation, wanted, folded(wanted)};
        Texts titles;
        for (const ObjectPointer& note : notes()) {
            const auto decision =
                entryNamed(note->type().properties, property)->decide(*note, condition);
            if (decision.value()) {
                titles.push_back(text(note, "name"));
            }
        }
        return titles;
    }

    /// Creates a note with a body in a folder or, if there is none, where new notes go.
    void create(const std::string& body, const std::string& folder = "") const {
        const ObjectPointer note = application_->type().constructors.at(0).make();
        entryNamed(note->type().properties, "body")->write(*note, Value{body});
        const auto push = [&](const ObjectPointer& into) {
            entryNamed(into->type().elements, "notes")->push(*into, note);
        };
        if (folder.empty()) {
            return push(application_);
        }
        for (const ObjectPointer& one : elements(application_, "folders")) {
            if (text(one, "name") == folder) {
                push(one);
            }
        }
    }

    [[nodiscard]] Texts files(const std::string& folder) const {
        Texts names;
        for (const auto& entry : fs::directory_iterator{data() / folder}) {
            names.push_back(entry.path().filename());
        }
        std::ranges::sort(names);
        return names;
    }

    static int numberOf(const auto& call) {
        try {
            call();
        } catch (const ScriptError& error) {
            return error.number();
        }
        return 0;
    }

    support::TemporaryFolder home_;
    support::ScopedVariable variable_{"HOME", home_.path().c_str()};
    ObjectPointer application_ = notesApplication();
};

TEST_F(Notes, WithoutAFolderThereIsNoneAndNoneIsMade) {
    EXPECT_TRUE(notes().empty());
    EXPECT_TRUE(elements(application_, "folders").empty());
    EXPECT_FALSE(fs::exists(home_.path() / "Library"));
}

TEST_F(Notes, ANoteHasItsProperties) {
    write("Work/plan.md", "# The *plan*\n\none < two\n");
    setTime("Work/plan.md", 1'767'600'000'500'600'000);
    const auto all = notes();
    ASSERT_EQ(all.size(), 1U);
    EXPECT_EQ(text(all[0], "id"), "note:Work/plan.md");
    EXPECT_EQ(text(all[0], "name"), "The plan");
    EXPECT_EQ(text(all[0], "plaintext"), "The plan\none < two");
    EXPECT_EQ(text(all[0], "body"), "<div><h1>The plan</h1></div><div>one &lt; two</div>");
    EXPECT_EQ(std::get<Date>(read(all[0], "modificationDate")).milliseconds, 1'767'600'000'501.0);
    EXPECT_EQ(std::get<Date>(read(all[0], "creationDate")).milliseconds, 1'767'600'000'501.0);
    const auto folder = std::get<ObjectPointer>(read(all[0], "container"));
    EXPECT_EQ(text(folder, "name"), "Work");
    EXPECT_EQ(text(folder, "id"), "folder:Work");
    EXPECT_EQ(texts(elements(folder, "notes"), "name"), Texts{"The plan"});
}

TEST_F(Notes, TheApplicationHasOneAccount) {
    write("B/b.md", "b");
    write("A/a.md", "a");
    EXPECT_EQ(text(application_, "name"), "Notes");
    const auto account = std::get<ObjectPointer>(read(application_, "defaultAccount"));
    EXPECT_EQ(text(account, "name"), "Velmiro");
    EXPECT_EQ(texts(elements(account, "folders"), "name"), (Texts{"A", "B"}));
    EXPECT_EQ(elements(account, "notes").size(), 2U);
    EXPECT_EQ(elements(application_, "accounts").size(), 1U);
    EXPECT_EQ(text(std::get<ObjectPointer>(read(account, "defaultFolder")), "name"), "A");
}

TEST_F(Notes, TheLatestComeFirstAndOfOneTimeTheLesserPath) {
    write("B/old.md", "old", 100);
    write("A/new.md", "new", 900);
    for (const char* path : {"B/same.md", "A/same b.md", "A/same a.md", "A b/same.md"}) {
        write(path, path, 500);
    }
    EXPECT_EQ(texts(notes(), "name"),
              (Texts{"new", "A b/same.md", "A/same a.md", "A/same b.md", "B/same.md", "old"}));
}

TEST_F(Notes, OnlyVisibleFilesOfTheirKindInAFolderCount) {
    for (const char* path : {"A/.hidden.md", ".git/a.md", "A/a.html", "A/a.md~", "top.md",
                             "A/sub/a.md", "A/md", "A/a\x0Emd"}) {
        write(path, "no");
    }
    write("A/yes.MD", "yes", 20);
    write("A/also.txt", "*also*", 10);
    fs::create_directory(data() / "A/folder.md");
    ASSERT_EQ(mkfifo((data() / "A/pipe.md").c_str(), 0600), 0);
    fs::create_symlink("/nonexistent", data() / "A/dangling.md");
    fs::create_symlink("/dev/zero", data() / "A/device.md");
    fs::create_symlink("/nonexistent", data() / "Dangling");
    EXPECT_EQ(texts(notes(), "name"), (Texts{"yes", "*also*"}));
}

TEST_F(Notes, LinksCountAsWhatTheyLeadTo) {
    support::writeFile(home_.path() / "other.md", "linked note");
    fs::create_directories(home_.path() / "elsewhere");
    support::writeFile(home_.path() / "elsewhere/a.md", "linked folder");
    fs::create_directories(data() / "Real");
    fs::create_symlink(home_.path() / "elsewhere", data() / "Link");
    fs::create_symlink(home_.path() / "other.md", data() / "Real/b.md");
    Texts names = texts(notes(), "name");
    std::ranges::sort(names);
    EXPECT_EQ(names, (Texts{"linked folder", "linked note"}));
    create("<div>New</div>", "Link");
    EXPECT_TRUE(fs::exists(home_.path() / "elsewhere/New.md"));
}

TEST_F(Notes, NamesThatAreNoTextHaveIdentifiersOfTheirOwn) {
    for (const char* path : {"A/a.md", "A/\xFE.md", "A/\xFFé.md", "A/50% a\nb.md", "A/ü.md"}) {
        write(path, "x");
    }
    Texts ids = texts(notes(), "id");
    std::ranges::sort(ids);
    EXPECT_EQ(ids, (Texts{"note:A/%fe.md", "note:A/%ff%c3%a9.md", "note:A/50%25 a%0ab.md",
                          "note:A/a.md", "note:A/ü.md"}));
}

TEST_F(Notes, ANoteWithoutTextIsNamedAfterItsFile) {
    write("A/empty.note.md", " \n");
    write("A/bytes\xFF.md", "", 2);
    write("A/broken.md", "# \xFF\xFE\n\x80", 1);
    const auto all = notes();
    EXPECT_EQ(texts(all, "name"), (Texts{"empty.note", "bytes\uFFFD", "\uFFFD\uFFFD"}));
    EXPECT_EQ(texts(all, "plaintext"), (Texts{"", "", "\uFFFD\uFFFD\n\uFFFD"}));
    EXPECT_EQ(found("name", Operator::contains, "EMPTY.N"), Texts{"empty.note"});
    EXPECT_EQ(found("plaintext", Operator::contains, "empty"), Texts{});
}

TEST_F(Notes, AtMostSixteenMebibytesAreRead) {
    constexpr std::size_t most = 16UL << 20;
    write("A/large.md", "T\n" + std::string(most - 2, 'x') + "\nbeyond");
    EXPECT_EQ(text(notes()[0], "plaintext").size(), most);
    EXPECT_EQ(found("plaintext", Operator::contains, "beyond"), Texts{});
    EXPECT_EQ(found("plaintext", Operator::endsWith, "xxx"), Texts{"T"});
}

TEST_F(Notes, ConditionsOnTextsAreDecided) {
    write("A/a.md", "# Crème Brûlée\n\nStraße **very** nice, [see](https://x.example)\n", 2);
    write("A/b.md", "---\ntags: dessert\n---\n# Other\n\nlast line", 1);
    EXPECT_EQ(found("name", Operator::contains, "creme BRULEE"), Texts{"Crème Brûlée"});
    EXPECT_EQ(found("name", Operator::contains, "strasse"), Texts{});
    EXPECT_EQ(found("plaintext", Operator::contains, "strasse very nice, see"),
              Texts{"Crème Brûlée"});
    EXPECT_EQ(found("plaintext", Operator::contains, "brulee\nstr"), Texts{"Crème Brûlée"});
    EXPECT_EQ(found("plaintext", Operator::contains, "**"), Texts{});
    EXPECT_EQ(found("plaintext", Operator::contains, "x.example"), Texts{});
    EXPECT_EQ(found("plaintext", Operator::contains, "Dessert"), Texts{"Other"});
    EXPECT_EQ(found("plaintext", Operator::contains, ""), (Texts{"Crème Brûlée", "Other"}));
    EXPECT_EQ(found("plaintext", Operator::beginsWith, "other\nlast"), Texts{"Other"});
    EXPECT_EQ(found("plaintext", Operator::beginsWith, "last"), Texts{});
    EXPECT_EQ(found("name", Operator::endsWith, "ER"), Texts{"Other"});
    const auto all = notes();
    const Condition equal{Operator::equal, Value{std::string{"Other"}}, ""};
    EXPECT_EQ(entryNamed(all[0]->type().properties, "name")->decide(*all[0], equal), std::nullopt);
}

TEST_F(Notes, ANoteThatGoesAwayDoesNoHarm) {
    write("A/a.md", "# a");
    write("A/b.md", "# b");
    const Elements* const elements = entryNamed(application_->type().elements, "notes");
    Objects all = elements->all(*application_);
    fs::remove(data() / "A/a.md");
    for (const ObjectPointer& note : all) {
        EXPECT_NO_THROW(text(note, "plaintext"));
    }
    elements->arrange(all);
    EXPECT_EQ(texts(all, "name"), Texts{"b"});
    fs::remove_all(data());
    EXPECT_EQ(std::get<Date>(read(all[0], "modificationDate")).milliseconds, 1'000'000.0);
}

TEST_F(Notes, ANewNoteIsAMarkdownFile) {
    create("<div><h1>Shopping &amp; &lt;more&gt;</h1></div><div>milk</div><div><br></div>"
           "<div>- eggs</div>");
    EXPECT_EQ(files("Notes"), Texts{"Shopping & <more>.md"});
    EXPECT_EQ(support::readFile(data() / "Notes/Shopping & <more>.md"),
              "# Shopping & \\<more>\n\nmilk\n\n- eggs\n");
}

TEST_F(Notes, WithoutAFolderItGoesToNotesOrToTheFirst) {
    fs::create_directories(data() / "Zoo");
    fs::create_directories(data() / "Home");
    create("one");
    EXPECT_EQ(files("Home"), Texts{"one.md"});
    fs::create_directories(data() / "Notes");
    create("two");
    EXPECT_EQ(files("Notes"), Texts{"two.md"});
    create("three", "Zoo");
    EXPECT_EQ(files("Zoo"), Texts{"three.md"});
}

TEST_F(Notes, NotesOfOneTitleAreFilesOfTheirOwn) {
    write("Notes/Same.md", "mine");
    for (int number = 0; number < 3; ++number) {
        create("Same");
    }
    EXPECT_EQ(files("Notes"), (Texts{"Same 2.md", "Same 3.md", "Same 4.md", "Same.md"}));
    EXPECT_EQ(support::readFile(data() / "Notes/Same.md"), "mine");
}

TEST_F(Notes, AFolderThatCannotBeMadeIsAnErrorThatSaysWhy) {
    fs::create_directories(data());
    support::writeFile(data() / "Notes", "a file");
    try {
        create("x");
        FAIL();
    } catch (const ScriptError& error) {
        EXPECT_EQ(error.what(), "ENOTDIR: Not a directory: " + (data() / "Notes").string());
        EXPECT_EQ(error.number(), -2700);
    }
}

TEST_F(Notes, ARootThatCannotBeReadIsAnError) {
    EXPECT_TRUE(notes().empty());
    fs::create_directories(data().parent_path());
    fs::create_directory_symlink("/nonexistent/notes", data());
    EXPECT_THROW(static_cast<void>(notes()), std::system_error);
    fs::remove(data());
    support::writeFile(data(), "a file");
    EXPECT_THROW(static_cast<void>(notes()), std::system_error);
}

TEST_F(Notes, MistakesAreErrors) {
    write("A/a.md", "a");
    const auto fresh = application_->type().constructors.at(0).make();
    const auto stored = notes()[0];
    const auto* const body = entryNamed(fresh->type().properties, "body");
    EXPECT_EQ(&fresh->type(), &stored->type());
    EXPECT_EQ(text(fresh, "body"), "");
    EXPECT_EQ(numberOf([&] { text(fresh, "name"); }), -1728);
    EXPECT_EQ(numberOf([&] { text(fresh, "id"); }), -1728);
    EXPECT_EQ(numberOf([&] { body->write(*fresh, Value{5.0}); }), -1700);
    EXPECT_EQ(numberOf([&] { body->write(*stored, Value{std::string{"x"}}); }), -10006);
    const auto push = entryNamed(application_->type().elements, "notes")->push;
    EXPECT_EQ(numberOf([&] { push(*application_, stored); }), -1700);
}

TEST(NoteFileName, IsTheTitleAsFarAsItFits) {
    const std::vector<std::pair<std::string, std::string>> titles{
        {"Plain", "Plain.md"},
        {"a/b\\c", "a b\\c.md"},
        {"...hidden", "hidden.md"},
        {"../../etc/passwd", "etc passwd.md"},
        {"trailing. . ", "trailing.md"},
        {"...", "Note.md"},
        {"", "Note.md"},
        {"tab\tand\abell", "tab and bell.md"},
        {"two\nlines", "two lines.md"},
        {std::string{"\xE2\x80"} + "\xAE" + "gnp.exe", "gnp.exe.md"},
        {"a \u0085\u2028\u3000 b", "a b.md"},
        {"👩‍👩‍👧", "👩‍👩‍👧.md"},
    };
    for (const auto& [title, name] : titles) {
        EXPECT_EQ(noteFileName(title, 0), name) << title;
    }
    EXPECT_EQ(noteFileName("Same", 1), "Same 2.md");
    EXPECT_EQ(noteFileName("Same", 41), "Same 42.md");
}

TEST(NoteFileName, IsCutBetweenCharacters) {
    for (const std::string one : {"a", "ü", "漢", "👍🏽", "e\u0301"}) {
        std::string title;
        for (int count = 0; count < 300; ++count) {
            title += one;
        }
        const std::string name = noteFileName(title, 0);
        const std::string stem = name.substr(0, name.size() - 3);
        EXPECT_EQ(title.find(stem), 0U);
        EXPECT_EQ(stem.size() % one.size(), 0U) << one;
        EXPECT_GT(stem.size() + one.size(), 244U);
        EXPECT_LE(noteFileName(title, 9'999).size(), 255U);
    }
}

} // namespace
} // namespace velmiro::osascript
