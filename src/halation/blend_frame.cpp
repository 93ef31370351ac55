// One frame of a series: smooth the result so far, mask what is over-bright, soften the mask, blend.
#include <cstdint>

#include "filters/filters.h"
#include "filters/image_layout.h"
#include "filters/numbers.h"
#include "filters/sample_rows.h"
#include "filters/scratch.h"
#include "halation/halation.h"
#include "halation/halation_rows.h"
#include "progress/progress_proc_manager.h"

namespace kyf {

namespace {

/// A smoothing setting in pixels: half a wavelength, cut to whole ones.
double SmoothingSize(std::int32_t setting, std::int32_t width) noexcept {
    return TruncateToInt32(setting * 0.0009765625 * width);
}

void ReportRow(KyfProgress* step, std::int32_t y, std::int32_t height) {
    KyfProgressSetPersent(step, TruncateToInt32(y / static_cast<double>(height) * 100.0));
}

ImagePtr NewMask(const KyiImageData& smoothed) {
    ImagePtr mask(KyiAllocImageDataEx(smoothed.Width, smoothed.Height, KyiFormatGray8, smoothed.Origin, 0));
    if (!mask) throw std::bad_alloc();
    return mask;
}

/// @return whether anything is above the threshold.
template <typename T>
bool FillMask(const KyiImageData& smoothed, KyiImageData& mask, std::int32_t threshold, KyfProgress* step) {
    const SampleRows<const T> in(smoothed);
    const SampleRows<std::uint8_t> out(mask);
    const int stride = SampleStride(smoothed.PixelBytes);
    bool any = false;
    for (std::int32_t y = 0; y < smoothed.Height; ++y) {
        any |= MaskRow(in[y], out[y], smoothed.Width, stride, threshold);
        ReportRow(step, y, smoothed.Height);
    }
    return any;
}

/// Samples of a pixel that a pass blends: `First` to `Last`, excluded.
struct SampleRange {
    int First;
    int Last;
};

SampleRange AllChannels(const KyiImageData& image) noexcept {
    const int stride = SampleStride(image.PixelBytes);
    return {stride == 4 ? 1 : 0, stride};
}

SampleRange OneChannel(const KyiImageData& image, int channel) noexcept {
    const int offset = ChannelOffset(image.PixelBytes, channel);
    return {offset, offset + 1};
}

struct Blending {
    KyiImageData& Result;
    const KyiImageData& Frame;
    const KyiImageData& Mask;
    std::uint8_t* Weights; ///< scratch for one row of samples
};

template <typename T> void BlendRows(const Blending& blending, SampleRange range, KyfProgress* step) {
    const KyiImageData& result = blending.Result;
    const SampleRows<T> out(result);
    const SampleRows<const T> in(blending.Frame);
    const SampleRows<std::uint8_t> mask(blending.Mask);
    const int stride = SampleStride(result.PixelBytes);
    const auto samples = static_cast<std::size_t>(result.Width) * static_cast<std::size_t>(stride);
    for (std::int32_t y = 0; y < result.Height; ++y) {
        SpreadMask(mask[y], blending.Weights, result.Width, stride, range.First, range.Last);
        BlendRow(out[y], in[y], blending.Weights, samples);
        ReportRow(step, y, result.Height);
    }
}

/// Channel by channel, a step each, in a copy that takes the result's place at the end.
template <typename T>
void BlendWatched(const Blending& blending, KyiImageData& result, int channels, CProgressProcManager& steps) {
    KyiCopyImageData(&result, &blending.Result, 0, 0);
    for (int channel = 0; channel < channels; ++channel) {
        BlendRows<T>(blending, OneChannel(result, channel), steps.GetCurrent());
        steps.Next();
    }
    KyiCopyImageData(&blending.Result, &result, 0, 0);
}

template <typename T>
void Blend(const KyfHalationRemoval& record, const KyiImageData& frame, KyiBool parallel, KyfProgress* progress) {
    KyiImageData& result = *record.RemovalImage;
    const int channels = KyiIsFormatBgr(result.Format) ? 3 : 1;
    CProgressProcManager steps(progress, channels + 3);

    const ImagePtr work = CloneImageLayout(result);
    const double before = SmoothingSize(record.PreSmoothing, result.Width);
    FilterSplineImage(&result, work.get(), before, before, 1.0, parallel, steps.GetCurrent());
    steps.Next();

    const ImagePtr mask = NewMask(*work);
    const bool any = FillMask<T>(*work, *mask, record.Threshold, steps.GetCurrent());
    steps.Next();
    if (!any && progress == nullptr) return; // an empty mask stays empty, and blends nothing

    const double softness = SmoothingSize(record.MaskSmoothing, mask->Width);
    FilterSplineImage(mask.get(), mask.get(), softness, softness, 1.0, parallel, steps.GetCurrent());
    steps.Next();

    const Scratch<std::uint8_t> weights(static_cast<std::size_t>(result.Width) *
                                        static_cast<std::size_t>(SampleStride(result.PixelBytes)));
    if (progress == nullptr)
        BlendRows<T>({result, frame, *mask, weights.Get()}, AllChannels(result), nullptr);
    else
        BlendWatched<T>({*work, frame, *mask, weights.Get()}, result, channels, steps);
}

} // namespace

void BlendFrame(const KyfHalationRemoval& record, const KyiImageData& frame, KyiBool parallel, KyfProgress* progress) {
    if (SampleBytes(record.RemovalImage->PixelBytes) == 1)
        Blend<std::uint8_t>(record, frame, parallel, progress);
    else
        Blend<std::uint16_t>(record, frame, parallel, progress);
}

} // namespace kyf
