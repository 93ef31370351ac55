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

ImagePtr TakeEdges(ImagePtr image, KyiBool parallel) {
    ImagePtr edges = CloneImageLayout(*image);
    FilterEdgeStrength(image.get(), edges.get(), parallel);
    return edges;
}

ImagePtr TakeMaximum(ImagePtr image, KyiBool parallel) {
    ImagePtr maximum = CloneImageLayout(*image);
    FilterMaximum5x5(image.get(), maximum.get(), parallel);
    return maximum;
}

ImagePtr Smooth(ImagePtr image, std::int32_t sizePercent, KyiBool parallel) {
    ImagePtr smooth = CloneImageLayout(*image);
    const double size = static_cast<double>(sizePercent) * image->Width / 200.0; // half the cutoff, in pixels
    FilterSplineImage(image.get(), smooth.get(), size, size, 1.0, parallel, nullptr);
    return smooth;
}

} // namespace

bool IsBrightnessFocus(const KyfFocusComposition& session) noexcept {
    return session.ScopeType == 2 || session.ScopeType == 3;
}

ImagePtr RunFocusChain(const KyfFocusComposition& session, ImagePtr image, KyiBool parallel,
                       CProgressProcManager& steps) {
    if (image) image = Reduce(session.State2D, std::move(image), parallel);
    steps.Next();
    if (image && !IsBrightnessFocus(session)) image = TakeEdges(std::move(image), parallel);
    steps.Next();
    if (image) image = TakeMaximum(std::move(image), parallel);
    steps.Next();
    if (image) image = Smooth(std::move(image), session.CompSize, parallel);
    steps.Next();
    return image;
}

} // namespace kyf
