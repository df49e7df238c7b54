// JSON: what was read is written, read again, and is the same.

#include "MCPStdio/json/JSONReader.hpp"
#include "MCPStdio/json/JSONValue.hpp"
#include "MCPStdio/text/UTF8.hpp"
#include "tests/fuzz/Fuzz.hpp"

using namespace velmiro::fuzz;
using MCPStdio::JSONValue;

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    try {
        const auto value = JSONValue::parse(textOf(bytes, size));
        const std::string written = value.jsonString();
        require(MCPStdio::isValidUTF8(written), "JSON is written in UTF-8");
        const auto again = JSONValue::parse(written);
        require(again == value, "a value reads back as itself");
        require(again.jsonString() == written, "and is written alike");
        JSONValue copy;
        copy = value;
        require(copy == value, "a copy is equal");
    } catch (const MCPStdio::JSONError&) {
        return 0; // it is not JSON
    }
    return 0;
}
