#include "velmiro_mcp/platform/local/libraries/SharedLibrary.hpp"

#include "velmiro_mcp/ports/PlatformError.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <unistd.h>

/// Renamed as in ICU's headers, to a name that no library has.
#define velmiro_renamed velmiro_renamed_72
int velmiro_renamed(int number);

namespace velmiro::local {
namespace {

std::string messageOf(const std::function<void()>& load) {
    try {
        load();
    } catch (const PlatformError& error) {
        return error.what();
    }
    return "(loaded)";
}

struct C {
    SharedLibrary library{"C", "libc.so.6"};
    VELMIRO_LIBRARY_FUNCTION(atoi);
    VELMIRO_LIBRARY_FUNCTION(getpid);
};

TEST(LocalSharedLibrary, ItsFunctionsAreThoseOfTheLibrary) {
    const C loaded;
    EXPECT_EQ(loaded.atoi("42"), 42);
    EXPECT_EQ(loaded.getpid(), ::getpid());
}

TEST(LocalSharedLibrary, StaysLoadedWhenItsDescriptionIsDestroyed) {
    const auto toNumber = C{}.atoi;
    EXPECT_EQ(toNumber("42"), 42);
}

TEST(LocalSharedLibrary, AMissingLibraryIsAnErrorThatNamesIt) {
    const auto message =
        messageOf([] { const SharedLibrary missing{"Lore", "liblore-of-nobody.so.7"}; });
    EXPECT_TRUE(message.starts_with("Lore could not be loaded: liblore-of-nobody.so.7: "))
        << message;
    EXPECT_EQ(message.find("no reason"), std::string::npos) << message;
}

TEST(LocalSharedLibrary, AMissingFunctionIsAnErrorThatNamesIt) {
    struct WithRenamed {
        SharedLibrary library{"C", "libc.so.6"};
        VELMIRO_LIBRARY_FUNCTION(velmiro_renamed);
    };
    const auto message = messageOf([] { const WithRenamed incomplete; });
    EXPECT_TRUE(message.starts_with("C could not be loaded: ")) << message;
    EXPECT_NE(message.find("undefined symbol: velmiro_renamed_72"), std::string::npos) << message;
}

} // namespace
} // namespace velmiro::local
