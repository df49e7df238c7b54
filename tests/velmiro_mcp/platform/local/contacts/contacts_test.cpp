#include "tests/velmiro_mcp/platform/local/Support.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include "velmiro_mcp/platform/local/contacts/ContactFolders.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// The address book as folders of files: what is read, in which order, how often, and what is not.

namespace fs = std::filesystem;

namespace velmiro::local {
namespace {

using Texts = std::vector<std::string>;

std::string card(const std::string& name, const std::string& rest = "") {
    return "BEGIN:VCARD\r\nVERSION:3.0\r\nN:" + name + "\r\n" + rest + "END:VCARD\r\n";
}

/// The user's address book, in a home that lasts as long as this object.
class AddressBook : public testing::Test {
protected:
    [[nodiscard]] std::string path() const {
        return home_.path() + "/Library/Application Support/Velmiro/Contacts";
    }

    void write(const std::string& name, const std::string& contents) const {
        const fs::path file = fs::path{path()} / name;
        fs::create_directories(file.parent_path());
        writeFile(file.string(), contents);
    }

    static Texts found(const std::string& query) {
        Texts names;
        for (const Contact& contact : openContactStore()->contactsMatchingName(query)) {
            names.push_back(contact.familyName);
        }
        return names;
    }

    static Texts identifiers(const std::string& query) {
        Texts all;
        for (const Contact& contact : openContactStore()->contactsMatchingName(query)) {
            all.push_back(contact.identifier);
        }
        return all;
    }

    /// Returns the message of the error that a search throws.
    static std::string failure(const std::string& query) {
        try {
            found(query);
        } catch (const PlatformError& error) {
            return error.what();
        }
        return "(no failure)";
    }

