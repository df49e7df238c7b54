#include "tests/neighbours/Item.hpp"

#include "support/Files.hpp"

namespace velmiro::neighbours {
namespace {

const std::string begin = "BEGIN:VCALENDAR\r\n";
const std::string end = "END:VTODO\r\nEND:VCALENDAR\r\n";
const std::string number = "X-NUMBER:";
constexpr std::size_t digits = 9;

} // namespace

std::string digitsOf(unsigned value) {
    const std::string text = std::to_string(value);
    return std::string(digits - text.size(), '0') + text;
}

std::string itemText(const std::string& uid, unsigned value) {
    return begin + "VERSION:2.0\r\nPRODID:-//t//EN\r\nBEGIN:VTODO\r\nUID:" + uid +
           "\r\nDTSTAMP:20260901T080000Z\r\nSUMMARY:Shared " + uid + "\r\n" + number +
           digitsOf(value) + "\r\n" + end;
}

bool isWhole(const std::string& text) {
    return text.starts_with(begin) && text.ends_with(end);
}

std::size_t placeOfNumber(const std::string& text) {
    const auto at = text.find(number);
    return at == std::string::npos ? at : at + number.size();
}

std::optional<unsigned> numberIn(const std::string& text) {
    const auto at = placeOfNumber(text);
    if (!isWhole(text) || at == std::string::npos) {
        return std::nullopt;
    }
    return static_cast<unsigned>(std::stoul(text.substr(at, digits)));
}

void replaceByRename(const std::filesystem::path& file, const std::string& text) {
    const auto hidden = file.parent_path() / ("." + file.filename().string() + ".tmp");
    support::writeFile(hidden, text);
    std::filesystem::rename(hidden, file);
}

} // namespace velmiro::neighbours
