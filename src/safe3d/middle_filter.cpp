#include "safe3d/middle_filter.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>

#include <kyimaging/functracelog.h>

#include "filters/sample_rows.h"
#include "safe3d/custom_deleter.h"
#include "safe3d/median_row.h"

namespace kyf {

namespace {

/// Bytes of an image apart, with a border of samples that do not count, wide enough for whole groups of lanes.
class PaddedPlanes {
  public:
    PaddedPlanes(std::int32_t width, std::int32_t height, std::int32_t half)
        : m_half(half), m_stride(std::ptrdiff_t{width} + 2 * half + 2 * kMedianLanes),
          m_size(static_cast<std::size_t>(m_stride) *
                 (static_cast<std::size_t>(height) + 2 * static_cast<std::size_t>(half))),
          m_high(new (std::nothrow) std::int8_t[m_size]), m_low(new (std::nothrow) std::int8_t[m_size]),
          m_good(new (std::nothrow) std::uint8_t[m_size]) {}

    bool IsAllocated() const { return m_high && m_low && m_good; }

    void Load(const KyfImageDataUint16& image, const SampleRows<const std::uint8_t>& mask) {
        std::fill_n(m_high.get(), m_size, std::int8_t{127});
        std::fill_n(m_low.get(), m_size, std::int8_t{127});
        std::fill_n(m_good.get(), m_size, std::uint8_t{0});
        for (std::int32_t y = 0; y < image.Height; ++y) LoadRow(image.Rows[y], mask[y], image.Width, At(0, y));
    }

    MedianPlanes WindowsAt(std::int32_t x, std::int32_t y) const {
        const std::ptrdiff_t at = At(x - m_half, y - m_half);
        return {m_high.get() + at, m_low.get() + at, m_good.get() + at, m_stride};
    }

  private:
    std::ptrdiff_t At(std::int32_t x, std::int32_t y) const {
        return m_stride * (std::ptrdiff_t{y} + m_half) + x + m_half;
    }

    void LoadRow(const std::uint16_t* samples, const std::uint8_t* mask, std::int32_t width, std::ptrdiff_t at) {
        std::int8_t* const high = m_high.get() + at;
        std::int8_t* const low = m_low.get() + at;
        std::uint8_t* const good = m_good.get() + at;
        for (std::int32_t x = 0; x < width; ++x) {
            const int sample = mask[x] == 0 ? samples[x] : 65535;
            high[x] = static_cast<std::int8_t>((sample >> 8) - 128);
            low[x] = static_cast<std::int8_t>((sample & 255) - 128);
            good[x] = mask[x] == 0 ? 1 : 0;
        }
    }

    std::int32_t m_half;
    std::ptrdiff_t m_stride;
    std::size_t m_size;
    std::unique_ptr<std::int8_t[]> m_high;
    std::unique_ptr<std::int8_t[]> m_low;
    std::unique_ptr<std::uint8_t[]> m_good;
};

void FilterRow(const PaddedPlanes& planes, std::int32_t side, const std::uint8_t* mask, std::int32_t y,
               std::uint16_t* row, std::int32_t width) {
    std::uint16_t medians[kMedianLanes];
    for (std::int32_t x = 0; x < width; x += kMedianLanes) {
        const std::int32_t count = std::min(kMedianLanes, width - x);
        if (std::all_of(mask + x, mask + x + count, [](std::uint8_t value) { return value != 0; })) continue;
        MedianOfWindows(planes.WindowsAt(x, y), side, medians);
        for (std::int32_t i = 0; i < count; ++i)
            if (mask[x + i] == 0) row[x + i] = medians[i];
    }
}

bool FilterSideBySide(KyfImageDataUint16& image, const SampleRows<const std::uint8_t>& mask, std::int32_t side,
                      KyiBool parallel) {
    PaddedPlanes planes(image.Width, image.Height, side / 2);
    if (!planes.IsAllocated()) return false;
    planes.Load(image, mask);
#pragma omp parallel for schedule(static) if (parallel)
    for (std::int32_t y = 0; y < image.Height; ++y) FilterRow(planes, side, mask[y], y, image.Rows[y], image.Width);
    return true;
}

// The window's good samples, column by column; their number.
std::size_t Gather(const KyfImageDataUint16& image, const SampleRows<const std::uint8_t>& mask, std::int32_t half,
                   std::int32_t x, std::int32_t y, std::uint16_t* values) {
    std::size_t count = 0;
    for (std::int32_t px = std::max(x - half, 0); px <= std::min(x + half, image.Width - 1); ++px)
        for (std::int32_t py = std::max(y - half, 0); py <= std::min(y + half, image.Height - 1); ++py)
            if (mask[py][px] == 0) values[count++] = image.Rows[py][px];
    return count;
}

// Windows of more samples than bytes count, one after the other.
bool FilterOneByOne(KyfImageDataUint16& image, const SampleRows<const std::uint8_t>& mask, std::int32_t half) {
    const HeldImage<KyfImageDataUint16> before(AllocUint16Image(image.Width, image.Height));
    const std::size_t columns = static_cast<std::size_t>(std::min(2 * half + 1, image.Width));
    const std::size_t rows = static_cast<std::size_t>(std::min(2 * half + 1, image.Height));
    const std::unique_ptr<std::uint16_t[]> values(new (std::nothrow) std::uint16_t[columns * rows]);
    if (!before || !values) return false;
    CopyUint16Image(image, *before, /*parallel=*/0);
    for (std::int32_t y = 0; y < image.Height; ++y) {
        for (std::int32_t x = 0; x < image.Width; ++x) {
            if (mask[y][x] != 0) continue;
            const std::size_t count = Gather(*before, mask, half, x, y, values.get());
            std::nth_element(values.get(), values.get() + count / 2, values.get() + count);
            image.Rows[y][x] = values[count / 2];
        }
    }
    return true;
}

bool FilterOnCpu(KyfImageDataUint16& image, const KyiImageData& mask, std::int32_t size, KyiBool parallel,
                 const CFuncTraceLog& log) {
    log.Trace(__FILE__, __LINE__, L"Begin processing by CPU.");
    const SampleRows<const std::uint8_t> rows(mask);
    const std::int32_t half = std::max(size, 0) / 2;
    const std::int64_t side = 2 * std::int64_t{half} + 1;
    const bool isFiltered = side * side > kMostCounted
                                ? FilterOneByOne(image, rows, half)
                                : FilterSideBySide(image, rows, static_cast<std::int32_t>(side), parallel);
    if (isFiltered) log.Trace(__FILE__, __LINE__, L"End processing by CPU.");
    return isFiltered;
}

enum class Path { Cpu };

// Back ends are chosen here, anew in each call. This build has one.
Path ChoosePath() { return Path::Cpu; }

} // namespace

std::int32_t MiddleFilter(KyfImageDataUint16& image, const KyiImageData& mask, std::int32_t size, KyiBool parallel) {
    const CFuncTraceLog log(__FILE__, __LINE__, L"MiddleFilter( KyfImageDataUint16*, KyiImageData*, int, BOOL )", 0);
    switch (ChoosePath()) {
    case Path::Cpu: return FilterOnCpu(image, mask, size, parallel, log) ? 1 : 0;
    }
    return 0;
}

} // namespace kyf
