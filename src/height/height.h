/// Heights in the forms that hosts want, and the differentiation map.
///
/// Uses session (the record's signature), selection2d (tables of integers), filters (tables of doubles), imaging
/// (public calls) and platform.
#ifndef KYFOCUS_HEIGHT_HEIGHT_H
#define KYFOCUS_HEIGHT_HEIGHT_H

#include <cstdint>

#include <kyfocus/height.h>

namespace kyf {

/// The block that heights are read from: the 2D pipeline's in mode 0, the 3D pipeline's in all others.
inline const KyfCompositionState& HeightState(const KyfFocusComposition& session) noexcept {
    return session.Mode == KyfMode2DSelection ? session.State2D : session.State3D;
}
inline KyfCompositionState& HeightState(KyfFocusComposition& session) noexcept {
    return session.Mode == KyfMode2DSelection ? session.State2D : session.State3D;
}

/// The larger of the session's scales; a hundredth of it is the step of a flat map.
double FlatScale(const KyfFocusComposition& session) noexcept;

/// A window on a table: the top left `Width` x `Height` of it.
struct HeightWindow {
    const double* const* Rows;
    std::int32_t Width;
    std::int32_t Height;
};

/// What a conversion found: height = Min + sample * Step.
struct HeightRange {
    double Step;
    double Min;
    double Max;
};

/// Writes a window bottom row first, lines of `strideBytes`. Samples stop at 65534; bytes between the lines become 0.
HeightRange ConvertTo16Bit(const HeightWindow& window, double scale, void* output, std::int32_t strideBytes) noexcept;
/// The same in bytes, which stop at 254.
HeightRange ConvertTo8Bit(const HeightWindow& window, double scale, void* output, std::int32_t strideBytes) noexcept;

} // namespace kyf

#endif
