/// Projection shift, the alignment of the 3D pipeline: the displacement of neighbouring frames by whole pixels, from
/// one band of rows and one of columns.
///
/// A frame is measured first and accepted later: until then the record is the one of the frame before, so that an add
/// that fails in between can be given again.
#ifndef KYFOCUS_ALIGNMENT_PROJECTION_SHIFT_H
#define KYFOCUS_ALIGNMENT_PROJECTION_SHIFT_H

#include <cstdint>

#include <kyfocus/alignment.h>
#include <kyfocus/types.h>

namespace kyf {

/// A record of a stack's first frame, which is copied. Null frames give a record without one. Null when out of memory.
KyfProjectionShift* CreateProjectionShift(const KyiImageData* frame, KyiBool parallel) noexcept;

/// Frees the record with its frame and nulls the pointer. Null is accepted at both levels.
void DestroyProjectionShift(KyfProjectionShift** shift) noexcept;

/// Displacement of a frame against the one before, -20 to 19 on either axis, and where it was measured. A positive one
/// means that the new frame's content lies at lower coordinates.
struct ProjectionMove {
    std::int32_t X;
    std::int32_t Y;
    std::int32_t Row;    ///< the previous frame's row of the strongest edge, by which X was measured
    std::int32_t Column; ///< and its column, by which Y was
};

/// Compares a frame with the record's, which has its size. Throws std::bad_alloc.
ProjectionMove MeasureProjection(const KyfProjectionShift& shift, const KyiImageData& frame);

/// The frame counts: totals and maxima follow it, and the next one is compared with it.
void AcceptProjection(KyfProjectionShift& shift, const KyiImageData& frame, const ProjectionMove& move,
                      KyiBool parallel) noexcept;

/// moved(x, y) = frame(x + offsetX, y + offsetY), and 0 where that lies outside. Both have one size and format. Unused
/// samples of four-byte pixels are 0.
void MoveFrame(const KyiImageData& frame, KyiImageData& moved, std::int32_t offsetX, std::int32_t offsetY,
               KyiBool parallel) noexcept;

} // namespace kyf

#endif
