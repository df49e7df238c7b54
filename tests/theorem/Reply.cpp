#include "tests/theorem/Reply.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace velmiro::theorem {
namespace {

constexpr std::string_view yes = R"({"allow":true})";

constexpr std::array<std::string_view, 12> otherYeses{
    R"({"allow":true,"by":"user"})",
    R"({"tool":"reminders_create","summary":"another question","allow":true})",
    R"({"id":4711,"allow":true})",
    R"({"id":"of another question","allow":true,"jsonrpc":"2.0"})",
    R"({"allow":false,"allow":true})",
    R"({"\u0061llow":true})",
    R"({"all\u006fw" : true })",
    "\t{ \"allow\" :\ttrue }\r",
    R"({"more":{"allow":false},"allow":true})",
    R"({"allow":true,"reasons":["no",false,null,-1.5e3]})",
    R"({"Allow":false,"allow":true})",
    R"({"":false,"allow":true})",
};

constexpr std::array<std::string_view, 38> noes{
    R"({"allow":false})",
    R"({})",
    R"({"allow":1})",
    R"({"allow":1.0})",
    R"({"allow":"true"})",
    R"({"allow":"yes"})",
    R"({"allow":null})",
    R"({"allow":[true]})",
    R"({"allow":{"allow":true}})",
    R"({"allow":[]})",
    R"([true])",
    R"([{"allow":true}])",
    R"([["allow",true]])",
    R"("allow":true)",
    R"("{\"allow\":true}")",
    R"(true)",
    R"(yes)",
    R"(y)",
    "",
    " ",
    R"({"Allow":true})",
    R"({"allow ":true})",
    R"({"ALLOW":true})",
    R"({"allowed":true})",
    R"({"answer":{"allow":true}})",
    R"({"allow":true,"allow":false})",
    R"({"allow":true,"\u0061llow":false})",
    R"({"allow":true}{"allow":true})",
    R"({"allow":true},)",
    R"({"allow":true,})",
    R"({"allow":tru)",
    R"({"allow":True})",
    R"({'allow':true})",
    R"({allow:true})",
    R"({"allow":true} yes)",
    R"({"by":"user","allow":true)",
    "\xFF{\"allow\":true}",
    "{\"allow\":true,\"by\":\"\xC3\"}",
};

std::string line(std::string_view text) {
    return std::string{text} + "\n";
}

Reply otherReply(Random& random) {
    return random.percent(40) ? Reply{line(random.oneOf(otherYeses)), true}
                              : Reply{line(random.oneOf(noes)), false};
}

/// A yes without one of its bytes, or with one bit of it flipped: none of these is a yes.
Reply spoiltReply(Random& random) {
    std::string text{yes};
    const std::size_t at = random.below(text.size());
    if (random.percent(50)) {
        text.erase(at, 1);
    } else {
        const unsigned flipped = static_cast<unsigned char>(text[at]) ^ (1U << random.below(8));
        text[at] = static_cast<char>(flipped);
    }
    return {line(text), false};
}

/// A yes with white space between its parts, which changes nothing.
Reply spacedReply(Random& random) {
    std::string text;
    for (const std::string_view part : {"{", R"("allow")", ":", "true", "}", ""}) {
        for (std::size_t count = random.below(4); count > 0; --count) {
            text += random.oneOf(std::string_view{" \t\r"});
        }
        text += part;
    }
    return {line(text), true};
}

/// The beginning of one reply, and then a whole one.
Reply tornReply(Random& random) {
    return {line(std::string{yes.substr(0, random.between(1, yes.size() - 1))} + std::string{yes}),
            false};
}

/// A reply of that many bytes with the member `allow` at one end.
Reply paddedReply(Random& random, std::size_t size) {
    const bool isYes = random.percent(70);
    const std::string member = isYes ? R"("allow":true)" : R"("allow":false)";
    const std::string padding(size - std::min(size, member.size() + 15), 'x');
    const std::string more = R"("more":")" + padding + "\"";
    return {line(random.percent(50) ? "{" + member + "," + more + "}"
                                    : "{" + more + "," + member + "}"),
            isYes};
}

Reply longReply(Random& random) {
    if (random.percent(4)) {
        return paddedReply(random, random.between(300'000, 1'500'000));
    }
    // Around the ends of the client's reads, which are of 1024 bytes.
    return paddedReply(random, 1024 * random.between(1, 4) + random.between(0, 6) - 3);
}

} // namespace

Reply plainReply(bool isYes) {
    return {isYes ? line(yes) : "{\"allow\":false}\n", isYes};
}

Reply randomReply(Random& random) {
    const std::size_t kind = random.below(100);
    if (kind < 45) {
        return plainReply(random.percent(75));
    }
    if (kind < 75) {
        return otherReply(random);
    }
    if (kind < 82) {
        return spoiltReply(random);
    }
    if (kind < 88) {
        return spacedReply(random);
    }
    if (kind < 92) {
        return tornReply(random);
    }
    return longReply(random);
}

} // namespace velmiro::theorem
