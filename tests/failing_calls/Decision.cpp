#include "tests/failing_calls/Decision.hpp"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace velmiro::test {
namespace {

Plan* shared = nullptr;

/// Maps the plan by system calls alone: the functions of the C library that would do are ours.
__attribute__((constructor)) void openPlan() {
    const char* const path = std::getenv("FAILING_CALLS_PLAN");
    if (path == nullptr) {
        return;
    }
    const auto file = ::syscall(SYS_openat, AT_FDCWD, path, O_RDWR | O_CLOEXEC);
    if (file < 0) {
        return;
    }
    const auto memory =
        ::syscall(SYS_mmap, nullptr, sizeof(Plan), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    ::syscall(SYS_close, file);
    if (memory != -1) {
        shared = reinterpret_cast<Plan*>(memory);
    }
}

bool concerns(const Plan& plan, Call call, const char* path) {
    if ((plan.calls & static_cast<std::uint32_t>(call)) == 0 ||
        (plan.afterChange && !plan.changed)) {
        return false;
    }
    const std::string_view program{plan.program.data()};
    if (!program.empty() && program != ::program_invocation_short_name) {
        return false;
    }
    const std::string_view part{plan.part.data()};
    return part.empty() ||
           (path != nullptr && std::string_view{path}.find(part) != std::string_view::npos);
}

} // namespace

Plan* plan() noexcept {
    return shared;
}

Decision decide(Call call, const char* path) noexcept {
    if (shared == nullptr || !shared->isArmed || !concerns(*shared, call, path)) {
        return Decision::proceed;
    }
    const int number = shared->counted++ - shared->skip;
    if (number < 0 || number >= shared->count) {
        return Decision::proceed;
    }
    ++shared->failed;
    switch (shared->effect) {
    case Effect::error:
        errno = shared->error;
        return Decision::fail;
    case Effect::partial:
        return Decision::partial;
    case Effect::killHalf:
        return Decision::halfThenDie;
    case Effect::killAfter:
        return Decision::thenDie;
    case Effect::killParent:
        ::kill(::getppid(), SIGKILL);
        return Decision::proceed;
    case Effect::killBefore:
        ::kill(::getpid(), SIGKILL);
    }
    return Decision::proceed;
}

std::size_t partOf(std::size_t size, Decision decision) noexcept {
    const bool isHalved = decision == Decision::partial || decision == Decision::halfThenDie;
    return isHalved && size > 1 ? size / 2 : size;
}

void carryOut(Decision decision) noexcept {
    if (decision == Decision::thenDie || decision == Decision::halfThenDie) {
        ::kill(::getpid(), SIGKILL);
    }
}

} // namespace velmiro::test
