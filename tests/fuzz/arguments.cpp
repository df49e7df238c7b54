// The arguments of a call, as every accessor reads them.

#include "velmiro_mcp/AppleTools/Arguments.hpp"
#include "MCPStdio/MCPTool.hpp"
#include "MCPStdio/json/JSONReader.hpp"
#include "tests/fuzz/Fuzz.hpp"
#include "velmiro_mcp/base/Text.hpp"

#include <algorithm>

namespace {

using namespace velmiro;
using fuzz::require;

template <typename Read>
void attempt(const Read& read) {
    try {
        read();
    } catch (const MCPStdio::MCPToolError&) {
        return; // a value that it refuses
    }
}

bool isTrimmed(std::string_view text) {
    return !text.empty() && trim(text) == text;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    JSONValue arguments;
    try {
        arguments = JSONValue::parse(fuzz::textOf(bytes, size));
    } catch (const MCPStdio::JSONError&) {
        return 0;
    }
    constexpr std::string_view name = "a";
    attempt([&] { require(isTrimmed(requiredString(name, arguments)), "a text is trimmed"); });
    attempt([&] {
        const auto text = optionalString(name, arguments);
        require(!text || isTrimmed(*text), "an optional text is trimmed");
    });
    attempt([&] {
        const auto number = integer(name, arguments, {3, 1, 31});
        require(number >= 1 && number <= 31, "a number is in its range");
    });
    attempt([&] { static_cast<void>(optionalDate(name, arguments)); });
    attempt([&] { static_cast<void>(requiredDate(name, arguments)); });
    attempt([&] {
        const auto texts = stringList(name, arguments);
        require(std::ranges::none_of(texts, &std::string::empty), "a list has no empty texts");
    });
    attempt([&] { static_cast<void>(flag(name, arguments)); });
    return 0;
}
