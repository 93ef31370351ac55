/// Frames for the benchmarks of alignment: one smooth scene that drifts and breathes from frame to frame.
#ifndef KYFOCUS_BENCH_ALIGNMENT_ALIGNMENT_FRAMES_H
#define KYFOCUS_BENCH_ALIGNMENT_ALIGNMENT_FRAMES_H

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include <kyfocus/kyfocus.h>

namespace bench {

struct FreeImage {
    void operator()(KyiImageData* image) const { KyiFreeImageData(image); }
};
using Image = std::unique_ptr<KyiImageData, FreeImage>;

struct FrameSize {
    std::int32_t Width;
    std::int32_t Height;
    double Pixels() const { return static_cast<double>(Width) * Height; }
};

/// 4:3 frames of so many megapixels; small ones for a turn among the tests, when KY_BENCH_SMALL is set.
inline FrameSize SizeOf(std::int64_t megapixels) {
    if (std::getenv("KY_BENCH_SMALL") != nullptr) return {400, 300};
    const auto height = static_cast<std::int32_t>(std::sqrt(static_cast<double>(megapixels) * 0.75e6) / 8) * 8;
    return {height * 4 / 3, height};
}

/// Frame `index` of a stack: grain on slow waves, moved by 2 and 1 pixels and grown by 1/500 a frame.
inline Image DriftingFrame(FrameSize size, std::int32_t format, std::int32_t index) {
    Image frame(KyiAllocImageData(size.Width, size.Height, format));
    const double scale = 1.0 + index * 0.002;
    const std::int32_t step = frame->PixelBytes == 6 ? 3 : frame->PixelBytes == 2 ? 1 : frame->PixelBytes;
    for (std::int32_t y = 0; y < size.Height; ++y) {
        auto* const row = static_cast<std::uint8_t*>(KyiGetPixelAddress(frame.get(), 0, y));
        for (std::int32_t x = 0; x < size.Width; ++x) {
            const double u = (x - size.Width / 2) / scale + 2 * index + 1e4;
            const double v = (y - size.Height / 2) / scale + index + 1e4;
            const std::uint32_t cell =
                static_cast<std::uint32_t>(v / 24) * 2654435761u + static_cast<std::uint32_t>(u / 24) * 40503u;
            const auto grain = static_cast<std::int32_t>(cell * 2246822519u >> 26);
            const auto wave = static_cast<std::int32_t>(80 + 30 * std::sin(u * 0.02) + 30 * std::cos(v * 0.017));
            for (std::int32_t s = 0; s < step; ++s) {
                if (frame->PixelBytes == 2 || frame->PixelBytes == 6)
                    reinterpret_cast<std::uint16_t*>(row)[step * x + s] =
                        static_cast<std::uint16_t>((wave + grain) * 250);
                else
                    row[step * x + s] = static_cast<std::uint8_t>(wave + grain + 5 * s);
            }
        }
    }
    return frame;
}

} // namespace bench

#endif
