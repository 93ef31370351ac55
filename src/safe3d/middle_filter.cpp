#include "safe3d/middle_filter.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <optional>

#include <kyimaging/functracelog.h>

#include "filters/sample_rows.h"
#include "safe3d/cuda_stages.h"
#include "safe3d/custom_deleter.h"
#include "safe3d/median_row.h"
#include "safe3d/opencl_stages.h"
#include "safe3d/processing_path.h"

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

/// Working memory of a pass, had before its first trace line.
class MedianMemory {
  public:
    MedianMemory(const KyfImageDataUint16& image, std::int32_t size) : m_half(std::max(size, 0) / 2) {
        if (IsSideBySide()) {
            m_planes.emplace(image.Width, image.Height, m_half);
            return;
        }
        m_before.Reset(AllocUint16Image(image.Width, image.Height));
        const auto columns = static_cast<std::size_t>(std::min(Side(), std::int64_t{image.Width}));
        const auto rows = static_cast<std::size_t>(std::min(Side(), std::int64_t{image.Height}));
        m_values.reset(new (std::nothrow) std::uint16_t[columns * rows]);
    }

    bool IsAllocated() const { return IsSideBySide() ? m_planes->IsAllocated() : m_before && m_values; }
    bool IsSideBySide() const { return Side() * Side() <= kMostCounted; }
    std::int32_t Half() const { return m_half; }
    PaddedPlanes& Planes() { return *m_planes; }
    KyfImageDataUint16& Before() { return *m_before; }
    std::uint16_t* Values() { return m_values.get(); }

  private:
    std::int64_t Side() const { return 2 * std::int64_t{m_half} + 1; }

    std::int32_t m_half;
    std::optional<PaddedPlanes> m_planes;
    HeldImage<KyfImageDataUint16> m_before{nullptr};
    std::unique_ptr<std::uint16_t[]> m_values;
};

// Whether a sample of the row has changed.
bool FilterRow(const PaddedPlanes& planes, std::int32_t side, const std::uint8_t* mask, std::int32_t y,
               std::uint16_t* row, std::int32_t width) {
    std::uint16_t medians[kMedianLanes];
    std::uint32_t changes = 0;
    for (std::int32_t x = 0; x < width; x += kMedianLanes) {
        const std::int32_t count = std::min(kMedianLanes, width - x);
        if (std::all_of(mask + x, mask + x + count, [](std::uint8_t value) { return value != 0; })) continue;
        MedianOfWindows(planes.WindowsAt(x, y), side, medians);
        for (std::int32_t i = 0; i < count; ++i) {
            if (mask[x + i] != 0) continue;
            changes |= static_cast<std::uint32_t>(row[x + i] ^ medians[i]);
            row[x + i] = medians[i];
        }
    }
    return changes != 0;
}

