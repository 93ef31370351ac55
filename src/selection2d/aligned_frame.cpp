#include "selection2d/aligned_frame.h"

#include <utility>

#include "alignment/alignment.h"

namespace kyf {

namespace {

AlignedFrame Owning(ImagePtr image) {
    KyiImageData* const pixels = image.get();
    return {pixels, std::move(image), false};
}

bool IsReduced(const KyfCompositionState& state) noexcept {
    return state.WorkWidth != state.SourceWidth || state.WorkHeight != state.SourceHeight;
}

} // namespace

AlignedFrame ChooseAlignedFrame(const KyfFocusComposition& session, KyiImageData& frame, KyiBool takeOwnership) {
    const bool isTakenOver = takeOwnership != 0 && IsReduced(session.State2D);
    switch (Choose2DAlignment(session)) {
    case AlignmentMethod::TemplateMatching: return Owning(TakeWarpImage(session, frame));
    case AlignmentMethod::LineMatching:
    case AlignmentMethod::ProjectionShift: // of the 3D pipeline
    case AlignmentMethod::None: break;
    }
    return {&frame, nullptr, isTakenOver};
}

std::optional<KyfRect> WarpOntoStack(KyfFocusComposition& session, const KyiImageData& frame,
                                     const AlignedFrame& aligned, KyiBool parallel, KyfProgress* progress) {
    if (Choose2DAlignment(session) != AlignmentMethod::TemplateMatching) return std::nullopt;
    KyfFrameShift& shift = FrameShiftOf(session, session.State2D.FrameCount);
    return AlignByTemplates(session, frame, *aligned.Own, shift, parallel, progress);
}

LineMatch AlignByLines(const KyfFocusComposition& session, AlignedFrame& frame, KyiBool parallel) {
    LineMatch match = MatchLines(session.Matching2D, *frame.Image, parallel);
    if (match.TotalShift == 0) return match;
    if (frame.IsTakenOver) {
        MoveRows(*frame.Image, match.TotalShift, parallel);
        return match;
    }
    ImagePtr moved = CloneImageLayout(*frame.Image);
    CopyMovedRows(*frame.Image, *moved, match.TotalShift, parallel);
    frame = Owning(std::move(moved));
    return match;
}

} // namespace kyf
