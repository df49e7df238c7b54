#include "bench/data/Home.hpp"

#include <array>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <unistd.h>

namespace velmiro::bench {

Home::Home() {
    enter();
}

void Home::enter() const {
    ::setenv("HOME", path().c_str(), 1);
}

std::filesystem::path Home::folder(const std::string& name) const {
    auto folder = path() / "Library/Application Support/Velmiro" / name;
    std::filesystem::create_directories(folder);
    return folder;
}

void Home::settle() const {
    ::sync();
    std::this_thread::sleep_for(std::chrono::seconds{3});
}

std::string Words::word() {
    static constexpr std::array all{"meeting", "about",   "the",    "garden", "report", "with",
                                    "Zoë",     "and",     "coffee", "in",     "Zürich", "before",
                                    "lunch",   "project", "of",     "next",   "spring", "ticket",
                                    "for",     "a",       "train",  "to",     "Kraków", "question"};
    return all[below(all.size())];
}

std::string Words::paragraph(std::size_t words, const char* lineEnd) {
    constexpr std::size_t widest = 70;
    std::string text;
    std::size_t width = 0;
    for (std::size_t count = 0; count < words; ++count) {
        const std::string next = word();
        if (width > 0) {
            const bool fits = width + next.size() < widest;
            text += fits ? " " : lineEnd;
            width = fits ? width + 1 : 0;
        }
        text += next;
        width += next.size();
    }
    return text + lineEnd;
}

} // namespace velmiro::bench
