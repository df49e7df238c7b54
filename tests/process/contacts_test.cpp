// Searching people through the real server, many times at once and while it does other work.

#include "tests/process/ServerUnderTest.hpp"

#include <gtest/gtest.h>

using namespace velmiro::test;

namespace {

constexpr int calls = 1000;

void writeCards(const TemporaryFolder& home, int count) {
    for (int number = 0; number < count; ++number) {
        const std::string name = std::to_string(number);
        home.write("Library/Application Support/Velmiro/Contacts/friends/" + name + ".vcf",
                   "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:" + name + "\r\nN:Berg" + name +
                       ";Anna\r\nEND:VCARD\r\n");
    }
}

} // namespace

TEST(Contacts, AThousandSearchesAtOnceAreAnsweredAndHoldUpNoPing) {
    const TemporaryFolder home;
    writeCards(home, 300);
    ChildProcess server{serverIn(home)};
    for (int id = 0; id < calls; ++id) {
        server.writeLine(callLine(id, "contacts_search",
                                  R"({"query":"berg)" + std::to_string(id % 300) + R"( anna"})"));
    }
    server.writeLine(ping(calls));
    server.closeInput();

    int answered = 0;
    int beforeThePing = -1;
    while (const auto line = server.readLine()) {
        if (*line == pong(calls)) {
            beforeThePing = answered;
            continue;
        }
        ++answered;
        const auto identifier = line->find(R"(\"id\" : \")");
        ASSERT_NE(identifier, std::string::npos) << *line;
        const auto call = std::stoi(line->substr(line->find(R"("id":)") + 5));
        EXPECT_TRUE(line->substr(identifier)
                        .starts_with(R"(\"id\" : \")" + std::to_string(call % 300) + R"(\")"))
            << *line;
    }
    EXPECT_EQ(server.waitForEnd(), 0);
    EXPECT_EQ(answered, calls);
    EXPECT_GE(beforeThePing, 0);
    EXPECT_LT(beforeThePing, calls);
}

TEST(Contacts, AChangeOfTheFilesIsSeenByTheNextSearch) {
    const TemporaryFolder home;
    writeCards(home, 3);
    ChildProcess server{serverIn(home)};
    const auto count = [&](int id) {
        server.writeLine(callLine(id, "contacts_search", R"({"query":"anna"})"));
        const auto reply = server.readLine().value_or("");
        std::size_t found = 0;
        for (auto at = reply.find("Berg"); at != std::string::npos;
             at = reply.find("Berg", at + 1)) {
            ++found;
        }
        return found;
    };
    EXPECT_EQ(count(1), 3U);
    writeCards(home, 4);
    EXPECT_EQ(count(2), 4U);
    std::filesystem::remove_all(home.path() / "Library");
    EXPECT_EQ(count(3), 0U);
}
