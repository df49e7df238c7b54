#pragma once

#include "tests/theorem/Random.hpp"

#include <string>

namespace velmiro::theorem {

/// A host's reply: one line, of which it is known how it was made whether it is a yes.
struct Reply {
    std::string line; ///< ends with its line feed, and contains no other
    bool isYes = false;
};

/// Returns a reply of a random kind: the plain ones, other JSON, JSON with further members, spoilt
/// and torn text, lines around the size of a read, and floods.
Reply randomReply(Random& random);

/// Returns a plain yes or no.
Reply plainReply(bool isYes);

} // namespace velmiro::theorem
