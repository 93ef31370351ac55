#include "safe3d/height_repair.h"

#include <algorithm>
#include <limits>

#include "platform/simd.h"

namespace kyf {

namespace {

struct Range {
    double Low;
    double High;
};

// The comparisons are those of a plain scan: a NaN is neither low nor high.
KY_SIMD_CLONES void WidenRange(const double* row, std::int32_t width, Range& range) {
    double low = range.Low;
    double high = range.High;
    for (std::int32_t x = 0; x < width; ++x) {
        low = row[x] < low ? row[x] : low;
        high = row[x] > high ? row[x] : high;
    }
    range = {low, high};
}

// Values are not below `low`, so that truncating is rounding down; a NaN becomes 65535.
KY_SIMD_CLONES void QuantiseRow(const double* row, double low, double step, std::uint16_t* samples,
                                std::int32_t width) {
    for (std::int32_t x = 0; x < width; ++x) {
        const double level = (row[x] - low) / step + 0.5;
        samples[x] = static_cast<std::uint16_t>(static_cast<std::int32_t>(level < 65535.0 ? level : 65535.0));
    }
}

} // namespace

void QuantiseMap(const KyfImageData& source, KyfImageDataUint16& destination) {
    Range range{std::numeric_limits<double>::max(), std::numeric_limits<double>::min()};
    for (std::int32_t y = 0; y < source.Height; ++y) WidenRange(source.Rows[y], source.Width, range);
    const double step = (range.High - range.Low) / 65535.0;
    for (std::int32_t y = 0; y < source.Height; ++y) {
        if (step == 0.0)
            std::fill_n(destination.Rows[y], source.Width, std::uint16_t{0});
        else
            QuantiseRow(source.Rows[y], range.Low, step, destination.Rows[y], source.Width);
    }
    destination.Scale = step;
    destination.Offset = range.Low;
}

} // namespace kyf