    /// Lets other users reach the address book.
    void openTheWay() const {
        for (fs::path folder{path()}; folder != fs::path{home_.path()}.parent_path();
             folder = folder.parent_path()) {
            ASSERT_EQ(chmod(folder.c_str(), 0755), 0);
        }
    }

private:
    TemporaryHome home_;
};

TEST_F(AddressBook, ThatIsMissingIsEmptyAndMayBeRead) {
    EXPECT_EQ(contactsAuthorizationStatus(), ContactsAuthorizationStatus::authorized);
    EXPECT_EQ(found("a"), Texts{});
    EXPECT_FALSE(fs::exists(path()));
}

TEST_F(AddressBook, HoldsFilesAndFoldersOfFiles) {
    write("anna.vcf", card("A;Anna"));
    write("friends/bert.vcf", card("B;Anna"));
    write("friends/deeper/cara.vcf", card("C;Anna"));
    EXPECT_EQ(found("anna"), (Texts{"A", "B"}));
    EXPECT_EQ(contactsAuthorizationStatus(), ContactsAuthorizationStatus::authorized);
}

TEST_F(AddressBook, IsInTheOrderOfNamesByteByByteWithFoldersAmongTheFiles) {
    write("b/2.vcf", card("x;b/2"));
    write("b/10.vcf", card("x;b/10") + card("x;second"));
    write("b/Z.vcf", card("x;b/Z"));
    write("a.vcf", card("x;a"));
    write("c.vcf", card("x;c"));
    write("B/é.vcf", card("x;B/é"));
    write("B/f.vcf", card("x;B/f"));
    Texts given;
    for (const Contact& contact : openContactStore()->contactsMatchingName("x")) {
        given.push_back(contact.givenName);
    }
    EXPECT_EQ(given, (Texts{"B/f", "B/é", "a", "b/10", "second", "b/2", "b/Z", "c"}));
}

TEST_F(AddressBook, IdentifiesCardsWithoutAUIDByTheirPath) {
    write("anna.vcf", card("x") + card("x"));
    write("friends/anna.vcf", card("x") + card("x", "UID:u\r\n"));
    EXPECT_EQ(identifiers("x"), (Texts{"anna.vcf", "anna.vcf#2", "friends/anna.vcf", "u"}));
}

TEST_F(AddressBook, ListsCopiesOnceAndFindsACopyThatAloneHasTheName) {
    write("a/1.vcf", card("Berg;Anna", "UID:u\r\n"));
    write("b/1.vcf", card("Berger;Anna", "UID:u\r\n"));
    EXPECT_EQ(found("anna"), Texts{"Berg"});
    EXPECT_EQ(found("berger"), Texts{"Berger"});
}

TEST_F(AddressBook, FollowsLinksToFilesAndFolders) {
    const TemporaryFolder elsewhere;
    writeFile(elsewhere / "a.vcf", card("linked"));
    fs::create_directories(path());
    fs::create_directory_symlink(elsewhere.path(), path() + "/folder");
    fs::create_symlink(elsewhere / "a.vcf", path() + "/file.vcf");
    fs::create_symlink("loop.vcf", path() + "/loop.vcf");
    fs::create_symlink("/nowhere", path() + "/gone.vcf");
    EXPECT_EQ(identifiers("linked"), (Texts{"file.vcf", "folder/a.vcf"}));
}

TEST_F(AddressBook, MayBeALinkItself) {
    const TemporaryFolder elsewhere;
    writeFile(elsewhere / "a.vcf", card("linked"));
    fs::create_directories(fs::path{path()}.parent_path());
    fs::create_directory_symlink(elsewhere.path(), path());
    EXPECT_EQ(contactsAuthorizationStatus(), ContactsAuthorizationStatus::authorized);
    EXPECT_EQ(found("linked"), Texts{"linked"});
}

TEST_F(AddressBook, AFolderThatIsALinkToNowhereIsAnError) {
    write("a.vcf", card("Berg"));
    for (const char* target : {"/nowhere", "lost"}) {
        fs::create_directory_symlink(target, path() + "/lost");
        EXPECT_EQ(failure("berg").substr(0, 43), "the contacts in ‘lost’ cannot be read: ");
        fs::remove(path() + "/lost");
    }
    fs::remove_all(path());
    fs::create_directory_symlink("/nowhere", path());
    EXPECT_EQ(contactsAuthorizationStatus(), ContactsAuthorizationStatus::authorized);
    EXPECT_EQ(failure("berg"), "the contacts cannot be read: No such file or directory");
}

TEST_F(AddressBook, OnlyFilesOfTheFormatThatAreNotHiddenAreRead) {
    write(".hidden.vcf", card("hidden"));
    write(".git/a.vcf", card("hidden"));
    write("a.vcf.tmp", card("temporary"));
    write("A.VCF", card("capital"));
    write("folder.vcf/b.vcf", card("folder"));
    write("friends/.hidden.vcf", card("hidden"));
    write("friends/notes", card("plain"));
    for (const char* query : {"hidden", "temporary", "capital", "plain"}) {
        EXPECT_EQ(found(query), Texts{}) << query;
    }
    EXPECT_EQ(found("folder"), Texts{"folder"});
}

TEST_F(AddressBook, FilesThatCannotBeReadHideNoOthers) {
    write("a.vcf", card("Berg;First"));
    write("b.vcf", "this is no card");
    write("c.vcf", "BEGIN:VCARD\nN:Berg");
    write("d.vcf", "");
    fs::create_directory(path() + "/e.vcf");
    ASSERT_EQ(mkfifo((path() + "/f.vcf").c_str(), S_IRUSR | S_IWUSR), 0);
    fs::create_symlink("/dev/zero", path() + "/g.vcf");
    write("h.vcf", card("Berg"));
    fs::resize_file(path() + "/h.vcf", 200UL << 20);
    write("ö with spaces\nand a line.vcf", card("Berg;Last"));
    EXPECT_EQ(identifiers("berg"), (Texts{"a.vcf", "ö with spaces\nand a line.vcf"}));
}

TEST_F(AddressBook, ReadingTouchesNothing) {
    write("a.vcf", card("Berg"));
    write("b.vcf", "broken");
    const auto before = fs::last_write_time(path());
    found("berg");
    EXPECT_EQ(namesIn(path()), (Texts{"a.vcf", "b.vcf"}));
    EXPECT_EQ(fs::last_write_time(path()), before);
    EXPECT_EQ(readFile(path() + "/b.vcf"), "broken");
}

TEST_F(AddressBook, ThatIsAFileOrIsBelowOneIsDenied) {
    fs::create_directories(fs::path{path()}.parent_path());
    writeFile(path(), card("Berg"));
    EXPECT_EQ(contactsAuthorizationStatus(), ContactsAuthorizationStatus::denied);
    EXPECT_THROW(found("berg"), PlatformError);
    fs::remove_all(fs::path{path()}.parent_path());
    writeFile(fs::path{path()}.parent_path().string(), "");
    EXPECT_EQ(contactsAuthorizationStatus(), ContactsAuthorizationStatus::denied);
}

TEST_F(AddressBook, WithoutPermissionIsDeniedAndAnErrorSaysWhy) {
    write("a.vcf", card("Berg"));
    openTheWay();
    ASSERT_EQ(chmod(path().c_str(), 0311), 0);
    const Nobody nobody;
    if (!nobody.allowed()) {
        GTEST_SKIP() << "this process cannot act as another user";
    }
    EXPECT_EQ(contactsAuthorizationStatus(), ContactsAuthorizationStatus::denied);
    EXPECT_EQ(failure("berg"), "the contacts cannot be read: Permission denied");
}

TEST_F(AddressBook, AFolderWithoutPermissionIsAnError) {
    write("b/b.vcf", card("Berg;Second"));
    write("c.vcf", card("Berg;Third"));
    openTheWay();
    for (const mode_t mode : {0000U, 0444U, 0111U}) {
        ASSERT_EQ(chmod((path() + "/b").c_str(), mode), 0);
        const Nobody nobody;
        if (!nobody.allowed()) {
            GTEST_SKIP() << "this process cannot act as another user";
        }
        EXPECT_EQ(failure("berg"), "the contacts in ‘b’ cannot be read: Permission denied");
    }
}

TEST_F(AddressBook, AFileWithoutPermissionHidesNoOthers) {
    write("a.vcf", card("Berg;First"));
    write("c.vcf", card("Berg;Third"));
    openTheWay();
    ASSERT_EQ(chmod((path() + "/a.vcf").c_str(), 0), 0);
    const Nobody nobody;
    if (!nobody.allowed()) {
        GTEST_SKIP() << "this process cannot act as another user";
    }
    EXPECT_EQ(contactsAuthorizationStatus(), ContactsAuthorizationStatus::authorized);
    EXPECT_EQ(identifiers("berg"), Texts{"c.vcf"});
}

std::atomic<int> filesParsed{0};

ContactFile readAndCount(std::string bytes, const std::string& name) {
    ++filesParsed;
    return readContactFile(std::move(bytes), name);
}

/// A clock an hour ahead, by which no file was changed a moment ago.
std::chrono::system_clock::time_point clockAhead() {
    return std::chrono::system_clock::now() + std::chrono::hours{1};
}

class AddressBookCache : public AddressBook {
protected:
    Texts found(const std::string& query) {
        Texts names;
        const ContactFolders folders{path(), cache_, readAndCount};
        for (const Contact& contact : folders.matching(NameQuery{query})) {
            names.push_back(contact.familyName);
        }
        return names;
    }

