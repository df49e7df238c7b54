// The least that a program between two pipes can do if it answers each line immediately: find the
// lines, and write a fixed reply for each with one system call. The argument is the length of the
// reply. Only a program that delays replies, to write many with one call, can be faster.

#include <array>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <unistd.h>

namespace {

bool writeAll(std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(STDOUT_FILENO, text.data(), text.size());
        if (written < 0) {
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

} // namespace

int main(int argumentCount, char** arguments) {
    const unsigned long length = argumentCount > 1 ? std::strtoul(arguments[1], nullptr, 10) : 0;
    if (length < 1) {
        return EXIT_FAILURE;
    }
    std::string reply(length, 'x');
    reply.back() = '\n';
    static std::array<char, 65'536> chunk;
    ssize_t count = 0;
    while ((count = ::read(STDIN_FILENO, chunk.data(), chunk.size())) > 0) {
        std::string_view rest{chunk.data(), static_cast<std::size_t>(count)};
        for (auto end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
            if (!writeAll(reply)) {
                return EXIT_FAILURE;
            }
            rest.remove_prefix(end + 1);
        }
    }
    return EXIT_SUCCESS;
}
