#include "tests/macos/standin/Objects.hpp"

#include <cmath>

namespace velmiro::test {

NSString* stringOf(const std::string& text) {
    return [[[NSString alloc] initWithBytes:text.data()
                                     length:text.size()
                                   encoding:NSUTF8StringEncoding] autorelease];
}

std::string textOf(NSString* string) {
    if (string == nil) {
        return "nil";
    }
    NSData* const data = [string dataUsingEncoding:NSUTF8StringEncoding];
    return {static_cast<const char*>(data.bytes), data.length};
}

NSDate* dateOf(const std::optional<Instant>& instant) {
    if (!instant) {
        return nil;
    }
    const auto milliseconds = static_cast<double>(instant->time_since_epoch().count());
    return [NSDate dateWithTimeIntervalSince1970:milliseconds / 1000];
}

std::optional<Instant> instantOf(NSDate* date) {
    if (date == nil) {
        return std::nullopt;
    }
    return Instant{std::chrono::milliseconds{std::llround(date.timeIntervalSince1970 * 1000)}};
}

std::string secondsOf(NSDate* date) {
    return date == nil ? "nil" : std::to_string(std::llround(date.timeIntervalSince1970));
}

void begin(const std::string& call) {
    StandIn::shared().count(call);
    const auto& raises = StandIn::shared().raises;
    const auto reason = raises.find(call);
    if (reason != raises.end()) {
        raise(reason->second);
    }
}

void begin(const std::string& call, const std::string& arguments) {
    StandIn::shared().note(arguments.empty() ? call : call + " " + arguments);
    begin(call);
}

bool isNil(const std::string& property, const std::string& identifier) {
    begin(property);
    begin(property + " " + identifier);
    const auto& nils = StandIn::shared().nils;
    return nils.contains(property) || nils.contains(property + " " + identifier);
}

NSError* errorWith(const std::string& description) {
    NSDictionary* const information = [NSDictionary dictionaryWithObject:stringOf(description)
                                                                  forKey:NSLocalizedDescriptionKey];
    return [NSError errorWithDomain:@"StandIn" code:1 userInfo:information];
}

bool isRefused(const std::string& call, NSError** error) {
    const auto& errors = StandIn::shared().errors;
    const auto description = errors.find(call);
    if (description != errors.end()) {
        *error = errorWith(description->second);
        return true;
    }
    return StandIn::shared().refusals.contains(call);
}

void raise(const std::string& reason) {
    @throw [NSException exceptionWithName:NSInvalidArgumentException
                                   reason:stringOf(reason)
                                 userInfo:nil];
}

} // namespace velmiro::test
