/// The transform between two sets of points, and what it leaves of a frame.
#ifndef KYFOCUS_ALIGNMENT_TEMPLATE_TRANSFORM_H
#define KYFOCUS_ALIGNMENT_TEMPLATE_TRANSFORM_H

#include <array>
#include <cstdint>
#include <span>

#include <kyfocus/alignment.h>

namespace kyf {

/// Scale and shift that carry `points` of a frame to `targets`: the scale from all distances between points, the shift
/// as a mean, truncated to whole pixels. Points that coincide leave a scale that is not finite.
KyfFrameShift SolveTransform(std::span<const KyPoint> points, std::span<const KyPoint> targets, std::int32_t width,
                             std::int32_t height) noexcept;

/// The part of `common` that the frame still covers under the transform; empty rectangles are (0, 0, 0, 0).
KyfRect NarrowCommonRect(const KyfRect& common, std::int32_t width, std::int32_t height,
                         const KyfFrameShift& shift) noexcept;

/// Where an area of a stack lies, in pixels of its frames; parts may lie outside.
struct AreaRects {
    KyfRect Search;
    KyfRect Template;
};

/// @param percent  Place of the area's centre in the central 80 percent of the frame.
AreaRects PlaceArea(KyPoint percent, std::int32_t width, std::int32_t height) noexcept;

} // namespace kyf

#endif
