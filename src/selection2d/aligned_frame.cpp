#include "selection2d/aligned_frame.h"

#include <new>
#include <utility>

#include "alignment/alignment.h"

namespace kyf {

namespace {

AlignedFrame Owning(ImagePtr image) {
    const KyiImageData* const pixels = image.get();
    return {pixels, std::move(image), false};
}

ImagePtr Duplicate(const KyiImageData& image) {
    ImagePtr copy(KyiDuplicateImageData(&image, 0));
    if (!copy) throw std::bad_alloc();
    return copy;
}

bool IsReduced(const KyfCompositionState& state) noexcept {
    return state.WorkWidth != state.SourceWidth || state.WorkHeight != state.SourceHeight;
}

} // namespace

AlignedFrame ChooseAlignedFrame(const KyfFocusComposition& session, const KyiImageData& frame, KyiBool takeOwnership) {
    const bool isTakenOver = takeOwnership != 0 && IsReduced(session.State2D);
    switch (Choose2DAlignment(session)) {
    case AlignmentMethod::TemplateMatching: return Owning(CloneImageLayout(frame));
    case AlignmentMethod::LineMatching:
        if (!isTakenOver) return Owning(Duplicate(frame));
        break;
    case AlignmentMethod::ProjectionShift: // of the 3D pipeline
    case AlignmentMethod::None: break;
    }
    return {&frame, nullptr, isTakenOver};
}

} // namespace kyf
