#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace velmiro::osascript {

/// A link, `[label](address "title")`, or an image without its `!`. These are indexes into the
/// text.
struct MarkdownLink {
    std::size_t labelBegin;
    std::size_t labelEnd;
    std::size_t end;
};

/// Returns the link that begins with the `[` at an index; nullopt if none does. Its label may hold
/// images, and no other brackets without a backslash.
std::optional<MarkdownLink> markdownLink(std::string_view text, std::size_t bracket);

/// Returns the length of `<https://…>` at the beginning of a text, which begins with `<`; zero if
/// there is none.
std::size_t bareAddressLength(std::string_view text);

} // namespace velmiro::osascript
