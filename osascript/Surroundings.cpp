#include "osascript/Surroundings.hpp"

#include <csignal>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

extern char** environ; // NOLINT(readability-redundant-declaration): POSIX declares it nowhere

namespace velmiro::osascript {

namespace {

/// The engine reserves 128 GiB of addresses if it can. Below this it gives up.
constexpr rlim_t leastAddressSpace = rlim_t{8} << 30;

void removeEngineSettings() {
    std::vector<std::string> names;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view setting{*entry};
        if (setting.starts_with("JSC_")) {
            names.emplace_back(setting.substr(0, setting.find('=')));
        }
    }
    for (const std::string& name : names) {
        ::unsetenv(name.c_str());
    }
}

/// Scripts are short: compiled code would not pay for the start of its compilers. Without them, no
/// memory is both written and executed.
void leaveScriptsUncompiled() {
    ::setenv("JSC_useJIT", "0", 1);
}

void leaveNoCoreFile() {
    const rlimit none{0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
}

void reportEngineFailure(int /*signal*/) {
    constexpr std::string_view line = "osascript: the script engine failed; memory may be short\n";
    static_cast<void>(!::write(STDERR_FILENO, line.data(), line.size()));
    ::_exit(1);
}

void requireAddressSpace() {
    rlimit space{};
    if (::getrlimit(RLIMIT_AS, &space) == 0 && space.rlim_cur < leastAddressSpace) {
        throw TooLittleRoom{"the script engine needs 8 GiB of addresses, but the limit (ulimit -v) "
                            "is " +
                            std::to_string(space.rlim_cur >> 20) + " MiB"};
    }
}

} // namespace

void prepareForEngine() {
    std::set_terminate(std::abort); // without a text of its own on standard error
    removeEngineSettings();
    leaveScriptsUncompiled();
    leaveNoCoreFile();
    requireAddressSpace();
    for (const int signal : {SIGABRT, SIGTRAP, SIGILL, SIGSEGV, SIGBUS}) {
        std::signal(signal, reportEngineFailure);
    }
}

} // namespace velmiro::osascript
