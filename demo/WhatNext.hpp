#pragma once

#include "demo/Transcript.hpp"

#include <filesystem>

namespace velmiro::demo {

/// Tells how to use the programs in `binaries`, an absolute path, with a client's configuration
/// that is ready to paste.
void tellWhatNext(Transcript& transcript, const std::filesystem::path& binaries, bool thereIsMore);

} // namespace velmiro::demo
