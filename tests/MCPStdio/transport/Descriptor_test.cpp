#include "MCPStdio/transport/Descriptor.hpp"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <type_traits>
#include <utility>

namespace {

using MCPStdio::Descriptor;

static_assert(!std::is_copy_constructible_v<Descriptor>);
static_assert(!std::is_convertible_v<int, Descriptor>);

int openNull() {
    return ::open("/dev/null", O_RDONLY | O_CLOEXEC);
}

bool isOpen(int number) {
    return ::fcntl(number, F_GETFD) >= 0;
}

} // namespace

TEST(Descriptor, IsClosedWithItsOwner) {
    int number = -1;
    {
        const Descriptor owner{openNull()};
        ASSERT_TRUE(owner);
        number = owner.get();
        EXPECT_TRUE(isOpen(number));
    }
    EXPECT_FALSE(isOpen(number));
}

TEST(Descriptor, NoneIsFalseAndNeedsNoClosing) {
    Descriptor none;
    EXPECT_FALSE(none);
    EXPECT_LT(none.get(), 0);
    EXPECT_FALSE(Descriptor{-1});
    none.close();
}

TEST(Descriptor, MovingHandsItOver) {
    Descriptor from{openNull()};
    const int number = from.get();
    const Descriptor to{std::move(from)};
    EXPECT_FALSE(from); // NOLINT(bugprone-use-after-move): a moved-from owner owns none
    EXPECT_EQ(to.get(), number);
    EXPECT_TRUE(isOpen(number));
}

TEST(Descriptor, AssigningClosesWhatWasOwned) {
    Descriptor owner{openNull()};
    const int before = owner.get();
    Descriptor other{openNull()};
    const int number = other.get();
    owner = std::move(other);
    EXPECT_FALSE(isOpen(before));
    EXPECT_EQ(owner.get(), number);
    EXPECT_TRUE(isOpen(number));
}

TEST(Descriptor, ReleasingLeavesItOpen) {
    Descriptor owner{openNull()};
    const Descriptor again{owner.release()};
    EXPECT_FALSE(owner);
    EXPECT_TRUE(isOpen(again.get()));
}

TEST(Descriptor, ClosingLeavesTheErrorOfTheCallBefore) {
    errno = ENOENT;
    Descriptor{12345}.close(); // no such descriptor: close(2) fails
    EXPECT_EQ(errno, ENOENT);
}
