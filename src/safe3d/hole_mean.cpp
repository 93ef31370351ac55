#include "safe3d/height_repair.h"

#include <algorithm>
#include <cstddef>

#include "platform/simd.h"
#include "safe3d/custom_deleter.h"

namespace kyf {

namespace {

/// The image as it was, and where its neighbours count.
struct MeanSource {
    const KyfImageDataUint16& Image;
    std::int32_t Half;
    std::int32_t Margin;
};

// Sums of 8 neighbours in 32 bits, for columns that have them all.
KY_SIMD_CLONES void MeanOfEight(const std::uint16_t* above, const std::uint16_t* row, const std::uint16_t* below,
                                std::int32_t first, std::int32_t last, std::uint16_t* __restrict out) {
    for (std::int32_t x = first; x < last; ++x) {
        const std::uint32_t sum = std::uint32_t{above[x - 1]} + above[x] + above[x + 1] + row[x - 1] + row[x + 1] +
                                  below[x - 1] + below[x] + below[x + 1];
        out[x] = static_cast<std::uint16_t>(sum >> 3);
    }
}

std::uint16_t MeanAround(const MeanSource& source, std::int32_t x, std::int32_t y) {
    const KyfImageDataUint16& image = source.Image;
    std::uint64_t sum = 0;
    std::uint64_t count = 0;
    for (std::int32_t dy = -source.Half; dy <= source.Half; ++dy) {
        const std::int32_t py = y + dy;
        if (py < source.Margin || py >= image.Height - source.Margin) continue;
        for (std::int32_t dx = -source.Half; dx <= source.Half; ++dx) {
            const std::int32_t px = x + dx;
            if (px < source.Margin || px >= image.Width - source.Margin || (dx == 0 && dy == 0)) continue;
            sum += image.Rows[py][px];
            ++count;
        }
    }
    return count > 0 ? static_cast<std::uint16_t>(sum / count) : image.Rows[y][x];
}

void MeanRow(const MeanSource& source, std::int32_t y, std::uint16_t* out) {
    const KyfImageDataUint16& image = source.Image;
    const std::int32_t left = source.Margin;
    const std::int32_t right = image.Width - source.Margin;
    const bool hasEight = source.Half == 1 && y > source.Margin && y < image.Height - source.Margin - 1;
    const std::int32_t first = hasEight ? std::min(left + 1, right) : right;
    const std::int32_t last = hasEight ? std::max(right - 1, first) : right;
    for (std::int32_t x = left; x < first; ++x) out[x] = MeanAround(source, x, y);
    if (hasEight) MeanOfEight(image.Rows[y - 1], image.Rows[y], image.Rows[y + 1], first, last, out);
    for (std::int32_t x = last; x < right; ++x) out[x] = MeanAround(source, x, y);
}

} // namespace

std::int32_t TakeHoleMean(KyfImageDataUint16& image, std::int32_t size, std::int32_t margin, KyiBool parallel,
                          KyfProgress* progress) {
    const HeldImage<KyfImageDataUint16> before(AllocUint16Image(image.Width, image.Height));
    if (!before) return 0;
    CopyUint16Image(image, *before, parallel);
    const MeanSource source{*before, size / 2, margin};
#pragma omp parallel for schedule(static) if (parallel)
    for (std::int32_t y = margin; y < image.Height - margin; ++y) MeanRow(source, y, image.Rows[y]);
    KyfProgressCompleteProc(progress);
    return 1;
}

} // namespace kyf
