#include "MCPStdio/transport/Descriptor.hpp"
#include "osascript/dictionary/Class.hpp"
#include "osascript/mail/MailApplication.hpp"
#include "tests/osascript/mail/MailHome.hpp"
#include "tests/support/ScopedDescriptorLimit.hpp"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <map>
#include <string>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace velmiro::osascript {
namespace {

using test::headerDateAgo;
using test::MailHome;
using test::messageOf;
using Texts = std::vector<std::string>;

constexpr std::time_t day = 86'400;

Value valueOf(Object& object, std::string_view property) {
    return entryNamed(object.type().properties, property)->read(object);
}
std::string textOf(Object& object, std::string_view property) {
    return std::get<std::string>(valueOf(object, property));
}
double numberOf(Object& object) {
    return std::get<double>(valueOf(object, "id"));
}
const Elements& elementsOf(Object& object, std::string_view name) {
    return *entryNamed(object.type().elements, name);
}
ObjectPointer newInbox() {
    const auto mail = mailApplication();
    return std::get<ObjectPointer>(valueOf(*mail, "inbox"));
}

Objects arranged(Objects messages) {
    elementsOf(*newInbox(), "messages").arrange(messages);
    return messages;
}
Objects allMessages() {
    const auto inbox = newInbox();
    return arranged(elementsOf(*inbox, "messages").all(*inbox));
}
Objects messagesWithNumber(const Value& number) {
    const auto inbox = newInbox();
    return elementsOf(*inbox, "messages").find(*inbox, "id", number).value();
}
Texts subjectsOf(const Objects& messages) {
    Texts subjects;
    for (const ObjectPointer& message : messages) {
        subjects.push_back(textOf(*message, "subject"));
    }
    return subjects;
}
Texts subjects() {
    return subjectsOf(allMessages());
}

double ago(std::time_t age) {
    return 1000.0 * static_cast<double>(std::time(nullptr) - age);
}

bool holds(Operator operation, double value, double wanted) {
    switch (operation) {
    case Operator::greater:
        return value > wanted;
    case Operator::greaterOrEqual:
        return value >= wanted;
    case Operator::less:
        return value < wanted;
    case Operator::lessOrEqual:
        return value <= wanted;
    default:
        return value == wanted;
    }
}

TEST(Mail, WithoutMailListsNothingAndMakesNothing) {
    const MailHome home;
    EXPECT_TRUE(allMessages().empty());
    EXPECT_TRUE(messagesWithNumber(7.0).empty());
    EXPECT_FALSE(std::filesystem::exists(home.maildir()));
}

TEST(Mail, HasItsProperties) {
    const auto mail = mailApplication();
    EXPECT_EQ(textOf(*mail, "name"), "Mail");
    EXPECT_EQ(textOf(*newInbox(), "name"), "INBOX");
    EXPECT_EQ(mail->type().properties.size(), 2);
    EXPECT_EQ(newInbox()->type().properties.size(), 1);
}

TEST(Mail, MessageHasWhatItsHeaderSays) {
    const MailHome home;
    home.write("cur/1.a:2,S", "Received: from a; " + headerDateAgo(3600) +
                                  "\nDate: " + headerDateAgo(7200) +
                                  "\nFrom: \"B, Ana\" <a@b.c>, d@e.f\nFrom: Zo\xEB\nTo: x@y.z, Bo "
                                  "<g@h.i>\nTo: Only Name\nCc: \"C\" <c@c.c>\n"
                                  "Subject: Hi\nMessage-ID: <1@b.c>\n\nbody\n");
    const auto all = allMessages();
    ASSERT_EQ(all.size(), 1);
    Object& message = *all.front();
    EXPECT_EQ(textOf(message, "subject"), "Hi");
    EXPECT_EQ(textOf(message, "sender"), "B, Ana <a@b.c>, d@e.f, Zoë");
    EXPECT_EQ(textOf(message, "messageId"), "1@b.c");
    EXPECT_NEAR(std::get<Date>(valueOf(message, "dateReceived")).milliseconds, ago(3600), 3000);
    EXPECT_NEAR(std::get<Date>(valueOf(message, "dateSent")).milliseconds, ago(7200), 3000);
    EXPECT_EQ(std::get<bool>(valueOf(message, "readStatus")), true);
    const auto people = [&](std::string_view name) {
        std::string text;
        for (const ObjectPointer& one : elementsOf(message, name).all(message)) {
            text += "[" + textOf(*one, "name") + "|" + textOf(*one, "address") + "]";
        }
        return text;
    };
    EXPECT_EQ(people("toRecipients"), "[|x@y.z][Bo|g@h.i][|Only Name]");
    EXPECT_EQ(people("ccRecipients"), "[C|c@c.c]");
    EXPECT_EQ(message.type().properties.size(), 8);
    for (const Property& property : message.type().properties) {
        EXPECT_EQ(property.write, nullptr);
    }
}

TEST(Mail, MessageWithoutHeaderHasEmptyTexts) {
    const MailHome home;
    home.write("new/1.a", "", 50);
    const auto all = allMessages();
    ASSERT_EQ(all.size(), 1);
    for (const char* const name : {"subject", "sender", "messageId"}) {
        EXPECT_EQ(textOf(*all.front(), name), "");
    }
    EXPECT_TRUE(std::holds_alternative<std::nullptr_t>(valueOf(*all.front(), "dateSent")));
    EXPECT_EQ(std::get<bool>(valueOf(*all.front(), "readStatus")), false);
}

TEST(Mail, NewestComesFirstAndOfOneTimeTheLesserName) {
    const MailHome home;
    const std::vector<std::pair<std::string, std::time_t>> ages{
        {"5.e:2,", 50}, {"1.a:2,", 400}, {"3.c:2,S", 90}, {"9.b:2,", 7200}};
    for (const auto& [name, age] : ages) {
        home.write("cur/" + name, messageOf(name, age));
    }
    const std::string same = headerDateAgo(200);
    for (const char* const name : {"7.z", "7.y", "7.x"}) {
        home.write(std::string{"new/"} + name, "Date: " + same + "\nSubject: " + name + "\n\nx\n");
    }
    EXPECT_EQ(subjects(), (Texts{"5.e:2,", "3.c:2,S", "7.x", "7.y", "7.z", "1.a:2,", "9.b:2,"}));
}

TEST(Mail, DraftsAndWhatIsThrownAwayAreNotInTheInbox) {
    const MailHome home;
    for (const char* const path : {"cur/1.a:2,T", "cur/2.b:2,ST", "cur/3.c:2,DS", "tmp/4.d"}) {
        home.write(path, messageOf("no", 10));
    }
    home.write("new/7.g", messageOf("yes", 10));
    const auto all = allMessages();
    ASSERT_EQ(subjectsOf(all), Texts{"yes"});
    // Nor are they found by number.
    home.rename("new/7.g", "cur/7.g:2,T");
    EXPECT_TRUE(messagesWithNumber(numberOf(*all.front())).empty());
}

TEST(Mail, WhatIsNoMessageDoesNotHideTheOthers) {
    const MailHome home;
    home.write("cur/1.good:2,", messageOf("good", 10));
    std::filesystem::create_directory(home.path("cur/2.folder:2,"));
    std::filesystem::create_symlink("/nonexistent", home.path("cur/3.dangling:2,"));
    std::filesystem::create_symlink("/dev/zero", home.path("cur/4.device:2,"));
    ASSERT_EQ(::mkfifo(home.path("cur/5.pipe:2,").c_str(), 0600), 0);
    EXPECT_EQ(subjects(), Texts{"good"});
}

TEST(Mail, NumberFindsItsMessageWhateverItsFlags) {
    const MailHome home;
    for (int i = 0; i < 60; ++i) {
        home.write("new/" + std::to_string(i) + ".a", messageOf(std::to_string(i), i));
    }
    const auto all = allMessages();
    ASSERT_EQ(all.size(), 60);
    for (const ObjectPointer& message : all) {
        const double number = numberOf(*message);
        EXPECT_EQ(number, std::floor(number));
        EXPECT_TRUE(number >= 1 && number <= 9007199254740991.0);
        const std::string subject = textOf(*message, "subject");
        home.rename("new/" + subject + ".a", "cur/" + subject + ".a:2,FS");
        const auto found = messagesWithNumber(number);
        ASSERT_EQ(subjectsOf(found), Texts{subject});
        EXPECT_EQ(numberOf(*found.front()), number);
    }
}

TEST(Mail, OtherValuesFindNothing) {
    const MailHome home;
    home.write("new/1.a", messageOf("one", 10));
    const double number = numberOf(*allMessages().front());
    const std::vector<Value> others{0.0,
                                    -1.0,
                                    -number,
                                    number + 0.5,
                                    number + 1,
                                    9007199254740992.0,
                                    9007199254740994.0,
                                    1e300,
                                    -INFINITY,
                                    INFINITY,
                                    std::nan(""),
                                    nullptr,
                                    true,
                                    std::to_string(static_cast<long>(number)),
                                    Date{number}};
    for (const Value& other : others) {
        EXPECT_TRUE(messagesWithNumber(other).empty()) << other.index();
    }
    const auto inbox = newInbox();
    EXPECT_FALSE(elementsOf(*inbox, "messages").find(*inbox, "subject", Value{"one"}));
}

TEST(Mail, NoDateIsLaterThanTheFileOrADayAfterItsName) {
    const MailHome home;
    const auto delivered = [](std::time_t age) {
        return std::to_string(std::time(nullptr) - age) + ".M1P1.host";
    };
    home.write("cur/1.file", messageOf("file", 500), 3000);
    home.write("cur/" + delivered(9 * day), messageOf("name", 500), 10);
    home.write("cur/" + delivered(4 * day + day / 2), messageOf("margin", 4 * day), 10);
    home.write("cur/" + delivered(500), messageOf("imported", 20 * day), 10);
    home.write("cur/" + delivered(5 * day), "Subject: undated\n\n", 10);
    std::map<std::string, double> received;
    for (const ObjectPointer& message : allMessages()) {
        received[textOf(*message, "subject")] =
            std::get<Date>(valueOf(*message, "dateReceived")).milliseconds;
    }
    EXPECT_NEAR(received.at("file"), ago(3000), 3000);
    EXPECT_NEAR(received.at("name"), ago(8 * day), 3000);
    EXPECT_NEAR(received.at("margin"), ago(4 * day), 3000);
    EXPECT_NEAR(received.at("imported"), ago(20 * day), 3000);
    EXPECT_NEAR(received.at("undated"), ago(4 * day), 3000);
}

/// Every decision without a look into the message is what that would have decided.
TEST(Mail, DecidesADateAsReadingItWould) {
    const MailHome home;
    int count = 0;
    for (const std::time_t name : {0L, 100L, day / 2, 2 * day, 5 * day, -2 * day}) {
        for (const std::time_t file : {0L, 100L, day / 2, 2 * day, 5 * day}) {
            for (const std::time_t header : {0L, 100L, day / 2, 2 * day, 5 * day, -day}) {
                const std::string prefix =
                    name == 0 ? "1" : std::to_string(std::time(nullptr) - name);
                home.write("cur/" + prefix + ".M" + std::to_string(count++), messageOf("x", header),
                           file);
            }
        }
    }
    const auto inbox = newInbox();
    const Elements& messages = elementsOf(*inbox, "messages");
    const Property& received = *entryNamed(messages.type->properties, "dateReceived");
    int decided = 0;
    for (const Operator operation : {Operator::greater, Operator::greaterOrEqual, Operator::less,
                                     Operator::lessOrEqual, Operator::equal}) {
        for (const std::time_t age : {-5 * day, 50L, day, 3 * day, 4 * day + 7, 9 * day}) {
            const double wanted = ago(age);
            for (const ObjectPointer& message : messages.all(*inbox)) {
                const auto decision = received.decide(*message, {operation, Date{wanted}, ""});
                const double value = std::get<Date>(received.read(*message)).milliseconds;
                if (decision) {
                    EXPECT_EQ(*decision, holds(operation, value, wanted));
                    ++decided;
                }
                EXPECT_EQ(received.decide(*message, {operation, Date{wanted}, ""}), std::nullopt);
            }
        }
    }
    EXPECT_GT(decided, 1'000);
    const auto all = messages.all(*inbox);
    EXPECT_EQ(received.decide(*all.front(), {Operator::greater, 5.0, ""}), std::nullopt);
    EXPECT_EQ(received.decide(*all.front(), {Operator::contains, Date{0}, "x"}), std::nullopt);
    EXPECT_EQ(received.decide(*all.front(), {Operator::less, Date{std::nan("")}, ""}),
              std::nullopt);
}

TEST(Mail, MessageThatItsNameMakesOldIsNotLookedAt) {
    const MailHome home;
    home.write("cur/1500000000.M1:2,", messageOf("old", 10), 10);
    home.write("cur/1.a:2,", messageOf("file is old", 10), 9 * day);
    const auto inbox = newInbox();
    const Elements& messages = elementsOf(*inbox, "messages");
    const auto all = messages.all(*inbox);
    // A message that is looked at would be found to be gone.
    std::filesystem::remove_all(home.path("cur"));
    const Property& received = *entryNamed(messages.type->properties, "dateReceived");
    for (const ObjectPointer& message : all) {
        EXPECT_EQ(received.decide(*message, {Operator::greater, Date{ago(3 * day)}, ""}), false);
    }
}

TEST(Mail, MessagesThatAreRemovedAreDropped) {
    const MailHome home;
    for (int i = 0; i < 400; ++i) {
        home.write("cur/" + std::to_string(i) + ".a:2,", messageOf(std::to_string(i), i));
    }
    const auto inbox = newInbox();
    auto all = elementsOf(*inbox, "messages").all(*inbox);
    for (int i = 0; i < 400; ++i) {
        if (i % 4 != 0) {
            std::filesystem::remove(home.path("cur/" + std::to_string(i) + ".a:2,"));
        } else {
            home.rename("cur/" + std::to_string(i) + ".a:2,",
                        "cur/" + std::to_string(i) + ".a:2,S");
        }
    }
    EXPECT_EQ(entryNamed(all.front()->type().properties, "dateReceived")
                  ->decide(*all.front(), {Operator::equal, Date{ago(-day)}, ""}),
              false);
    const auto before = all;
    all = arranged(std::move(all));
    EXPECT_EQ(all.size(), 100);
    EXPECT_EQ(std::get<bool>(valueOf(*all.front(), "readStatus")), true);
    std::size_t gone = 0;
    for (const ObjectPointer& message : before) {
        try {
            textOf(*message, "subject");
        } catch (const ScriptError& error) {
            EXPECT_EQ(error.number(), -1728);
            EXPECT_TRUE(std::holds_alternative<std::nullptr_t>(valueOf(*message, "dateReceived")));
            ++gone;
        }
    }
    EXPECT_EQ(gone, 300);
}

TEST(Mail, MessagesOutliveTheApplication) {
    const MailHome home;
    home.write("new/1.a", messageOf("one", 10));
    const auto all = allMessages();
    EXPECT_EQ(subjectsOf(all), Texts{"one"});
}

TEST(Mail, HeadersThatAreNotKeptAreReadAgain) {
    const MailHome home;
    for (int i = 0; i < 30; ++i) {
        home.write("cur/" + std::to_string(i),
                   "X: " + std::string(400'000, 'x') + "\n" + messageOf(std::to_string(i), i));
    }
    for (int round = 0; round < 2; ++round) {
        const auto all = allMessages();
        ASSERT_EQ(all.size(), 30);
        for (int i = 0; i < 30; ++i) {
            EXPECT_EQ(textOf(*all[static_cast<std::size_t>(i)], "subject"), std::to_string(i));
        }
    }
}

TEST(Mail, DescriptorsThatRunOutAreAnErrorAndNoEmptyInbox) {
    const MailHome home;
    home.write("new/1.a", messageOf("one", 10));
    const auto inbox = newInbox();
    auto all = elementsOf(*inbox, "messages").all(*inbox);
    std::vector<MCPStdio::Descriptor> taken;
    const test::ScopedDescriptorLimit limit{64};
    do {
        taken.emplace_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    } while (taken.back());
    EXPECT_THROW(elementsOf(*inbox, "messages").arrange(all), std::system_error);
    EXPECT_THROW(elementsOf(*inbox, "messages").all(*inbox), std::system_error);
}

TEST(Mail, OutgoingMessageTakesTextsAndRecipients) {
    const auto mail = mailApplication();
    const auto make = [&](std::string_view name) {
        return entryNamed(mail->type().constructors, name)->make();
    };
    const auto message = make("OutgoingMessage");
    const auto write = [](Object& object, std::string_view name, const Value& value) {
        entryNamed(object.type().properties, name)->write(object, value);
    };
    for (const char* const name : {"subject", "content"}) {
        write(*message, name, "text");
        EXPECT_EQ(textOf(*message, name), "text");
        EXPECT_THROW(write(*message, name, 1.0), ScriptError);
    }
    const std::vector<std::pair<Value, bool>> values{
        {true, true}, {false, false}, {1.0, true},    {0.0, false},     {std::nan(""), false},
        {"x", true},  {"", false},    {Date{}, true}, {nullptr, false}, {mail, true}};
    for (const auto& [value, expected] : values) {
        write(*message, "visible", value);
        EXPECT_EQ(std::get<bool>(valueOf(*message, "visible")), expected);
    }
    for (const auto& [made, elements] :
         {std::pair{"ToRecipient", "toRecipients"}, std::pair{"CcRecipient", "ccRecipients"}}) {
        const auto recipient = make(made);
        write(*recipient, "address", "a@b.c");
        write(*recipient, "name", "Ana");
        EXPECT_THROW(write(*recipient, "name", nullptr), ScriptError);
        const Elements& list = elementsOf(*message, elements);
        list.push(*message, recipient);
        EXPECT_THROW(list.push(*message, message), ScriptError);
        ASSERT_EQ(list.all(*message), Objects{recipient});
        EXPECT_EQ(textOf(*recipient, "name") + textOf(*recipient, "address"), "Anaa@b.c");
        EXPECT_EQ(&recipient->type(), list.type);
    }
    const Elements& outgoing = elementsOf(*mail, "outgoingMessages");
    outgoing.push(*mail, message);
    EXPECT_THROW(outgoing.push(*mail, make("ToRecipient")), ScriptError);
    EXPECT_EQ(outgoing.all(*mail), Objects{message});
    EXPECT_EQ(&message->type(), outgoing.type);
}

TEST(Mail, OutgoingMessageIsSavedOnce) {
    const MailHome home;
    const auto mail = mailApplication();
    const auto message = entryNamed(mail->type().constructors, "OutgoingMessage")->make();
    const Command& save = *entryNamed(message->type().commands, "save");
    save.run(*message);
    EXPECT_FALSE(std::filesystem::is_empty(home.path(".Drafts/cur")));
    try {
        save.run(*message);
        FAIL();
    } catch (const ScriptError& error) {
        EXPECT_STREQ(error.what(), "This message has already been saved.");
        EXPECT_EQ(error.number(), -2700);
    }
    EXPECT_TRUE(allMessages().empty());
}

} // namespace
} // namespace velmiro::osascript
