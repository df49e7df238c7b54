#include "bench/data/Home.hpp"

#include <array>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <thread>
#include <unistd.h>

namespace velmiro::bench {

Home::Home() {
    std::string name = (std::filesystem::temp_directory_path() / "velmiro-bench-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error{"no temporary folder"};
    }
    path_ = name;
    enter();
}

Home::~Home() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void Home::enter() const {
    ::setenv("HOME", path_.c_str(), 1);
}

std::filesystem::path Home::folder(const std::string& name) const {
    auto folder = path_ / "Library/Application Support/Velmiro" / name;
    std::filesystem::create_directories(folder);
    return folder;
}

void Home::settle() const {
    ::sync();
    std::this_thread::sleep_for(std::chrono::seconds{3});
}

void writeFile(const std::filesystem::path& file, const std::string& text) {
    std::ofstream stream{file, std::ios::binary};
    stream << text;
    if (!stream.flush()) {
        throw std::runtime_error{"cannot write " + file.string()};
    }
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
