#include "support/Files.hpp"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace velmiro::support {

std::string readFile(const std::filesystem::path& file) {
    std::ifstream stream{file, std::ios::binary};
    return {std::istreambuf_iterator<char>{stream}, {}};
}

void writeFile(const std::filesystem::path& file, std::string_view content) {
    std::ofstream stream{file, std::ios::binary};
    stream << content;
    if (!stream.flush()) {
        throw std::runtime_error{"cannot write " + file.string()};
    }
}

} // namespace velmiro::support
