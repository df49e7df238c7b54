#pragma once

#include "velmiro_mcp/platform/local/contacts/VCard.hpp"

#include <cstddef>
#include <string>
#include <vector>

/// People and companies as a file of cards says them.
namespace velmiro::local {

struct ContactFile {
    std::vector<StoredContact> contacts; ///< in the order of the file, no more than `mostCards`
};

inline constexpr std::size_t mostCards = 200'000;

/// About how many bytes of memory it takes.
std::size_t memoryOf(const ContactFile& file);

/// Reads all cards of a file that are complete. A card without a UID is identified by `name`, the
/// file's own, and from the second on by its number. Cards that name nobody, and those of groups,
/// are left out.
ContactFile readContactFile(std::string bytes, const std::string& name);

} // namespace velmiro::local
