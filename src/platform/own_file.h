/// Files that a program keeps for itself: written for their owner alone, and not read when another user could have
/// written them.
#ifndef KYFOCUS_PLATFORM_OWN_FILE_H
#define KYFOCUS_PLATFORM_OWN_FILE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace platform {

/// The whole file. Nothing when it cannot be read, is larger than `mostBytes`, is a link, pipe or device, belongs to
/// somebody else than this user or root, or may be written by others. Throws std::bad_alloc.
std::optional<std::vector<std::uint8_t>> ReadOwnFile(const wchar_t* path, std::size_t mostBytes);

/// Puts a file that only its owner may open in the place of what has the name; a link is itself replaced. The file is
/// there as a whole or empty. False when it cannot be written. Throws std::bad_alloc.
bool WriteOwnFile(const wchar_t* path, const void* data, std::size_t bytes);

} // namespace platform

#endif
