#include "support/ScopedVariable.hpp"

#include <cstdlib>
#include <ctime>
#include <utility>

namespace velmiro::support {
namespace {

void setVariable(const std::string& name, const char* value) {
    if (value != nullptr) {
        ::setenv(name.c_str(), value, 1);
    } else {
        ::unsetenv(name.c_str());
    }
    ::tzset();
}

} // namespace

ScopedVariable::ScopedVariable(std::string name, const char* value) : name_{std::move(name)} {
    if (const char* before = std::getenv(name_.c_str())) {
        before_ = before;
    }
    setVariable(name_, value);
}

ScopedVariable::~ScopedVariable() {
    setVariable(name_, before_ ? before_->c_str() : nullptr);
}

} // namespace velmiro::support
