/// Weighted blend of a frame into a composite, in its plain form.
#ifndef KYFOCUS_TESTS_REFERENCE_BLEND_H
#define KYFOCUS_TESTS_REFERENCE_BLEND_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include <kyimaging/kyimaging.h>

namespace reference {

/// Weights at the working size, and the columns that line shifts have moved out of the frame.
struct Blend {
    std::vector<double> Mask;
    int WorkWidth;
    int WorkHeight;
    bool IsBlanking;
    int MinShift;
    int MaxShift;
};

template <typename Sample>
void BlendChannel(const Blend& blend, const KyiImageData& frame, KyiImageData& composite, int channel, int stride) {
    const int mode = stride == 1 ? 1 : 3;
    const double rx = static_cast<double>(frame.Width) / blend.WorkWidth;
    const double ry = static_cast<double>(frame.Height) / blend.WorkHeight;
    const bool isSameSize = frame.Width == blend.WorkWidth && frame.Height == blend.WorkHeight;
    for (int y = 0; y < frame.Height; ++y) {
        const auto* a = static_cast<const Sample*>(KyiGetPixelAddress(&frame, 0, y));
        auto* c = static_cast<Sample*>(KyiGetPixelAddress(&composite, 0, y));
        if (mode != 1) a += stride - channel - 1;
        if (mode != 1) c += stride - channel - 1;
        for (int x = 0; x < frame.Width; ++x) {
            const int row = isSameSize ? y : static_cast<int>(y / ry);
            const int column = isSameSize ? x : static_cast<int>(x / rx);
            const double weight = blend.Mask[static_cast<std::size_t>(row) * static_cast<std::size_t>(blend.WorkWidth) +
                                             static_cast<std::size_t>(column)];
            Sample& out = c[x * stride];
            if (weight == 1.0)
                out = a[x * stride];
            else if (weight != 0.0)
                out = static_cast<Sample>(static_cast<int>((1.0 - weight) * out + a[x * stride] * weight));
        }
        if (!blend.IsBlanking) continue;
        for (int i = 0; i < blend.MaxShift; ++i) c[i * stride] = 0;
        for (int i = 0; i < -blend.MinShift; ++i) c[(frame.Width + blend.MinShift) * mode + i * stride] = 0;
    }
}

/// Gray images have one channel; colour images are done channel by channel, red first.
inline void BlendFrame(const Blend& blend, const KyiImageData& frame, KyiImageData& composite) {
    const int channels = KyiIsFormatBgr(frame.Format) ? 3 : 1;
    for (int channel = 0; channel < channels; ++channel) {
        switch (frame.PixelBytes) {
        case 1: BlendChannel<std::uint8_t>(blend, frame, composite, channel, 1); break;
        case 2: BlendChannel<std::uint16_t>(blend, frame, composite, channel, 1); break;
        case 3:
        case 4: BlendChannel<std::uint8_t>(blend, frame, composite, channel, frame.PixelBytes); break;
        case 6: BlendChannel<std::uint16_t>(blend, frame, composite, channel, 3); break;
        default: break;
        }
    }
}

} // namespace reference

#endif
