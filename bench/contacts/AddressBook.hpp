#pragma once

#include <cstddef>
#include <filesystem>
#include <set>
#include <string>

namespace velmiro::bench {

/// A home with an address book of made-up people, one card a file, gone with this object.
class AddressBook {
public:
    static constexpr std::size_t people = 20'000;

    /// Writes the cards, and waits until they count as files that rest.
    AddressBook();
    AddressBook(const AddressBook&) = delete;
    AddressBook& operator=(const AddressBook&) = delete;
    ~AddressBook();

    [[nodiscard]] const std::filesystem::path& home() const { return home_; }
    [[nodiscard]] std::filesystem::path khardSettings() const { return home_ / "khard.conf"; }

    /// A name that few have, and the UIDs of those who have it.
    static constexpr const char* rareName = "Quartermaine";
    [[nodiscard]] const std::set<std::string>& rare() const { return rare_; }

private:
    std::filesystem::path home_;
    std::set<std::string> rare_;
};

} // namespace velmiro::bench
