// A search by name in an address book of thousands of people, as khard does it. khard keeps
// nothing: it reads all cards each time.

#include "bench/data/Dataset.hpp"
#include "bench/data/Items.hpp"

#include <array>

namespace velmiro::bench {

using MCPStdio::JSONValue;

namespace {

constexpr const char* rareName = "Quartermaine";

constexpr std::array given{"Anna", "Bert",  "Zoë",  "Søren", "José",  "François",
                           "Olga", "Ahmed", "Yuki", "John",  "Priya", "Elisabeth"};
constexpr std::array family{"Berg",   "Müller", "O’Brien", "García", "Smith", "Иванов",
                            "Tanaka", "Rossi",  "Hansen",  "Nowak",  "Silva", "van der Meer"};

std::string cardOf(const std::string& uid, const std::string& first, const std::string& last) {
    return "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:" + uid + "\r\nFN:" + first + " " + last +
           "\r\nN:" + last + ";" + first + ";;;\r\nORG:Acme;Research\r\nEMAIL;TYPE=HOME:" + uid +
           "@example.org\r\nEMAIL;TYPE=WORK:" + uid + "@work.example\r\nTEL;TYPE=CELL:+49 170 " +
           uid + "\r\nTEL;TYPE=WORK:+49 30 " + uid +
           "\r\nADR;TYPE=HOME:;;Hauptstraße 7;Berlin;;10115;Germany\r\nNOTE:Met at the fair\\, as "
           "everybody\r\nREV:20240101T000000Z\r\nEND:VCARD\r\n";
}

} // namespace

std::vector<Question> makeContacts(const Home& home, int people) {
    const auto folder = home.folder("Contacts/people");
    Words words;
    Found expected;
    for (int number = 0; number < people; ++number) {
        const std::string uid = std::to_string(1'000 + words.below(1'000)) + std::to_string(number);
        const bool isRare = number % 1'000 == 17;
        if (isRare) {
            expected.insert(uid);
        }
        writeFile(folder / (uid + ".vcf"),
                  cardOf(uid, given[words.below(given.size())],
                         isRare ? rareName : family[words.below(family.size())]));
    }
    const auto settings = home.path() / "khard.conf";
    writeFile(settings, "[addressbooks]\n[[people]]\npath = " + folder.string() +
                            "\n[general]\ndefault_action = list\n");
    const Rival khard{
        "khard",
        {"/usr/bin/khard", "-c", settings, "list", "--parsable", rareName},
        [](const std::string& output) { return linesOf(output, '\t'); },
    };
    return {{"a search by name among " + counted(people) + " cards, one a file", "contacts_search",
             JSONValue::object({{"query", rareName}, {"limit", 50}}),
             [](const JSONValue& payload) { return textsOf(payload, "contacts", "id"); }, khard,
             expected}};
}

} // namespace velmiro::bench
