#include "MCPStdio/text/TextBuffer.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>

using namespace MCPStdio;

TEST(TextBuffer, HoldsWhatWasAppendedInOrder) {
    TextBuffer text{"one"};
    text.append(',');
    text.append(3, '-');
    text.append("two");
    text.append("");
    EXPECT_EQ(text.view(), "one,---two");
    EXPECT_EQ(text.size(), 10U);
}

TEST(TextBuffer, AnEmptyBufferHasNoMemory) {
    EXPECT_EQ(TextBuffer{}.capacity(), 0U);
    EXPECT_EQ(TextBuffer{}.view(), "");
    TextBuffer text{""};
    text.append("");
    text.append(0, 'x');
    text.removePrefix(0);
    EXPECT_EQ(text.capacity(), 0U);
}

TEST(TextBuffer, WhatIsWrittenIntoItsRoomIsTextOnceAdded) {
    TextBuffer text;
    char* const room = text.room(3);
    room[0] = 'a';
    room[1] = 'b';
    EXPECT_EQ(text.view(), "");
    text.added(2);
    EXPECT_EQ(text.view(), "ab");
}

TEST(TextBuffer, GrowsToAnyLengthAndKeepsItsText) {
    TextBuffer text;
    std::string expected;
    for (int i = 0; i < 5000; ++i) {
        const std::string part = std::to_string(i);
        text.append(part);
        expected += part;
    }
    text.append(1'000'000, 'x');
    expected.append(1'000'000, 'x');
    EXPECT_EQ(text.view(), expected);
}

TEST(TextBuffer, ATextOfMegabytesIsHardlyEverMoved) {
    TextBuffer text;
    std::string expected;
    int moves = 0;
    const char* address = nullptr;
    for (int i = 0; i < 64; ++i) {
        const std::string part(std::size_t{1} << 20U, static_cast<char>('0' + i));
        text.append(part);
        expected += part;
        moves += text.view().data() == std::exchange(address, text.view().data()) ? 0 : 1;
    }
    EXPECT_TRUE(text.view() == expected);
    EXPECT_LE(moves, 5);
    TextBuffer other = std::move(text);
    EXPECT_TRUE(other.view() == expected);
    other = TextBuffer{"short"};
    EXPECT_EQ(other.view(), "short");
}

TEST(TextBuffer, ClearingKeepsTheCapacity) {
    TextBuffer text{std::string(1000, 'x')};
    const std::size_t capacity = text.capacity();
    text.clear();
    EXPECT_EQ(text.view(), "");
    EXPECT_EQ(text.capacity(), capacity);
}

TEST(TextBuffer, RemovingAPrefixKeepsTheRest) {
    TextBuffer text{"0123456789"};
    text.removePrefix(4);
    EXPECT_EQ(text.view(), "456789");
    text.removePrefix(0);
    text.removePrefix(6);
    EXPECT_EQ(text.view(), "");
}

TEST(TextBuffer, MovingHandsOverTheText) {
    TextBuffer text{"text"};
    TextBuffer other;
    other = std::move(text);
    EXPECT_EQ(other.view(), "text");
}
