/// What a pixel format word says.
#ifndef KYFOCUS_IMAGING_FORMATS_H
#define KYFOCUS_IMAGING_FORMATS_H

#include <cstdint>

namespace kyi {

struct FormatInfo {
    std::int32_t PixelBytes; ///< 0 for an unknown word
    bool IsBgr;
    bool IsWide; ///< 16 bits a sample
};

/// The traits of a word; PixelBytes 0 for one that is unknown.
FormatInfo FindFormat(std::int32_t format) noexcept;

} // namespace kyi

#endif
