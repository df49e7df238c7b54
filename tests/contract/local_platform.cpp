#include "tests/contract/PlatformUnderTest.hpp"

// The local platform reads the home's files, and lacks no ability.

namespace velmiro::test {

std::string_view whyNot(Ability) {
    return {};
}

void resetPlatform() {}

} // namespace velmiro::test
