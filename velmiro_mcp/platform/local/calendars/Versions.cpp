#include "velmiro_mcp/platform/local/calendars/Versions.hpp"

#include "velmiro_mcp/platform/local/time/Zone.hpp"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <tuple>

namespace velmiro::local {
namespace {

/// Identifies an item. The same occurrence may be named in UTC and in a zone. A floating time is a
/// different one, because it depends on the user's zone.
struct ItemKey {
    enum class Form { whole, date, floating, instant };

    std::string_view uid;
    Form form = Form::whole;
    std::int64_t time = 0;

    explicit ItemKey(const ItemVersion& version) : uid{version.uid} {
        if (!version.occurrence) {
            return;
        }
        const Moment& moment = *version.occurrence;
        time = moment.civil.time_since_epoch().count();
        form = moment.isDate ? Form::date : Form::floating;
        if (moment.zone && !moment.isDate) {
            form = Form::instant;
            time = moment.zone->instantOf(moment.civil).time_since_epoch().count();
        }
    }

    friend auto operator<=>(const ItemKey&, const ItemKey&) = default;
};

using Rank = std::tuple<std::int64_t, CivilTime, CivilTime>;

Rank rankOf(const Component& component) {
    const auto timeOf = [&](std::string_view name) {
        const auto moment =
            readMoment(component, name, [](std::string_view) { return Zone::utc(); });
        return moment ? moment->civil : CivilTime::min();
    };
    return {sequenceOf(component), timeOf("DTSTAMP"), timeOf("LAST-MODIFIED")};
}

} // namespace

std::int64_t sequenceOf(const Component& component) {
    const std::string_view text = readWord(component, "SEQUENCE");
    std::int64_t sequence = 0;
    std::from_chars(text.data(), text.data() + text.size(), sequence);
    return sequence;
}

std::vector<bool> supersededVersions(const std::vector<ItemVersion>& versions) {
    std::vector<bool> superseded(versions.size(), false);
    if (versions.size() < 2) {
        return superseded;
    }
    const std::vector<ItemKey> keys(versions.begin(), versions.end());
    std::vector<std::size_t> order(versions.size());
    std::iota(order.begin(), order.end(), 0U);
    std::ranges::stable_sort(order, {}, [&](std::size_t index) { return keys[index]; });
    for (auto first = order.begin(); first != order.end();) {
        const auto end = std::find_if(
            first, order.end(), [&](std::size_t index) { return keys[index] != keys[*first]; });
        if (end - first > 1 && !keys[*first].uid.empty()) {
            std::size_t best = *first;
            Rank bestRank = rankOf(*versions[best].component);
            for (auto next = first + 1; next != end; ++next) {
                const Rank rank = rankOf(*versions[*next].component);
                const bool isLater = rank >= bestRank;
                superseded[isLater ? best : *next] = true;
                if (isLater) {
                    best = *next;
                    bestRank = rank;
                }
            }
        }
        first = end;
    }
    return superseded;
}

} // namespace velmiro::local
