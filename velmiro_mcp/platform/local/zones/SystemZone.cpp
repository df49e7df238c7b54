#include "velmiro_mcp/platform/local/zones/SystemZone.hpp"

#include "velmiro_mcp/platform/local/files/Files.hpp"
#include "velmiro_mcp/platform/local/zones/TZString.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace velmiro::local {
namespace {

using std::chrono::seconds;

/// Reads the big-endian numbers of a TZif file, never past its end.
class BigEndianReader {
public:
    explicit BigEndianReader(std::string_view data) : data_{data} {}

    [[nodiscard]] bool failed() const { return failed_; }
    [[nodiscard]] std::string_view rest() const { return data_; }

    std::string_view bytes(std::size_t count) {
        if (failed_ || count > data_.size()) {
            failed_ = true;
            return {};
        }
        const auto taken = data_.substr(0, count);
        data_.remove_prefix(count);
        return taken;
    }

    template <typename Number>
    Number number() {
        std::uint64_t value = 0;
        for (const char byte : bytes(sizeof(Number))) {
            value = value << 8 | static_cast<unsigned char>(byte);
        }
        return static_cast<Number>(value);
    }

private:
    std::string_view data_;
    bool failed_ = false;
};

struct Header {
    char version = 0;
    std::size_t utcFlags = 0;
    std::size_t standardFlags = 0;
    std::size_t leaps = 0;
    std::size_t times = 0;
    std::size_t types = 0;
    std::size_t letters = 0;
    bool valid = false;

    explicit Header(BigEndianReader& data) {
        const bool magic = data.bytes(4) == "TZif";
        const auto written = data.bytes(16);
        version = written.empty() ? '\0' : written.front();
        for (auto* field : {&utcFlags, &standardFlags, &leaps, &times, &types, &letters}) {
            *field = data.number<std::uint32_t>();
        }
        valid = magic && !data.failed();
    }

    /// Returns the size of the data that follow the header, if times have `width` bytes.
    [[nodiscard]] std::size_t bodySize(std::size_t width) const {
        return times * (width + 1) + types * 6 + letters + leaps * (width + 4) + standardFlags +
               utcFlags;
    }
};

} // namespace

bool isZoneName(std::string_view name) {
    const auto plain = [](char letter) {
        return (letter >= 'A' && letter <= 'Z') || (letter >= 'a' && letter <= 'z') ||
               (letter >= '0' && letter <= '9') || letter == '-' || letter == '_' ||
               letter == '+' || letter == '/';
    };
    // The folder `right` contains zones that count leap seconds.
    return !name.empty() && name.size() < 64 && name.front() != '/' &&
           !name.starts_with("right/") && std::ranges::all_of(name, plain);
}

std::shared_ptr<const Zone> zoneFromTZif(std::string_view data) {
    BigEndianReader file{data};
    Header header{file};
    if (!header.valid || header.version < '2') {
        return nullptr; // version 1 ends in 2037, and has not been written for years
    }
    file.bytes(header.bodySize(4));
    header = Header{file};
    BigEndianReader body{file.bytes(header.bodySize(8))};
    if (!header.valid || file.failed() || header.types == 0) {
        return nullptr;
    }
    std::vector<UTCTime> times;
    times.reserve(header.times);
    for (std::size_t index = 0; index < header.times; ++index) {
        times.emplace_back(seconds{body.number<std::int64_t>()});
    }
    const auto kinds = body.bytes(header.times);
    std::vector<seconds> offsets;
    for (std::size_t index = 0; index < header.types; ++index) {
        offsets.emplace_back(body.number<std::int32_t>());
        body.bytes(2);
    }
    std::vector<Zone::Change> changes;
    for (std::size_t index = 0; index < times.size(); ++index) {
        const auto kind = static_cast<unsigned char>(kinds[index]);
        if (kind >= offsets.size()) {
            return nullptr;
        }
        changes.push_back({times[index], offsets[kind]});
    }
    auto footer = file.rest();
    if (footer.size() > 2 && footer.front() == '\n') {
        footer = footer.substr(1, footer.find('\n', 1) - 1);
        const UTCTime last = times.empty()
                                 ? UTCTime{std::chrono::sys_days{std::chrono::year{1900} / 1 / 1}}
                                 : times.back();
        const std::chrono::year_month_day date{std::chrono::floor<std::chrono::days>(last)};
        for (const Zone::Change& change : changesOfTZString(footer, int{date.year()})) {
            if (change.at > last) {
                changes.push_back(change);
            }
        }
    }
    return std::make_shared<const Zone>(offsets.front(), std::move(changes));
}

std::shared_ptr<const Zone> systemZone(std::string_view name, const std::string& folder) {
    if (!isZoneName(name)) {
        return nullptr;
    }
    constexpr std::size_t largest = 1 << 20;
    const auto data = readRegularFile(folder + "/" + std::string{name}, largest);
    return data ? zoneFromTZif(*data) : nullptr;
}

} // namespace velmiro::local
