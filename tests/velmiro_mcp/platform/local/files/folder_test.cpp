#include "tests/velmiro_mcp/platform/local/Support.hpp"

#include "velmiro_mcp/platform/local/files/Files.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <map>

#include <sys/stat.h>

// Folders: what is in them, and making them.

namespace velmiro::local {
namespace {

TEST(LocalFolder, ListsVisibleNamesWithTheirKinds) {
    using Kind = FolderEntry::Kind;
    const TemporaryFolder folder;
    writeFile(folder / "file", "");
    writeFile(folder / ".hidden", "");
    std::filesystem::create_directory(folder / "folder");
    std::filesystem::create_symlink("/nowhere", folder / "link");
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    std::map<std::string, Kind> kinds;
    for (const FolderEntry& entry : OpenFolder{folder.path()}.visibleEntries()) {
        kinds[entry.name] = entry.kind;
    }
    EXPECT_EQ(kinds, (std::map<std::string, Kind>{{"file", Kind::file},
                                                  {"folder", Kind::folder},
                                                  {"link", Kind::link},
                                                  {"pipe", Kind::other}}));
}

TEST(LocalFolder, IsMadeWithThoseAboveItForTheUserAlone) {
    const TemporaryFolder folder;
    ASSERT_TRUE(makeFolders(folder / "a/b"));
    EXPECT_TRUE(makeFolders(folder / "a/b"));
    struct stat about{};
    ASSERT_EQ(stat((folder / "a/b").c_str(), &about), 0);
    EXPECT_EQ(about.st_mode & 0777U, 0700U);
}

TEST(LocalFolder, WhereAFileIsInItsPlaceCannotBeMade) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "");
    for (const char* name : {"file", "file/a", "file/a/b"}) {
        errno = 0;
        EXPECT_FALSE(makeFolders(folder / name));
        EXPECT_EQ(errno, ENOTDIR) << name;
    }
}

} // namespace
} // namespace velmiro::local
