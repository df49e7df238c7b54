#include "bench/contacts/AddressBook.hpp"

#include <array>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <random>
#include <stdexcept>
#include <thread>

namespace velmiro::bench {
namespace {

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

AddressBook::AddressBook() {
    std::string name = (std::filesystem::temp_directory_path() / "velmiro-bench-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error{"no temporary folder"};
    }
    home_ = name;
    const auto folder = home_ / "Library/Application Support/Velmiro/Contacts/people";
    std::filesystem::create_directories(folder);
    std::mt19937 random{7};
    for (std::size_t number = 0; number < people; ++number) {
        const std::string uid =
            std::to_string(1'000'000 + random() % 1'000) + std::to_string(number);
        const bool isRare = number % 1'000 == 17;
        if (isRare) {
            rare_.insert(uid);
        }
        std::ofstream{folder / (uid + ".vcf"), std::ios::binary}
            << cardOf(uid, given[random() % given.size()],
                      isRare ? rareName : family[random() % family.size()]);
    }
    std::ofstream{khardSettings()} << "[addressbooks]\n[[people]]\npath = " << folder.string()
                                   << "\n[general]\ndefault_action = list\n";
    std::this_thread::sleep_for(std::chrono::seconds{3});
}

AddressBook::~AddressBook() {
    std::error_code ignored;
    std::filesystem::remove_all(home_, ignored);
}

} // namespace velmiro::bench
