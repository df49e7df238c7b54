#include "bench/Replies.hpp"

#include "bench/Load.hpp"

#include <stdexcept>
#include <vector>

namespace velmiro::bench {

using MCPStdio::JSONValue;

namespace {

[[noreturn]] void fail(const char* what, std::string_view reply) {
    throw std::runtime_error{std::string{what} + ": " + std::string{reply.substr(0, 300)}};
}

} // namespace

JSONValue resultOf(std::string_view reply) {
    const JSONValue message = JSONValue::parse(reply);
    const JSONValue* result = message["result"];
    if (result == nullptr) {
        fail("a reply without a result", reply);
    }
    return *result;
}

std::span<const JSONValue> elementsOf(const JSONValue* array) {
    const auto elements = array != nullptr ? array->arrayValue() : std::nullopt;
    if (!elements) {
        throw std::runtime_error{"an answer lacks a list"};
    }
    return *elements;
}

std::string textOf(const JSONValue* text) {
    const auto value = text != nullptr ? text->stringValue() : std::nullopt;
    if (!value) {
        throw std::runtime_error{"an answer lacks a text"};
    }
    return std::string{*value};
}

void check(std::string_view replies, int count, const Expected& expected) {
    std::vector<bool> seen(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < seen.size(); ++i) {
        const auto line = replies.substr(i * expected.length, expected.length);
        if (line.find('\n') != expected.length - 1) {
            fail("a reply of another length", line);
        }
        if (!expected.result) {
            continue;
        }
        const JSONValue message = JSONValue::parse(line);
        const JSONValue* id = message["id"];
        const JSONValue* result = message["result"];
        if (id == nullptr || result == nullptr || *result != *expected.result) {
            fail("a reply that is not the one expected", line);
        }
        const auto index = id->intValue().value_or(0) - Request::firstID;
        if (index < 0 || index >= count || seen[static_cast<std::size_t>(index)]) {
            fail("a reply twice, or to no request", line);
        }
        seen[static_cast<std::size_t>(index)] = true;
    }
}

} // namespace velmiro::bench
