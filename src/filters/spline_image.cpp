#include "filters/filters.h"

#include <vector>

#include "filters/image_layout.h"
#include "filters/sample_rows.h"
#include "filters/spline_passes.h"
#include "progress/progress_proc_manager.h"

namespace kyf {

namespace {

struct PassRange {
    bool IsRows;
    int FirstChannel;
    int LastChannel;
};

// Channels share a pass, unless a host watches: then each channel is a step of its own, in the order of the steps.
std::vector<PassRange> ListPasses(const KyiImageData& image, bool rows, bool columns, bool watched) {
    const int channels = KyiIsFormatBgr(image.Format) ? 3 : 1;
    const int channelsOfPass = watched ? 1 : channels;
    std::vector<PassRange> passes;
    for (int first = 0; rows && first < channels; first += channelsOfPass)
        passes.push_back({true, first, first + channelsOfPass});
    for (int first = 0; columns && first < channels; first += channelsOfPass)
        passes.push_back({false, first, first + channelsOfPass});
    return passes;
}

struct SplineImage {
    const KyiImageData& Source;
    KyiImageData& Destination;
    SplineBand RowBand;
    SplineBand ColumnBand;
    double Scale;
    bool Parallel;
    SplineScratch Scratch;
};

// The first pass reads the source; a later one goes on in the destination.
void RunPass(const SplineImage& image, const PassRange& range, bool first, KyfProgress* progress) {
    // The parallel kernel of columns divides by the scale that only the rows multiplied by.
    const double loadScale = image.Parallel && !range.IsRows ? 1.0 : image.Scale;
    const double cap = KyiGetMaxVal(image.Source.Format) - 1;
    const SplinePass pass{first ? image.Source : image.Destination,
                          image.Destination,
                          range.IsRows ? image.RowBand : image.ColumnBand,
                          {loadScale, image.Scale, cap},
                          range.FirstChannel,
                          range.LastChannel,
                          image.Parallel,
                          image.Scratch,
                          image.Parallel ? nullptr : progress};
    switch (SampleBytes(image.Source.PixelBytes)) {
    case 1: range.IsRows ? SplineRows<std::uint8_t>(pass) : SplineColumns<std::uint8_t>(pass); break;
    case 2: range.IsRows ? SplineRows<std::uint16_t>(pass) : SplineColumns<std::uint16_t>(pass); break;
    default: break;
    }
}

// Whether the first pass writes every sample of the destination, so that no copy has to come before it.
bool WritesEverySample(const KyiImageData& image, const PassRange& first) {
    const int stride = SampleStride(image.PixelBytes);
    return stride != 0 && (first.IsRows || first.LastChannel - first.FirstChannel == stride);
}

void RunPasses(const SplineImage& image, const std::vector<PassRange>& passes, KyfProgress* progress) {
    const bool copied = !WritesEverySample(image.Source, passes.front());
    if (copied) KyiCopyImageData(&image.Source, &image.Destination, 0, 0);
    // A single pass of a gray image reports into the given node.
    CProgressProcManager steps(progress, passes.size() > 1 ? static_cast<std::int32_t>(passes.size()) : 0);
    for (std::size_t i = 0; i < passes.size(); ++i) {
        RunPass(image, passes[i], i == 0 && !copied, passes.size() > 1 ? steps.GetCurrent() : progress);
        steps.Next();
    }
}

} // namespace

void FilterSplineImage(const KyiImageData* source, KyiImageData* destination, double sizeX, double sizeY, double scale,
                       KyiBool parallel, KyfProgress* progress) {
    const double cutoffX = sizeX + sizeX;
    const double cutoffY = sizeY + sizeY;
    const std::vector<PassRange> passes = ListPasses(*source, cutoffX != 0.0, cutoffY != 0.0, progress != nullptr);
    if (passes.empty()) {
        KyiCopyImageData(source, destination, 0, 0);
    } else if (IsSameLayout(*source, *destination)) {
        const bool useParallel = UseParallelProcess(source, parallel);
        const SplineImage image{*source,
                                *destination,
                                SplineBand(source->Width, SplineWeight(cutoffX)),
                                SplineBand(source->Height, SplineWeight(cutoffY)),
                                scale,
                                useParallel,
                                SplineScratch(*source, useParallel)};
        RunPasses(image, passes, progress);
    }
    KyfProgressCompleteProc(progress);
}

} // namespace kyf
