#include "tests/faults/Tally.hpp"

#include <gtest/gtest.h>
#include <iostream>
#include <map>

namespace velmiro::test {
namespace {

std::map<std::string, Tally>& tallies() {
    static std::map<std::string, Tally> all;
    return all;
}

/// Prints the tallies after the last test.
class Summary : public testing::Environment {
public:
    void TearDown() override {
        for (const auto& [suite, tally] : tallies()) {
            std::cout << "tally " << suite << ' ' << tally.tried << ' ' << tally.wrong;
            for (const std::string& tool : tally.tools) {
                std::cout << ' ' << tool;
            }
            std::cout << '\n';
        }
    }
};

const auto* const registered = testing::AddGlobalTestEnvironment(new Summary);

} // namespace

Tally& tallyOf(const std::string& suite) {
    return tallies()[suite];
}

} // namespace velmiro::test
