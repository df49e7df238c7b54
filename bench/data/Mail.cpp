// The inbox of a Maildir of thousands of messages, and one of these messages, as notmuch reports
// them from the database that `notmuch new` makes.

#include "bench/data/Dataset.hpp"
#include "bench/data/Items.hpp"
#include "bench/data/ServerSession.hpp"

#include <algorithm>
#include <array>
#include <ctime>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>

namespace velmiro::bench {

using MCPStdio::JSONValue;

namespace {

constexpr int perDay = 20;
constexpr int listedDays = 3;
constexpr std::time_t dayLength = 86'400;
/// For another hour, all messages of the last day are listed.
constexpr std::time_t newestAge = 120;
constexpr int readOne = 7;

/// Targets: times what notmuch costs with its database, and bytes.
constexpr double mostForList = 3.5;
constexpr double mostForOne = 4;
constexpr double mostMemory = 40e6;

std::string subjectOf(int number) {
    return "Message " + std::to_string(number);
}

std::string headerDate(std::time_t time) {
    std::tm fields{};
    ::gmtime_r(&time, &fields);
    std::array<char, 64> text{};
    std::strftime(text.data(), text.size(), "%a, %d %b %Y %H:%M:%S +0000", &fields);
    return text.data();
}

std::string header(int number, std::time_t received) {
    return "Return-Path: <anna@example.org>\nReceived: from mx.example.org (mx.example.org "
           "[192.0.2.7])\n\tby mail.example.com with ESMTPS id " +
           itemName(number).substr(0, 8) + ";\n\t" + headerDate(received) +
           "\nDate: " + headerDate(received - 5) +
           "\nFrom: =?utf-8?q?Zo=C3=AB_Berg?= <zoe@example.org>\nTo: Me <me@example.com>\n"
           "Message-ID: <" +
           itemName(number) + "@example.org>\nSubject: " + subjectOf(number) +
           "\nMIME-Version: 1.0\n";
}

/// Most bodies are text. Every fifth has an HTML version as well, every twentieth a document of 40
/// KB.
std::string body(int number, const std::string& text, Words& words) {
    std::string plain = "Content-Type: text/plain; charset=utf-8\n"
                        "Content-Transfer-Encoding: 8bit\n\n" +
                        text;
    if (number % 5 != 0) {
        return plain;
    }
    const bool hasDocument = number % 20 == 0;
    std::string parts = std::string{"Content-Type: multipart/"} +
                        (hasDocument ? "mixed" : "alternative") + "; boundary=\"b-1\"\n\n--b-1\n" +
                        plain + "--b-1\n";
    if (!hasDocument) {
        return parts + "Content-Type: text/html; charset=utf-8\n\n<html><body><p>" +
               words.paragraph(200) + "</p></body></html>\n--b-1--\n";
    }
    constexpr int lines = 540;
    parts += "Content-Type: application/pdf; name=\"report.pdf\"\n"
             "Content-Transfer-Encoding: base64\n\n";
    for (int line = 0; line < lines; ++line) {
        std::string coded;
        while (coded.size() < 76) {
            coded += static_cast<char>('A' + words.below(26));
        }
        parts += coded + "\n";
    }
    return parts + "--b-1--\n";
}

void setTime(const std::filesystem::path& file, std::time_t time) {
    const std::array<timespec, 2> times{{{time, 0}, {time, 0}}};
    if (::utimensat(AT_FDCWD, file.c_str(), times.data(), 0) != 0) {
        throw std::runtime_error{"cannot set the time of " + file.string()};
    }
}

/// Writes the messages, the newest first. A file is as old as its message, as a delivery leaves it.
/// Returns the text of the message that is read later.
std::string writeMessages(const std::filesystem::path& maildir, int messages, std::time_t now) {
    Words words;
    std::string textToRead;
    for (int number = 0; number < messages; ++number) {
        const std::time_t received = now - newestAge - number * (dayLength / perDay);
        const auto file = maildir / "cur" /
                          (std::to_string(received) + ".M" + std::to_string(number) + "P1.host:2," +
                           (number % 10 == 0 ? "" : "S"));
        const std::string text = words.paragraph(200);
        if (number == readOne) {
            textToRead = text;
        }
        writeFile(file, header(number, received) + body(number, text, words));
        setTime(file, received);
    }
    return textToRead;
}

std::string withoutEnd(std::string text) {
    text.erase(text.find_last_not_of("\r\n") + 1);
    return text;
}

Found subjectAndText(const JSONValue* subject, const JSONValue* text) {
    return {textOf(subject), withoutEnd(textOf(text))};
}

Found readShown(const std::string& output) {
    // A list of threads; each is a list of messages, and each message is followed by a list of its
    // answers.
    const JSONValue threads = JSONValue::parse(output);
    const JSONValue* message = &threads;
    while (message->kind() == JSONValue::Case::array) {
        message = &elementsOf(message).front();
    }
    const JSONValue& part = elementsOf((*message)["body"]).front();
    return subjectAndText((*(*message)["headers"])["Subject"], part["content"]);
}

Found readThreads(const std::string& output) {
    const JSONValue threads = JSONValue::parse(output);
    Found found;
    for (const JSONValue& thread : elementsOf(&threads)) {
        found.insert(textOf(thread["subject"]));
    }
    return found;
}

} // namespace

std::vector<Question> makeMail(const Home& home, int messages) {
    const auto maildir = home.folder("Mail");
    for (const char* place : {"cur", "new", "tmp"}) {
        home.folder(std::string{"Mail/"} + place);
    }
    const std::time_t now = std::time(nullptr);
    const std::string text = writeMessages(maildir, messages, now);
    const auto settings = home.path() / "notmuch.conf";
    const auto database = home.path() / "notmuch";
    std::filesystem::create_directories(database);
    writeFile(settings, "[database]\npath=" + database.string() +
                            "\nmail_root=" + maildir.string() +
                            "\n[user]\nname=Me\nprimary_email=me@example.com\n"
                            "[new]\ntags=inbox\n[maildir]\nsynchronize_flags=false\n");
    const std::string notmuch = "/usr/bin/notmuch";
    const std::string config = "--config=" + settings.string();

    Found listed;
    for (int number = 0; number < std::min(messages, listedDays * perDay); ++number) {
        listed.insert(subjectOf(number));
    }
    const auto list = JSONValue::object({{"days", listedDays}, {"limit", 100}});
    const std::string since = "date:@" + std::to_string(now - listedDays * dayLength) + "..";
    const Rival search{"notmuch",
                       {notmuch, config, "search", "--format=json", since},
                       readThreads,
                       database / "xapian",
                       {notmuch, config, "new", "--quiet"}};

    const Rival show{
        "notmuch",
        {notmuch, config, "show", "--format=json", "id:" + itemName(readOne) + "@example.org"},
        readShown};
    return {
        {"the last 3 days of an inbox of " + counted(messages) + " messages", "mail_list", list,
         [](const JSONValue& payload) { return textsOf(payload, "messages", "subject"); }, search,
         listed, mostForList, mostMemory},
        {"reading one of them",
         "mail_read",
         JSONValue::object({{"id", identifierOf(subjectOf(readOne), list)}}),
         [](const JSONValue& payload) {
             return subjectAndText(payload["subject"], payload["content"]);
         },
         show,
         {subjectOf(readOne), withoutEnd(text)},
         mostForOne,
         mostMemory},
    };
}

} // namespace velmiro::bench
