#include "osascript/message/TextLayout.hpp"

#include <algorithm>
#include <utility>

namespace velmiro::osascript {
namespace {

using namespace std::string_view_literals;

constexpr auto whiteSpace = " \t\r\n\f"sv;

/// Deeper ones are not shown, or a line of one character could become as long as a page.
constexpr std::size_t mostPrefixes = 20;

void removeTrailingBlanks(std::string& text, std::size_t begin) {
    const std::size_t last = text.find_last_not_of(' ');
    text.resize(std::max(begin, last == std::string::npos ? 0 : last + 1));
}

} // namespace

void TextLayout::addText(std::string_view text) {
    while (!text.empty()) {
        const std::size_t word = std::min(text.find_first_not_of(whiteSpace), text.size());
        blankPending_ = blankPending_ || word > 0;
        text.remove_prefix(word);
        const std::size_t end = std::min(text.find_first_of(whiteSpace), text.size());
        add(text.substr(0, end));
        text.remove_prefix(end);
    }
}

void TextLayout::addPreformatted(std::string_view text) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        add(text.substr(0, end));
        text.remove_prefix(end);
        if (!text.empty()) {
            breakLine();
            text.remove_prefix(1);
        }
    }
}

void TextLayout::addWord(std::string_view word) {
    addBlank();
    add(word);
    addBlank();
}

void TextLayout::separate(std::size_t lineBreaks) {
    lineBreaks_ = std::max(lineBreaks_, lineBreaks);
}

void TextLayout::openPrefix(std::string first, std::string rest) {
    if (++openPrefixes_ <= mostPrefixes) {
        prefixes_.push_back({std::move(first), std::move(rest)});
    }
}

void TextLayout::closePrefix() {
    if (--openPrefixes_ < mostPrefixes) {
        prefixes_.pop_back();
    }
    sharedPrefixes_ = std::min(sharedPrefixes_, prefixes_.size());
}

void TextLayout::record() {
    isRecording_ = true;
    record_.clear();
}

std::string TextLayout::recorded() {
    isRecording_ = false;
    return std::move(record_);
}

void TextLayout::add(std::string_view text) {
    if (text.empty()) {
        return;
    }
    if (lineBreaks_ > 0 || isAtLineStart_) {
        beginLine();
    } else if (blankPending_) {
        text_ += ' ';
    }
    if (isRecording_) {
        record_ += blankPending_ && !record_.empty() ? " " : "";
        record_ += text;
    }
    text_ += text;
    blankPending_ = false;
    isAtLineStart_ = false;
    sharedPrefixes_ = prefixes_.size();
}

void TextLayout::beginLine() {
    if (!text_.empty()) {
        text_.append(1, '\n');
        for (std::size_t blank = 1; blank < lineBreaks_; ++blank) {
            const std::size_t begin = text_.size();
            for (std::size_t i = 0; i < sharedPrefixes_; ++i) {
                text_ += prefixes_[i].rest;
            }
            removeTrailingBlanks(text_, begin);
            text_ += '\n';
        }
    }
    lineBreaks_ = 0;
    for (Prefix& prefix : prefixes_) {
        text_ += prefix.isUsed ? prefix.rest : prefix.first;
        prefix.isUsed = true;
    }
}

} // namespace velmiro::osascript
