/// The first sample of a four-byte pixel, which belongs to no channel.
#ifndef KYFOCUS_ALIGNMENT_UNUSED_SAMPLE_H
#define KYFOCUS_ALIGNMENT_UNUSED_SAMPLE_H

#include <cstddef>
#include <cstdint>

namespace kyf {

/// Frames move by their channels. A moved frame is a new image, whose unused samples are 0 whatever the frame's were.
inline void ClearUnusedInRow(std::uint8_t* row, std::int32_t width, std::int32_t pixelBytes) noexcept {
    constexpr std::int32_t fourBytes = 4;
    if (pixelBytes != fourBytes) return;
    for (std::int32_t x = 0; x < width; ++x) row[std::ptrdiff_t{x} * fourBytes] = 0;
}

} // namespace kyf

#endif
