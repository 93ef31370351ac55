#include "safe3d/relaxation.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "filters/numbers.h"
#include "filters/sample_rows.h"
#include "safe3d/height_repair.h"

namespace kyf {

namespace {

constexpr std::uint8_t kLastGood = 254;

struct GoodSamples {
    std::int32_t Sum = 0; // wraps
    std::int32_t Count = 0;
};

GoodSamples AddUp(const KyfImageDataUint16& image, const SampleRows<const std::uint8_t>& mask) {
    GoodSamples good;
    for (std::int32_t y = 0; y < image.Height; ++y) {
        for (std::int32_t x = 0; x < image.Width; ++x) {
            if (mask[y][x] != 0) continue;
            good.Sum = WrappingSum(good.Sum, image.Rows[y][x]);
            ++good.Count;
        }
    }
    return good;
}

std::uint16_t LimitOf(const KyfImageDataUint16& image) {
    double limit = std::floor(0.001 / image.Scale - image.Offset + 0.5);
    if (limit < 0.0) limit = 0.0;
    if (!(limit < 65535.0)) limit = 65535.0;
    return static_cast<std::uint16_t>(TruncateToInt32(limit));
}

std::int32_t MeanOfNeighbours(const KyfImageDataUint16& image, std::int32_t x, std::int32_t y) {
    std::int32_t sum = 0;
    std::int32_t count = 0;
    const auto add = [&](bool isInside, std::int32_t column, std::int32_t row) {
        if (!isInside) return;
        sum += image.Rows[row][column];
        ++count;
    };
    add(y > 0, x, y - 1);
    add(x > 0, x - 1, y);
    add(x + 1 < image.Width, x + 1, y);
    add(y + 1 < image.Height, x, y + 1);
    return count > 0 ? sum / count : image.Rows[y][x];
}

} // namespace

std::int32_t RelaxByRows(KyfImageDataUint16& image, const KyiImageData& mask, std::uint16_t limit) {
    const SampleRows<const std::uint8_t> rows(mask);
    for (std::int32_t sweep = 1; sweep <= kMaxSweeps; ++sweep) {
        std::int32_t largest = 0;
        for (std::int32_t y = 0; y < image.Height; ++y) {
            for (std::int32_t x = 0; x < image.Width; ++x) {
                if (rows[y][x] <= kLastGood) continue;
                const std::int32_t mean = MeanOfNeighbours(image, x, y);
                largest = std::max(largest, std::abs(mean - image.Rows[y][x]));
                image.Rows[y][x] = static_cast<std::uint16_t>(mean);
            }
        }
        if (largest <= limit) return sweep;
    }
    return kMaxSweeps;
}

void RelaxHoles(KyfImageDataUint16& image, KyiImageData& mask) {
    const SampleRows<const std::uint8_t> rows(mask);
    const GoodSamples good = AddUp(image, rows);
    if (good.Count == 0) {
        for (std::int32_t y = 0; y < image.Height; ++y) std::fill_n(image.Rows[y], image.Width, std::uint16_t{0});
        return;
    }
    const auto mean =
        static_cast<std::uint16_t>(TruncateToInt32(std::floor(static_cast<double>(good.Sum) / good.Count + 0.5)));
    for (std::int32_t y = 0; y < image.Height; ++y)
        for (std::int32_t x = 0; x < image.Width; ++x)
            if (rows[y][x] > kLastGood) image.Rows[y][x] = mean;
    const std::uint16_t limit = LimitOf(image);
    if (RelaxByDiagonals(image, mask, limit) < 0) RelaxByRows(image, mask, limit);
    KyiFill(&mask, 0, 0, 0);
}

} // namespace kyf
