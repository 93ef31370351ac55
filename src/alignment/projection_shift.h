/// State of projection shift, the alignment of the 3D pipeline by displacement of two profiles.
#ifndef KYFOCUS_ALIGNMENT_PROJECTION_SHIFT_H
#define KYFOCUS_ALIGNMENT_PROJECTION_SHIFT_H

#include <cstdint>

#include <kyfocus/alignment.h>

/// All figures in pixels. Held by the session as ProjectionShift.
struct KyfProjectionShift {
    KyiImageData* PreviousFrame; ///< the previous frame as it came in, not moved; owned
    std::int32_t TotalX;         ///< running displacement
    std::int32_t TotalY;
    std::int32_t MaxPositiveX; ///< greatest positive totals so far
    std::int32_t MaxPositiveY;
    std::int32_t MaxNegativeX; ///< greatest magnitudes of negative totals so far
    std::int32_t MaxNegativeY;
};

#endif
