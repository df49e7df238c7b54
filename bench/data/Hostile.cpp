// Messages that are made to exhaust whoever reads them, each held against starting the script
// engine alone.

#include "bench/data/Dataset.hpp"
#include "bench/data/ServerSession.hpp"

#include <cstddef>
#include <ctime>
#include <string_view>
#include <utility>

namespace velmiro::bench {

using MCPStdio::JSONValue;

namespace {

/// The address space that the reader of a message gets, in bytes.
constexpr double mostMemory = 1UL << 30U;

struct HostileMessage {
    std::string title;
    std::string message;   ///< after the fields that all have
    std::string beginning; ///< of the text that is shown
};

std::string repeated(std::string_view piece, std::size_t times) {
    std::string text;
    text.reserve(times * piece.size());
    for (std::size_t i = 0; i < times; ++i) {
        text += piece;
    }
    return text;
}

std::string multipart(const std::string& parts) {
    return "Content-Type: multipart/mixed; boundary=x\n\n" + parts + "--x--\n";
}

/// Returns a part in base64, which decodes to as many zeros.
std::string attachment(std::size_t megabytes) {
    constexpr std::size_t linesOfMegabyte = 18'397; // of 57 bytes each
    return "--x\nContent-Type: application/zip\nContent-Transfer-Encoding: base64\n\n" +
           repeated(std::string(76, 'A') + "\n", megabytes * linesOfMegabyte);
}

std::string nestedMultiparts(int depth) {
    std::string message;
    for (int i = 0; i < depth; ++i) {
        const std::string mark = "b" + std::to_string(i);
        message += "Content-Type: multipart/mixed; boundary=" + mark + "\n\n--" + mark + "\n";
    }
    return message + "\ntext\n";
}

std::string html(const std::string& document) {
    return "Content-Type: text/html\n\n" + document;
}

std::vector<HostileMessage> hostileMessages() {
    const std::string text = "Content-Type: text/plain; charset=utf-8\n";
    return {
        {"a million empty parts: 7 MB", multipart(repeated("--x\n\n\n", 1'000'000)), "--x"},
        {"10,000 parts", multipart(repeated("--x\n\npart\n", 10'000)), "part"},
        {"100,000 parts", multipart(repeated("--x\n\npart\n", 100'000)), "part"},
        {"1,000 multiparts, one within the other", nestedMultiparts(1'000), "--b0"},
        {"an attachment of 50 MB before the text", multipart(attachment(50) + "--x\n\nbehind it\n"),
         "behind it"},
        {"30 MB of text", text + "\n" + repeated("Dear reader, this is long.\n", 1'111'111),
         "Dear reader"},
        {"50,000 recipients",
         "To: a@example.com" + repeated(",\n \"Anna B\" <anna@example.com>", 50'000) + "\n\ntext\n",
         "text"},
        {"20,000 encoded words in the subject of a part",
         multipart("--x\nSubject: " + repeated("=?utf-8?B?w6Q=?=\n ", 20'000) + "\n\npart\n"),
         "part"},
        {"100,000 nested elements of HTML", html(repeated("<div>", 100'000) + "deep"), "deep"},
        {"50 MB of HTML", html("begin" + repeated("<p>&amp;<b>bold</b></p>\n", 2'083'333)),
         "begin"},
        {"10 MB of damaged base64",
         text + "Content-Transfer-Encoding: base64\n\n" + repeated("TG9uZyB0ZXh0IQ*=\n", 600'000),
         "Long text!"},
        {"10 MB of damaged quoted-printable",
         text + "Content-Transfer-Encoding: quoted-printable\n\n" +
             repeated("caf=C3=A9 =ZZ =\n", 650'000),
         "café"},
        {"10 MB in a character set that does not exist",
         "Content-Type: text/plain; charset=no-such-set\n\n" + repeated("caf\xE9 \n", 1'700'000),
         "café"},
    };
}

} // namespace

std::vector<Question> makeHostile(const Home& home, int) {
    const auto current = home.folder("Mail/cur");
    const auto list = JSONValue::object({{"days", 1}, {"limit", 100}});
    const std::string received = std::to_string(std::time(nullptr) - 120);
    std::vector<Question> questions;
    Found subjects;
    for (auto& [title, message, beginning] : hostileMessages()) {
        writeFile(current / (received + "." + std::to_string(questions.size()) + ":2,"),
                  "From: mallory@example.org\nSubject: " + title + "\n" + message);
        subjects.insert(title);
        questions.push_back({.title = title,
                             .tool = "mail_read",
                             .arguments = JSONValue::object({{"id", identifierOf(title, list)}}),
                             .read =
                                 [length = beginning.size()](const JSONValue& payload) {
                                     return Found{textOf(payload["content"]).substr(0, length)};
                                 },
                             .rival = engineAlone({beginning}),
                             .expected = {beginning},
                             .mostMemory = mostMemory});
    }
    questions.push_back(
        {.title = "all of them",
         .tool = "mail_list",
         .arguments = list,
         .read = [](const JSONValue& payload) { return textsOf(payload, "messages", "subject"); },
         .rival = engineAlone(subjects),
         .expected = subjects,
         .mostMemory = mostMemory});
    return questions;
}

} // namespace velmiro::bench
