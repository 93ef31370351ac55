/// One frame of the halation removal, the plain form: pixel by pixel, with an image for every stage.
#ifndef KYFOCUS_TESTS_REFERENCE_HALATION_H
#define KYFOCUS_TESTS_REFERENCE_HALATION_H

#include <cmath>
#include <cstdint>
#include <vector>

#include <kyimaging/kyimaging.h>

#include "filters/numbers.h"
#include "reference/spline_image.h"
#include "support/images.h"

namespace reference {

struct HalationSettings {
    std::int32_t Threshold;
    std::int32_t PreSmoothing;
    std::int32_t MaskSmoothing;
};

/// What the stages leave behind.
struct HalationStages {
    test::Image Smoothed;
    test::Image Mask;
    test::Image SoftMask;
    test::Image Result;
};

inline test::Image SmoothedLike(const KyiImageData& source, std::int32_t setting, bool parallel) {
    test::Image smoothed(KyiDuplicateImageData(&source, 0));
    const std::int32_t size = kyf::TruncateToInt32(setting * 0.0009765625 * source.Width);
    FilterSplineImage(source, *smoothed, size, size, 1.0, parallel);
    return smoothed;
}

inline test::Image HalationMask(const KyiImageData& smoothed, std::int32_t threshold) {
    test::Image mask(KyiAllocImageDataEx(smoothed.Width, smoothed.Height, 3, smoothed.Origin, 0));
    for (std::int32_t y = 0; y < smoothed.Height; ++y)
        for (std::int32_t x = 0; x < smoothed.Width; ++x) {
            bool isAbove = false;
            if (KyiIsFormatBgr(smoothed.Format)) {
                std::int32_t rgb[3];
                KyiGetPixelDataRGB(&smoothed, x, y, rgb);
                isAbove = !(rgb[0] <= threshold && rgb[1] <= threshold && rgb[2] <= threshold);
            } else {
                std::int32_t value = 0;
                KyiGetPixelData(&smoothed, x, y, &value);
                isAbove = value > threshold;
            }
            KyiSetPixelData(mask.get(), x, y, isAbove ? KyiGetMaxVal(3) : 0);
        }
    return mask;
}

inline std::int32_t BlendSample(std::int32_t a, std::int32_t b, std::int32_t m, std::int32_t maskTop,
                                std::int32_t top) {
    if (m == 0) return a;
    if (m == maskTop) return b;
    const double t = m / static_cast<double>(maskTop);
    std::int32_t out = kyf::TruncateToInt32(std::floor((1.0 - t) * a + b * t + 0.5));
    if (out < 1) out = 0;
    if (out >= top) out = top;
    return out;
}

inline HalationStages AddToHalation(const KyiImageData& result, const KyiImageData& frame,
                                    const HalationSettings& settings, bool parallel) {
    HalationStages stages;
    stages.Smoothed = SmoothedLike(result, settings.PreSmoothing, parallel);
    stages.Mask = HalationMask(*stages.Smoothed, settings.Threshold);
    stages.SoftMask = SmoothedLike(*stages.Mask, settings.MaskSmoothing, parallel);
    stages.Result.reset(KyiDuplicateImageData(&result, 0));
    const auto width = static_cast<std::size_t>(result.Width);
    std::vector<std::int32_t> a(width);
    std::vector<std::int32_t> b(width);
    std::vector<std::int32_t> m(width);
    for (std::int32_t channel = 0; channel < (KyiIsFormatBgr(result.Format) ? 3 : 1); ++channel)
        for (std::int32_t y = 0; y < result.Height; ++y) {
            KyiGetLinePixel(stages.SoftMask.get(), 0, y, 0, m.data(), result.Width);
            KyiGetLinePixel(&result, 0, y, channel, a.data(), result.Width);
            KyiGetLinePixel(&frame, 0, y, channel, b.data(), result.Width);
            for (std::size_t x = 0; x < width; ++x)
                a[x] = BlendSample(a[x], b[x], m[x], KyiGetMaxVal(3), KyiGetMaxVal(result.Format));
            KyiSetLinePixel(stages.Result.get(), 0, y, channel, a.data(), result.Width);
        }
    return stages;
}

} // namespace reference

#endif
