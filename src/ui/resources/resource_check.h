/// Whether a binary resource file can be handed to Qt, which takes what is in it on trust.
#ifndef KYFOCUS_UI_RESOURCE_CHECK_H
#define KYFOCUS_UI_RESOURCE_CHECK_H

#include <cstddef>
#include <cstdint>
#include <span>

namespace kyfui {

/// Largest file, and largest sum of all names and unpacked contents, in bytes.
inline constexpr std::size_t kLargestResource = std::size_t{16} << 20;

/// True when every node, name and content that the file speaks of lies inside it, each node below one folder. Entries
/// are plain or compressed with zlib; others are refused. Throws std::bad_alloc.
bool IsSoundResource(std::span<const std::uint8_t> file);

} // namespace kyfui

#endif
