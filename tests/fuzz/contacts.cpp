// Files of vCards.

#include "MCPStdio/text/UTF8.hpp"
#include "tests/fuzz/Fuzz.hpp"
#include "velmiro_mcp/platform/local/contacts/VCards.hpp"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    using namespace velmiro;
    const auto file = local::readContactFile(std::string{fuzz::textOf(bytes, size)}, "card.vcf");
    fuzz::require(file.contacts.size() <= local::mostCards, "a file has a bounded number of cards");
    fuzz::require(local::memoryOf(file) <= 4096 + 64 * size, "cards need memory like their file");
    return 0;
}
