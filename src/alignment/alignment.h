/// Frame alignment: the choice of method and the result rectangle.
///
/// Uses filters, progress, platform and imaging (public calls).
#ifndef KYFOCUS_ALIGNMENT_ALIGNMENT_H
#define KYFOCUS_ALIGNMENT_ALIGNMENT_H

#include <kyfocus/session.h>

namespace kyf {

/// How the frames of a pipeline are lined up.
enum class AlignmentMethod { None, TemplateMatching, ProjectionShift, LineMatching };

/// Method of the 2D pipeline: template matching for ScopeType 0 with AutoPos, line matching for ScopeType 1 and 3.
AlignmentMethod Choose2DAlignment(const KyfFocusComposition& session) noexcept;
/// Method of the 3D pipeline: projection shift for ScopeType 0 with AutoPos, line matching for ScopeType 1 and 3.
AlignmentMethod Choose3DAlignment(const KyfFocusComposition& session) noexcept;

/// The part of the frame that the result keeps, in pixels of the full frame. Sets the record's Margin to 0.
/// @param state  One of the session's two blocks. @param matching  The line matching record of that block.
KyfRect ResultRectangle(const KyfFocusComposition& session, const KyfCompositionState& state,
                        KyfLineMatching& matching) noexcept;

} // namespace kyf

#endif
