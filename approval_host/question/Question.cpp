#include "approval_host/question/Question.hpp"

#include "MCPStdio/json/JSONValue.hpp"
#include "approval_host/question/VisibleText.hpp"

namespace velmiro::host {

namespace {

constexpr std::size_t longestTool = 64;
/// About six rows of a terminal. Nobody who is asked reads more.
constexpr std::size_t longestSummary = 500;

std::optional<std::string_view> text(const MCPStdio::JSONValue& object, const char* key) {
    const MCPStdio::JSONValue* member = object[key];
    return member == nullptr ? std::nullopt : member->stringValue();
}

} // namespace

std::optional<Question> parseQuestion(std::string_view line) {
    try {
        const auto sent = MCPStdio::JSONValue::parse(line);
        const auto tool = text(sent, "tool");
        const auto summary = text(sent, "summary");
        if (!tool || !summary) {
            return std::nullopt;
        }
        return Question{visibleName(*tool, longestTool), visibleText(*summary, longestSummary)};
    } catch (const MCPStdio::JSONError&) {
        return std::nullopt;
    }
}

} // namespace velmiro::host
