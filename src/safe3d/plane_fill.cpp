#include "safe3d/height_repair.h"

#include <utility>

#include "platform/simd.h"
#include "safe3d/byte_plane.h"

namespace kyf {

namespace {

constexpr std::int32_t kRadius = 10;
constexpr std::uint8_t kGood = 0;
constexpr std::uint8_t kBad = 255;

struct MaskRows {
    const std::uint8_t* Above; // the row itself where there is none above, which adds nothing
    const std::uint8_t* Row;
    const std::uint8_t* Below;
};

KY_ALWAYS_INLINE std::uint8_t Grow(std::uint8_t value, std::uint8_t pixel, std::uint8_t left, std::uint8_t right,
                                   std::uint8_t above, std::uint8_t below) {
    const int hits = (pixel == value) | (left == value) | (right == value) | (above == value) | (below == value);
    return hits ? value : pixel;
}

// out = `value` where the pixel or one of its direct neighbours has it.
KY_SIMD_CLONES void GrowRow(const MaskRows& rows, std::uint8_t value, std::uint8_t* __restrict out,
                            std::int32_t width) {
    const std::uint8_t* const row = rows.Row;
    const std::uint8_t* const above = rows.Above;
    const std::uint8_t* const below = rows.Below;
    const std::int32_t last = width - 1;
    for (std::int32_t x = 1; x < last; ++x) out[x] = Grow(value, row[x], row[x - 1], row[x + 1], above[x], below[x]);
    out[0] = Grow(value, row[0], row[0], row[width > 1 ? 1 : 0], above[0], below[0]);
    out[last] = Grow(value, row[last], row[width > 1 ? last - 1 : last], row[last], above[last], below[last]);
}

// Ten times the diamond of radius 1. The result lies in `plane`.
void GrowArea(BytePlane& plane, BytePlane& spare, std::int32_t width, std::int32_t height, std::uint8_t value,
              KyfProgress* progress) {
    for (std::int32_t i = 1; i <= kRadius; ++i) {
        for (std::int32_t y = 0; y < height; ++y) {
            const MaskRows rows{plane[y > 0 ? y - 1 : y], plane[y], plane[y + 1 < height ? y + 1 : y]};
            GrowRow(rows, value, spare[y], width);
        }
        std::swap(plane, spare);
        KyfProgressSetPersent(progress, static_cast<std::int32_t>(i / 10.0 * 100.0));
    }
    KyfProgressCompleteProc(progress);
}

std::uint16_t SampleOfLevel(double level, const KyfImageDataUint16& image) {
    double sample = level / image.Scale - image.Offset;
    if (!(sample < 65535.0)) sample = 65535.0;
    if (!(sample > 0.0)) sample = 0.0;
    return static_cast<std::uint16_t>(static_cast<std::int32_t>(sample));
}

void FillRow(const std::uint8_t* closed, std::uint8_t* mask, std::uint16_t level, std::uint16_t* samples,
             std::int32_t width) {
    for (std::int32_t x = 0; x < width; ++x) {
        if (closed[x] != kBad || mask[x] != kBad) continue;
        samples[x] = level;
        mask[x] = kGood;
    }
}

struct FillNodes {
    KyfProgress* Good = nullptr;
    KyfProgress* Bad = nullptr;
    KyfProgress* Closing = nullptr;
    KyfProgress* Filling = nullptr;
};

FillNodes HangNodes(KyfProgress* progress) {
    if (!progress) return {};
    KyfProgress** const stages = KyfProgressCreateSubList(2, /*equal=*/0);
    stages[0]->Weight = 90;
    stages[1]->Weight = 10;
    KyfAppendProgress(progress, stages, 2);
    KyfProgress** const rounds = KyfProgressCreateSubList(2, /*equal=*/1);
    KyfAppendProgress(stages[0], rounds, 2);
    return {rounds[0], rounds[1], stages[0], stages[1]};
}

} // namespace

std::int32_t FillPlane(KyfImageDataUint16& image, KyiImageData& mask, double level, KyfProgress* progress) {
    const std::int32_t width = image.Width;
    const std::int32_t height = image.Height;
    BytePlane closed(width, height);
    BytePlane spare(width, height);
    if (!closed || !spare) return 0;
    const FillNodes nodes = HangNodes(progress);
    LoadMask(mask, closed);
    GrowArea(closed, spare, width, height, kGood, nodes.Good);
    GrowArea(closed, spare, width, height, kBad, nodes.Bad);
    KyfProgressCompleteProc(nodes.Closing);

    const SampleRows<std::uint8_t> rows(mask);
    const std::uint16_t sample = SampleOfLevel(level, image);
    for (std::int32_t y = 0; y < height; ++y) {
        FillRow(closed[y], rows[y], sample, image.Rows[y], width);
        KyfProgressSetPersent(nodes.Filling, static_cast<std::int32_t>(y / static_cast<double>(height) * 100.0));
    }
    KyfProgressCompleteProc(nodes.Filling);
    return 1;
}

} // namespace kyf
