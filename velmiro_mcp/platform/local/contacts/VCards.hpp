#pragma once

#include "velmiro_mcp/platform/local/contacts/VCard.hpp"

#include <cstddef>
#include <string>
#include <vector>

/// The people and companies in a vCard file.
namespace velmiro::local {

struct ContactFile {
    std::vector<StoredContact> contacts; ///< in the order of the file, at most `mostCards`
};

inline constexpr std::size_t mostCards = 200'000;

/// Returns roughly how many bytes of memory the file takes.
std::size_t memoryOf(const ContactFile& file);

/// Reads all complete cards of a file. A card without a UID is identified by `name`, the file's
/// own, and from the second such card on by its number too. Cards that name nobody, and those of
/// groups, are left out.
ContactFile readContactFile(std::string bytes, const std::string& name);

} // namespace velmiro::local
