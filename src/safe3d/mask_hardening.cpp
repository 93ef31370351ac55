#include "safe3d/height_repair.h"

#include "platform/simd.h"
#include "safe3d/byte_plane.h"

namespace kyf {

namespace {

constexpr int kWeakNeighbours = 4;

// The rows are those of the unchanged mask.
KY_SIMD_CLONES void HardenRow(const std::uint8_t* above, const std::uint8_t* row, const std::uint8_t* below,
                              std::uint8_t* __restrict out, std::int32_t width) {
    const auto isBad = [](std::uint8_t value) { return static_cast<std::uint8_t>(value == 255 ? 1 : 0); };
    for (std::int32_t x = 1; x < width - 1; ++x) {
        std::uint8_t bad = 0;
        for (std::int32_t l = -1; l <= 1; ++l)
            bad = static_cast<std::uint8_t>(bad + isBad(above[x + l]) + isBad(row[x + l]) + isBad(below[x + l]));
        out[x] = ((row[x] == 0) & (bad >= kWeakNeighbours)) ? std::uint8_t{255} : row[x];
    }
}

} // namespace

std::int32_t HardenMask(KyiImageData& mask, KyiBool parallel) {
    BytePlane before(mask.Width, mask.Height);
    if (!before) return 0;
    LoadMask(mask, before);
    const SampleRows<std::uint8_t> rows(mask);
#pragma omp parallel for schedule(static) if (parallel)
    for (std::int32_t y = 1; y < mask.Height - 1; ++y)
        HardenRow(before[y - 1], before[y], before[y + 1], rows[y], mask.Width);
    return 1;
}

} // namespace kyf
