#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace velmiro::osascript {

/// Lays out the text of a document in lines. Margins collapse: between two pieces of text are as
/// many line breaks as the largest block boundary there demands, and none at the beginning.
class TextLayout {
public:
    /// Adds text in which white space of any length is one blank.
    void addText(std::string_view text);
    /// Adds text in which blanks and line breaks count.
    void addPreformatted(std::string_view text);
    /// Adds a word after a blank.
    void addWord(std::string_view word);
    /// Adds text directly after the last, on the same line.
    void appendToLast(std::string_view text) { text_ += text; }

    void breakLine() { ++lineBreaks_; }
    /// Begins or ends a block, which is at least this many line breaks away from its neighbour.
    void separate(std::size_t lineBreaks);
    /// Separates what follows from the last word, if that is on the same line.
    void addBlank() { blankPending_ = true; }

    /// From here on, every line begins with `rest`, but the first one with `first`.
    void openPrefix(std::string first, std::string rest);
    void closePrefix();

    /// Records text until `recorded`, which returns it.
    void record();
    std::string recorded();

    /// Returns the whole text, without a line break at its end.
    std::string take() { return std::move(text_); }

private:
    struct Prefix {
        std::string first;
        std::string rest;
        bool isUsed = false;
    };

    void add(std::string_view text);
    void beginLine();

    std::string text_;
    std::string record_;
    bool isRecording_ = false;
    bool isAtLineStart_ = true;
    bool blankPending_ = false;
    std::size_t lineBreaks_ = 0; ///< before the next text
    std::vector<Prefix> prefixes_;
    std::size_t openPrefixes_ = 0;
    std::size_t sharedPrefixes_ = 0; ///< those that were open all the time since the last text
};

} // namespace velmiro::osascript
