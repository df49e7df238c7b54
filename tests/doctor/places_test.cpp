#include "doctor/Places.hpp"

#include "support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string>

namespace velmiro::doctor {
namespace {

namespace fs = std::filesystem;
using support::TemporaryFolder;

bool isText(std::string_view name) {
    return name.ends_with(".txt");
}

TEST(Places, AreWhatAPathLeadsTo) {
    const TemporaryFolder folder;
    folder.write("file", "12345");
    fs::create_directory(folder / "inner");
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    fs::create_symlink("file", folder / "to file");
    fs::create_symlink("inner", folder / "to folder");
    fs::create_symlink("/gone", folder / "dangling");
    fs::create_symlink("file/x", folder / "through a file");
    fs::create_symlink("circle 2", folder / "circle 1");
    fs::create_symlink("circle 1", folder / "circle 2");
    fs::create_symlink("/dev/zero", folder / "device");
    using What = Place::What;
    EXPECT_EQ(placeOf(folder / "none").what, What::missing);
    EXPECT_EQ(placeOf(folder / "file/x").what, What::missing);
    EXPECT_EQ(placeOf(folder / "file").what, What::file);
    EXPECT_EQ(placeOf(folder / "file").size, 5);
    EXPECT_EQ(placeOf(folder / "inner").what, What::folder);
    EXPECT_EQ(placeOf(folder / "pipe").what, What::other);
    EXPECT_EQ(placeOf(folder / "device").what, What::other);
    EXPECT_EQ(placeOf(folder / "dangling").what, What::dangling);
    EXPECT_EQ(placeOf(folder / "dangling").target, "/gone");
    EXPECT_EQ(placeOf(folder / "through a file").what, What::dangling);
    EXPECT_EQ(placeOf(folder / "circle 1").what, What::dangling);
    EXPECT_EQ(placeOf(folder / std::string(300, 'x')).what, What::unreachable);
    const Place link = placeOf(folder / "to folder");
    EXPECT_TRUE(link.isFolder());
    EXPECT_TRUE(link.isLink);
    EXPECT_EQ(link.target, fs::canonical(folder / "inner").string());
    EXPECT_EQ(link.identity, placeOf(folder / "inner").identity);
    EXPECT_EQ(placeOf(folder / "to file").what, What::file);
}

TEST(Places, AListingKeepsNoMoreNamesThanItMay) {
    const TemporaryFolder folder;
    for (int number = 0; number < 30; ++number) {
        folder.write(std::to_string(number) + ".txt", "");
        folder.write(std::to_string(number) + ".jpg", "");
        folder.write("." + std::to_string(number), "");
    }
    const local::OpenFolder open{folder.path().string()};
    const Listing all = listingOf(open, isText, Budget{{}});
    EXPECT_EQ(all.itemCount, 30U);
    EXPECT_EQ(all.items.size(), 30U);
    EXPECT_EQ(all.others.size(), 30U);
    EXPECT_EQ(all.hidden.size(), 30U);
    EXPECT_TRUE(std::ranges::is_sorted(all.items));
    EXPECT_TRUE(all.isWhole());
    const Listing some = listingOf(open, isText, Budget{{.names = 10, .others = 5}});
    EXPECT_EQ(some.itemCount, 30U);
    EXPECT_EQ(some.items.size(), 10U);
    EXPECT_EQ(some.others.size(), 5U);
    EXPECT_EQ(some.hidden.size(), 5U);
    EXPECT_FALSE(some.isWhole());
}

TEST(Places, AListingEndsWithTheTime) {
    const TemporaryFolder folder;
    folder.write("0.txt", "");
    for (int number = 1; number < 5'000; ++number) { // faster than new files
        fs::create_hard_link(folder / "0.txt", folder / (std::to_string(number) + ".txt"));
    }
    const local::OpenFolder open{folder.path().string()};
    const Listing listing = listingOf(open, isText, Budget{{.time = std::chrono::milliseconds{0}}});
    EXPECT_TRUE(listing.isCut);
    EXPECT_EQ(listing.itemCount, 4'095U - 2U); // what is read between two looks, with . and ..
}

TEST(Places, ABudgetEndsWithItsFilesOrItsTime) {
    Budget files{{.files = 2}};
    EXPECT_TRUE(files.takeFile());
    EXPECT_TRUE(files.takeFile());
    EXPECT_FALSE(files.takeFile());
    Budget time{{.time = std::chrono::milliseconds{0}}};
    EXPECT_FALSE(time.takeFile());
}

/// Opening a pipe would wake whoever waits to write into it.
TEST(Places, OnlyRegularFilesAreOpened) {
    const TemporaryFolder folder;
    ASSERT_EQ(mkfifo((folder / "pipe.txt").c_str(), 0600), 0);
    folder.write("file.txt", "text");
    const local::OpenFolder open{folder.path().string()};
    const MCPStdio::Descriptor watch{inotify_init1(IN_NONBLOCK | IN_CLOEXEC)};
    ASSERT_GE(inotify_add_watch(watch.get(), folder.path().c_str(), IN_OPEN), 0);
    const auto opened = [&] {
        alignas(inotify_event) std::array<char, 4096> events{};
        std::string names;
        const ssize_t length = read(watch.get(), events.data(), events.size());
        for (ssize_t at = 0; at < length;) {
            const auto* const event =
                reinterpret_cast<const inotify_event*>(&events.at(static_cast<std::size_t>(at)));
            names += std::string{&event->name[0]} + " ";
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
        }
        return names;
    };
    EXPECT_EQ(readItem(open, "pipe.txt"), std::nullopt);
    EXPECT_EQ(opened(), "");
    EXPECT_EQ(readItem(open, "file.txt"), "text");
    EXPECT_EQ(opened(), "file.txt ");
}

TEST(Places, AFileThatCannotBeReadHasAReason) {
    const TemporaryFolder folder;
    folder.write("file", "");
    fs::create_directory(folder / "inner");
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    fs::create_symlink("/gone\n", folder / "dangling");
    folder.write("large", "");
    fs::resize_file(folder / "large", local::largestItem + 1);
    EXPECT_EQ(whyUnreadable(folder / "file"), "");
    EXPECT_EQ(whyUnreadable(folder / "none"), "");
    EXPECT_EQ(whyUnreadable(folder / "inner"), "a folder");
    EXPECT_EQ(whyUnreadable(folder / "pipe"), "a pipe, a device or a socket");
    EXPECT_EQ(whyUnreadable(folder / "dangling"), "a link to /gone␊, which leads nowhere");
    EXPECT_EQ(whyUnreadable(folder / "large"), "larger than 32 MiB");
}

TEST(Places, TheLastNameIsThatOfTheFolderItself) {
    EXPECT_EQ(lastName("/home/ada/work"), "work");
    EXPECT_EQ(lastName("/home/ada/work//"), "work");
    EXPECT_EQ(lastName("work"), "work");
    EXPECT_EQ(lastName("/"), "");
    EXPECT_EQ(lastName(""), "");
}

} // namespace
} // namespace velmiro::doctor