bool FilterSideBySide(KyfImageDataUint16& image, const SampleRows<const std::uint8_t>& mask, MedianMemory& memory,
                      KyiBool parallel) {
    PaddedPlanes& planes = memory.Planes();
    const std::int32_t side = 2 * memory.Half() + 1;
    planes.Load(image, mask);
    bool hasChanged = false;
#pragma omp parallel for schedule(static) reduction(|| : hasChanged) if (parallel)
    for (std::int32_t y = 0; y < image.Height; ++y)
        hasChanged = FilterRow(planes, side, mask[y], y, image.Rows[y], image.Width) || hasChanged;
    return hasChanged;
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
bool FilterOneByOne(KyfImageDataUint16& image, const SampleRows<const std::uint8_t>& mask, MedianMemory& memory) {
    std::uint16_t* const values = memory.Values();
    CopyUint16Image(image, memory.Before(), /*parallel=*/0);
    bool hasChanged = false;
    for (std::int32_t y = 0; y < image.Height; ++y) {
        for (std::int32_t x = 0; x < image.Width; ++x) {
            if (mask[y][x] != 0) continue;
            const std::size_t count = Gather(memory.Before(), mask, memory.Half(), x, y, values);
            std::nth_element(values, values + count / 2, values + count);
            hasChanged = hasChanged || image.Rows[y][x] != values[count / 2];
            image.Rows[y][x] = values[count / 2];
        }
    }
    return hasChanged;
}

enum class PassResult { Failed, Unchanged, Changed, Unknown };

void TraceBegin(const CFuncTraceLog& log) { log.Trace(__FILE__, __LINE__, L"Begin processing by CPU."); }
void TraceEnd(const CFuncTraceLog& log) { log.Trace(__FILE__, __LINE__, L"End processing by CPU."); }

PassResult FilterOnCpu(KyfImageDataUint16& image, const KyiImageData& mask, std::int32_t size, KyiBool parallel,
                       const CFuncTraceLog& log) {
    MedianMemory memory(image, size);
    if (!memory.IsAllocated()) return PassResult::Failed;
    TraceBegin(log);
    const SampleRows<const std::uint8_t> rows(mask);
    const bool hasChanged =
        memory.IsSideBySide() ? FilterSideBySide(image, rows, memory, parallel) : FilterOneByOne(image, rows, memory);
    TraceEnd(log);
    return hasChanged ? PassResult::Changed : PassResult::Unchanged;
}

constexpr const wchar_t* kTitle = L"MiddleFilter( KyfImageDataUint16*, KyiImageData*, int, BOOL )";

// The path is chosen anew in each pass. What a back end changes is not known.
PassResult RunPass(KyfImageDataUint16& image, const KyiImageData& mask, std::int32_t size, KyiBool parallel) {
    const CFuncTraceLog log(__FILE__, __LINE__, kTitle, 0);
    switch (ChooseMedianPath()) {
    case ProcessingPath::Cuda: FilterMedianOnCuda(image, mask, size, log); return PassResult::Unknown;
    case ProcessingPath::OpenCl:
        return FilterMedianOnOpenCl(image, mask, size, log) ? PassResult::Unknown : PassResult::Failed;
    case ProcessingPath::Cpu: break;
    }
    return FilterOnCpu(image, mask, size, parallel, log);
}

// The lines of a pass on the CPU that need not be computed. Those of the back ends, which each pass asks, are among
// them.
void TracePass() {
    const CFuncTraceLog log(__FILE__, __LINE__, kTitle, 0);
    ChooseMedianPath();
    TraceBegin(log);
    TraceEnd(log);
}

// Passes after which the watch for medians that come back begins: usual settings have fewer.
constexpr std::int32_t kUnwatchedPasses = 16;

/// Medians can go round in a circle, stripes for one: passes from which an image comes back make it again and again.
/// Kept is the image of a pass that lies further and further back, so that a circle of any length is found.
class CircleWatch {
  public:
    /// Takes the image after one more pass. @return The length of the circle, or 0 while none has closed.
    std::int32_t Take(const KyfImageDataUint16& image) {
        ++m_age;
        if (m_kept && IsEqual(image, *m_kept)) return m_age;
        if (m_age < m_reach) return 0;
        if (!m_kept) m_kept.Reset(AllocUint16Image(image.Width, image.Height));
        if (!m_kept) return 0; // without memory all passes are computed
        CopyUint16Image(image, *m_kept, /*parallel=*/0);
        m_age = 0;
        if (m_reach < kLongestReach) m_reach *= 2;
        return 0;
    }

  private:
    static constexpr std::int32_t kLongestReach = 1 << 20;

    static bool IsEqual(const KyfImageDataUint16& first, const KyfImageDataUint16& second) {
        for (std::int32_t y = 0; y < first.Height; ++y)
            if (!std::equal(first.Rows[y], first.Rows[y] + first.Width, second.Rows[y])) return false;
        return true;
    }

    HeldImage<KyfImageDataUint16> m_kept{nullptr};
    std::int32_t m_age = 0; // of the kept image, in passes
    std::int32_t m_reach = 1;
};

// Passes that matter of those that are left after `done`, the image being back where it was `circle` passes ago.
std::int32_t LastPass(std::int32_t done, std::int32_t times, std::int32_t circle) {
    return done + (times - done) % circle;
}

} // namespace

std::int32_t MiddleFilter(KyfImageDataUint16& image, const KyiImageData& mask, std::int32_t size, KyiBool parallel) {
    return RunPass(image, mask, size, parallel) == PassResult::Failed ? 0 : 1;
}

std::int32_t RepeatMiddleFilter(KyfImageDataUint16& image, const KyiImageData& mask, std::int32_t size,
                                std::int32_t times, KyiBool parallel) {
    CircleWatch watch;
    std::int32_t last = times;
    std::int32_t done = 0;
    while (done < last) {
        const PassResult result = RunPass(image, mask, size, parallel);
        if (result == PassResult::Failed) return 0;
        ++done;
        if (result == PassResult::Unchanged) break;
        if (result == PassResult::Unknown || done < kUnwatchedPasses || last < times) continue;
        if (const std::int32_t circle = watch.Take(image)) last = LastPass(done, times, circle);
    }
    for (; done < times && KyiIsPuttingTraceLog(); ++done) TracePass();
    return 1;
}

} // namespace kyf
