#include "osascript/dictionary/Comparison.hpp"

#include "osascript/text/Folding.hpp"
#include "velmiro_mcp/platform/local/libraries/UTF16.hpp"

#include <compare>
#include <type_traits>

namespace velmiro::osascript {

namespace {

/// Returns a text in the form in which equal characters are equal units.
std::u16string composed(std::string_view text) {
    std::u16string units = local::utf16(text);
    if (local::isASCII(text)) {
        return units;
    }
    const auto& icu = local::icuCommon();
    UErrorCode status = U_ZERO_ERROR;
    const UNormalizer2* const form = icu.unorm2_getNFCInstance(&status);
    return local::fromICU(units.size() + 16, [&](char16_t* to, std::int32_t size,
                                                 UErrorCode* problem) {
        return icu.unorm2_normalize(form, units.data(), local::lengthOf(units), to, size, problem);
    });
}

/// Returns how a value compares with another; unordered if their types differ or have no order.
std::partial_ordering compared(const Value& value, const Value& wanted) {
    if (value.index() != wanted.index()) {
        return std::partial_ordering::unordered;
    }
    return std::visit(
        [&](const auto& having) -> std::partial_ordering {
            using Type = std::decay_t<decltype(having)>;
            const auto& than = std::get<Type>(wanted);
            if constexpr (std::is_same_v<Type, std::string>) {
                return having == than ? std::strong_ordering::equal
                                      : composed(having) <=> composed(than);
            } else if constexpr (std::is_same_v<Type, std::nullptr_t> ||
                                 std::is_same_v<Type, ObjectPointer>) {
                return std::partial_ordering::unordered;
            } else {
                return having <=> than;
            }
        },
        value);
}

} // namespace

bool isTextual(Operator operation) noexcept {
    return operation == Operator::contains || operation == Operator::beginsWith ||
           operation == Operator::endsWith;
}

bool fulfils(const Value& value, const Condition& condition) {
    if (isTextual(condition.operation)) {
        const auto* const text = std::get_if<std::string>(&value);
        if (text == nullptr) {
            return false;
        }
        const std::string having = folded(*text);
        switch (condition.operation) {
        case Operator::beginsWith:
            return having.starts_with(condition.folded);
        case Operator::endsWith:
            return having.ends_with(condition.folded);
        default:
            return having.find(condition.folded) != std::string::npos;
        }
    }
    const auto order = compared(value, condition.wanted);
    switch (condition.operation) {
    case Operator::greater:
        return order > 0;
    case Operator::greaterOrEqual:
        return order >= 0;
    case Operator::less:
        return order < 0;
    case Operator::lessOrEqual:
        return order <= 0;
    default:
        return order == 0;
    }
}

} // namespace velmiro::osascript
