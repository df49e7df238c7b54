#include "tests/support/FailingCalls.hpp"

#include "MCPStdio/transport/Descriptor.hpp"
#include "support/Files.hpp"

#include <algorithm>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace velmiro::test {
namespace {

template <std::size_t Size>
void put(std::array<char, Size>& into, const std::string& text) {
    if (text.size() >= Size) {
        throw std::length_error{"too long for a plan: " + text};
    }
    into.fill('\0');
    std::ranges::copy(text, into.begin());
}

[[noreturn]] void throwLastError(const char* what) {
    throw std::system_error{errno, std::system_category(), what};
}

} // namespace

FailingCalls::FailingCalls(std::string library) : library_{std::move(library)} {
    const MCPStdio::Descriptor file{
        ::open((folder_ / "plan").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR)};
    if (!file || ::ftruncate(file.get(), sizeof(Plan)) != 0) {
        throwLastError("cannot make a plan");
    }
    void* const memory =
        ::mmap(nullptr, sizeof(Plan), PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (memory == MAP_FAILED) {
        throwLastError("cannot map a plan");
    }
    plan_ = static_cast<Plan*>(memory); // all zero: not armed
}

FailingCalls::~FailingCalls() {
    ::munmap(plan_, sizeof(Plan));
}

std::map<std::string, std::string> FailingCalls::environment() const {
    return {{"LD_PRELOAD", library_}, {"FAILING_CALLS_PLAN", folder_ / "plan"}};
}

void FailingCalls::arm(const Failures& failures) {
    plan_->isArmed = false;
    plan_->counted = 0;
    plan_->failed = 0;
    plan_->changed = false;
    plan_->calls = failures.calls;
    plan_->error = failures.error;
    plan_->effect = failures.effect;
    plan_->afterChange = failures.afterChange;
    plan_->skip = failures.skip;
    plan_->count = failures.count;
    plan_->exchangeError = failures.exchangeError;
    plan_->namelessError = failures.namelessError;
    put(plan_->part, failures.part);
    put(plan_->program, failures.program);
    plan_->isArmed = true;
}

void FailingCalls::startRecord() {
    put(plan_->record, folder_ / "record");
    std::filesystem::remove(folder_.path() / "record");
    plan_->isRecording = true;
}

std::string FailingCalls::takeRecord() {
    plan_->isRecording = false;
    return support::readFile(folder_.path() / "record");
}

} // namespace velmiro::test