    /// Returns how many files a search parses.
    int parsed(const std::string& query) {
        filesParsed = 0;
        found(query);
        return filesParsed;
    }

    ContactCache cache_{16UL << 20, clockAhead};
};

TEST_F(AddressBookCache, ASecondSearchParsesNothing) {
    for (int number = 0; number < 100; ++number) {
        write(std::to_string(number % 3) + "/" + std::to_string(number) + ".vcf", card("Berg"));
    }
    EXPECT_EQ(parsed("berg"), 100);
    EXPECT_EQ(parsed("berg"), 0);
    EXPECT_EQ(parsed("other"), 0);
    EXPECT_GT(cache_.memory(), 100 * sizeof(StoredContact));
}

TEST_F(AddressBookCache, AnEditIsSeenAndNothingElseIsReadAgain) {
    write("a.vcf", card("Berg"));
    write("b.vcf", card("Baum"));
    EXPECT_EQ(found("b"), (Texts{"Berg", "Baum"}));
    write("b.vcf", card("Blum"));
    filesParsed = 0;
    EXPECT_EQ(found("b"), (Texts{"Berg", "Blum"}));
    EXPECT_EQ(filesParsed, 1);
}

TEST_F(AddressBookCache, AReplacementByRenameIsSeen) {
    write("a.vcf", card("Berg"));
    write("b.tmp", card("Baum"));
    EXPECT_EQ(found("b"), Texts{"Berg"});
    fs::rename(path() + "/b.tmp", path() + "/a.vcf");
    EXPECT_EQ(found("b"), Texts{"Baum"});
}

TEST_F(AddressBookCache, ADeletionAndANewFileAreSeen) {
    write("a.vcf", card("Berg"));
    write("b/b.vcf", card("Baum"));
    EXPECT_EQ(found("b"), (Texts{"Berg", "Baum"}));
    fs::remove(path() + "/a.vcf");
    write("b/a.vcf", card("Blum"));
    EXPECT_EQ(found("b"), (Texts{"Blum", "Baum"}));
    fs::remove_all(path());
    EXPECT_EQ(found("b"), Texts{});
}

TEST_F(AddressBook, AnEditOfTheSameSizeInTheSameMomentIsSeen) {
    write("a.vcf", card("Berg0"));
    for (int round = 1; round < 200; ++round) {
        const std::string name = "Berg" + std::to_string(round % 10);
        write("a.vcf", card(name));
        ASSERT_EQ(found("berg"), Texts{name});
    }
}

TEST_F(AddressBook, ManySearchesAtOnceFindTheSame) {
    for (int number = 0; number < 200; ++number) {
        write(std::to_string(1000 + number) + ".vcf", card("Berg" + std::to_string(number % 2)));
    }
    std::atomic<int> right{0};
    {
        std::vector<std::thread> searching;
        for (int number = 0; number < 16; ++number) {
            searching.emplace_back([&] {
                for (int round = 0; round < 5; ++round) {
                    right += found("berg1").size() == 100 ? 1 : 0;
                }
            });
        }
        for (std::thread& one : searching) {
            one.join();
        }
    }
    EXPECT_EQ(right, 80);
}

} // namespace
} // namespace velmiro::local
