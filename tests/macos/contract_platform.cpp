#include "tests/contract/PlatformUnderTest.hpp"
#include "tests/macos/standin/StandIn.hpp"

// The macOS platform over stand-ins for its frameworks, which serve the home's files.

namespace velmiro::test {

std::string_view whyNot(Ability ability) {
    switch (ability) {
    case Ability::charactersOfEmoji:
        return "GNUstep's Foundation joins combining marks to letters, but not emoji to each other";
    case Ability::accentsInNames:
        return "GNUstep's localized case-insensitive comparison ignores accents as well";
    case Ability::textFromByteOrderMark:
        return "GNUstep's NSString drops a leading byte order mark";
    case Ability::applicationSupportName:
        return "GNUstep's folder for application support has another name";
    case Ability::startingPrograms:
        return "this kernel has no posix_spawn that replaces the caller: the macOS platform's way "
               "to start programs is only compiled and linked here, not run";
    }
    return {};
}

void resetPlatform() {
    StandIn::shared().reset();
}

} // namespace velmiro::test
