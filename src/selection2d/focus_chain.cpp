#include "selection2d/focus_chain.h"

#include <new>
#include <utility>

#include "filters/filters.h"

namespace kyf {

namespace {

ImagePtr Reduce(const KyfCompositionState& state, ImagePtr image, KyiBool parallel) {
    if (state.WorkWidth == state.SourceWidth && state.WorkHeight == state.SourceHeight) return image;
    ImagePtr reduced(KyiAllocImageDataEx(state.WorkWidth, state.WorkHeight, image->Format, image->Origin, 0));
    if (!reduced) throw std::bad_alloc();
    KyiCopyPalette(image->Palette, reduced->Palette);
    ReduceImage(image.get(), reduced.get(), parallel);
    return reduced;
}

// Half the cutoff, in pixels.
double SmoothingSize(const KyfFocusComposition& session, const KyiImageData& image) noexcept {
    return static_cast<double>(session.CompSize) * image.Width / 200.0;
}

} // namespace

bool IsBrightnessFocus(const KyfFocusComposition& session) noexcept {
    return session.ScopeType == 2 || session.ScopeType == 3;
}

ImagePtr RunFocusChain(const KyfFocusComposition& session, ImagePtr image, KyiBool parallel,
                       CProgressProcManager& steps) {
    if (image) image = Reduce(session.State2D, std::move(image), parallel);
    steps.Next();
    // The filters work in place: fresh pages for an image a stage cost more than the filters themselves.
    if (image && !IsBrightnessFocus(session)) FilterEdgeStrength(image.get(), image.get(), parallel);
    steps.Next();
    if (image) FilterMaximum5x5(image.get(), image.get(), parallel);
    steps.Next();
    if (image) {
        const double size = SmoothingSize(session, *image);
        FilterSplineImage(image.get(), image.get(), size, size, 1.0, parallel, nullptr);
    }
    steps.Next();
    return image;
}

} // namespace kyf
