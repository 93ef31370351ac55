/// Gray of a colour image.
#include <algorithm>
#include <array>

#include <kyimaging/kyimaging.h>

#include "imaging/layout.h"
#include "imaging/line_kernels.h"
#include "platform/simd.h"

namespace kyi {

namespace {

// Pixels taken at once: three planes and the result stay in the first-level cache.
constexpr std::int32_t kBlock = 1024;

using Samples = std::array<std::int32_t, kBlock>;

// n / 1000 for n below 2^26 is (n / 8) / 125, and m / 125 is m * 8589935 / 2^30 for m below 2^23: the factor is
// (2^30 + 51) / 125 and m * 51 stays below 2^30.
KY_ALWAYS_INLINE std::int32_t GrayOf(std::int32_t red, std::int32_t green, std::int32_t blue) noexcept {
    const auto sum = static_cast<std::uint32_t>(299 * red + 587 * green + 114 * blue + 500);
    return static_cast<std::int32_t>(static_cast<std::uint64_t>(sum >> 3) * 8589935u >> 30);
}

KY_SIMD_CLONES void MixToGray(const std::int32_t* red, const std::int32_t* green, const std::int32_t* blue,
                              std::int32_t* __restrict gray, std::size_t count) noexcept {
    for (std::size_t i = 0; i < count; ++i) gray[i] = GrayOf(red[i], green[i], blue[i]);
}

void GrayRow(const KyiImageData& source, const KyiImageData& destination, std::int32_t y) noexcept {
    std::array<Samples, 3> planes;
    Samples gray;
    for (std::int32_t x = 0; x < source.Width; x += kBlock) {
        const auto count = static_cast<std::size_t>(std::min(kBlock, source.Width - x));
        const std::uint8_t* const pixels = PixelAddress(source, x, y);
        for (std::int32_t c = 0; c < 3; ++c)
            WidenRun(pixels + ChannelOffset(source, c), source.PixelBytes, planes[static_cast<std::size_t>(c)].data(),
                     count);
        MixToGray(planes[0].data(), planes[1].data(), planes[2].data(), gray.data(), count);
        NarrowRun(gray.data(), destination.PixelBytes, PixelAddress(destination, x, y), count);
    }
}

} // namespace

} // namespace kyi

void KyiTransformToGray(const KyiImageData* source, KyiImageData* destination, int32_t) {
    if (!KyiIsSameSize(source, destination) || kyi::SamplesPerPixel(*source) < 3) return;
    if (kyi::SamplesPerPixel(*destination) != 1 || kyi::IsWideSample(*source) != kyi::IsWideSample(*destination))
        return;
    for (int32_t y = 0; y < source->Height; ++y) kyi::GrayRow(*source, *destination, y);
}
