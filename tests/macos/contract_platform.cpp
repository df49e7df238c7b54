#include "tests/contract/PlatformUnderTest.hpp"
#include "tests/macos/standin/StandIn.hpp"

// The macOS platform over stand-ins for its frameworks, which serve the home's files.

namespace velmiro::test {

std::string_view whyNot(Ability ability) {
    switch (ability) {
    case Ability::charactersOfEmoji:
        return "GNUstep's Foundation joins marks to letters only, not emoji to each other";
    case Ability::accentsInNames:
        return "GNUstep's localized comparison without case is one without accents too";
    case Ability::textFromByteOrderMark:
        return "GNUstep's NSString drops a byte order mark at its beginning";
    case Ability::applicationSupportName:
        return "GNUstep keeps what is the applications' in a folder of another name";
    case Ability::startingPrograms:
        return "this kernel has no posix_spawn that takes the caller's place: the macOS platform's "
               "start of programs is compiled and linked, not run, here";
    }
    return {};
}

void beginAnew() {
    StandIn::shared().reset();
}

} // namespace velmiro::test
