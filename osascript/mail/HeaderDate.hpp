#pragma once

#include <optional>
#include <string_view>

namespace velmiro::osascript {

/// Reads a date of a message header (RFC 5322, obsolete forms too), in milliseconds since 1970.
/// Returns nullopt for any other text, and for a date that does not exist. A leap second is the
/// second before it, and an unknown zone UTC.
std::optional<double> headerDate(std::string_view text);

/// Returns when a message was received, in milliseconds since 1970: when the last server took it
/// in, or else when it was sent, or else `latest`. A date after `now` is not believed, and the
/// result is never after `latest`.
double receivedDate(std::string_view header, double latest, double now);

/// Returns when a message was delivered, in milliseconds since 1970, if its file's name says so: it
/// begins with nine or ten digits and a dot, and they are the seconds of a time since 1990 that is
/// at most a day after `now`.
std::optional<double> deliveryDate(std::string_view name, double now);

/// Returns the latest date at which a message can have been received, as far as its file's name
/// tells: a day after its delivery, since clocks differ; infinity if the name tells nothing.
double latestByName(std::string_view name, double now);

} // namespace velmiro::osascript
