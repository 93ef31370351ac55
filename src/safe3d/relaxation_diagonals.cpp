#include "safe3d/relaxation.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>

#include "filters/sample_rows.h"
#include "platform/simd.h"

namespace kyf {

namespace {

constexpr std::uint8_t kLastGood = 254;

/// One diagonal: `count` samples at `samples`, of which those with a set bit mask are bad. Neighbours above and to the
/// left lie at before[i - 1] and before[i], those to the right and below at after[i] and after[i + 1].
struct Diagonal {
    std::uint16_t* Samples;
    const std::uint16_t* Before;
    const std::uint16_t* After;
    const std::uint16_t* Bad; // 0xffff or 0
};

// Samples first to last - 1, all with four neighbours. The largest change.
KY_SIMD_CLONES std::uint16_t RelaxInside(const Diagonal& diagonal, std::int32_t first, std::int32_t last) {
    std::uint16_t* __restrict const samples = diagonal.Samples; // the three diagonals do not overlap
    const std::uint16_t* const before = diagonal.Before;
    const std::uint16_t* const after = diagonal.After;
    const std::uint16_t* const bad = diagonal.Bad;
    std::uint16_t largest = 0;
    for (std::int32_t i = first; i < last; ++i) {
        // A quarter of a sum of 18 bits, in 16: quarters first, then what they have left over.
        const std::uint16_t a = before[i - 1];
        const std::uint16_t b = before[i];
        const std::uint16_t c = after[i];
        const std::uint16_t d = after[i + 1];
        const auto rest = static_cast<std::uint16_t>((a & 3) + (b & 3) + (c & 3) + (d & 3));
        const auto mean = static_cast<std::uint16_t>((a >> 2) + (b >> 2) + (c >> 2) + (d >> 2) + (rest >> 2));
        const std::uint16_t old = samples[i];
        const auto value = static_cast<std::uint16_t>((mean & bad[i]) | (old & ~bad[i]));
        const auto change = static_cast<std::uint16_t>(value > old ? value - old : old - value);
        largest = change > largest ? change : largest;
        samples[i] = value;
    }
    return largest;
}

/// The image turned so that diagonals are contiguous: sample i of diagonal t is sample (i, t - i) of the image, i along
/// its shorter side. Going along the shorter side first sweeps as well as row order: what a sample waits for is the
/// same.
class DiagonalImage {
  public:
    DiagonalImage(const KyfImageDataUint16& image, const KyiImageData& mask)
        : m_isTall(image.Height > image.Width), m_short(std::min(image.Width, image.Height)),
          m_long(std::max(image.Width, image.Height)), m_diagonals(m_short + m_long - 1),
          m_stride(std::ptrdiff_t{m_short} + 2), m_image(image), m_mask(mask) {
        const std::size_t size = static_cast<std::size_t>(m_stride) * (static_cast<std::size_t>(m_diagonals) + 2);
        m_samples.reset(new (std::nothrow) std::uint16_t[size]());
        m_bad.reset(new (std::nothrow) std::uint16_t[size]());
        m_ranges.reset(new (std::nothrow) Range[static_cast<std::size_t>(m_diagonals)]);
    }

    bool IsAllocated() const { return m_samples && m_bad && m_ranges; }

    void Load() {
        for (std::int32_t t = 0; t < m_diagonals; ++t) {
            Range range{m_short, 0, true};
            for (std::int32_t i = First(t); i <= Last(t); ++i) {
                SamplesOf(t)[i] = Sample(i, t - i);
                if (!IsBad(i, t - i)) continue;
                BadOf(t)[i] = 0xffff;
                range.First = std::min(range.First, i);
                range.Last = i + 1;
            }
            RangeOf(t) = range;
        }
    }

    void Store() const {
        for (std::int32_t t = 0; t < m_diagonals; ++t)
            for (std::int32_t i = RangeOf(t).First; i < RangeOf(t).Last; ++i) Sample(i, t - i) = SamplesOf(t)[i];
    }

    // One sweep: the largest change. Diagonals between two that have not changed since are left out.
    std::uint16_t Sweep() {
        std::uint16_t largest = 0;
        for (std::int32_t t = 0; t < m_diagonals; ++t) {
            Range& range = RangeOf(t);
            const bool isStale = (t > 0 && RangeOf(t - 1).HasChanged) ||
                                 (t + 1 < m_diagonals && RangeOf(t + 1).HasChanged) || !m_hasSwept;
            const std::uint16_t change = isStale && range.First < range.Last ? Relax(t, range) : std::uint16_t{0};
            range.HasChanged = change != 0;
            largest = std::max(largest, change);
        }
        m_hasSwept = true;
        return largest;
    }

  private:
    struct Range {
        std::int32_t First; // bad samples of a diagonal
        std::int32_t Last;
        bool HasChanged;
    };

    // t from -1 to m_diagonals: there is a diagonal of zeros at either end.
    std::ptrdiff_t At(std::int32_t t) const { return (std::ptrdiff_t{t} + 1) * m_stride + 1; }
    std::uint16_t* SamplesOf(std::int32_t t) const { return m_samples.get() + At(t); }
    std::uint16_t* BadOf(std::int32_t t) const { return m_bad.get() + At(t); }
    Range& RangeOf(std::int32_t t) const { return m_ranges.get()[t]; }
    std::int32_t First(std::int32_t t) const { return std::max(t - m_long + 1, 0); }
    std::int32_t Last(std::int32_t t) const { return std::min(m_short - 1, t); }
    std::uint16_t& Sample(std::int32_t i, std::int32_t j) const {
        return m_isTall ? m_image.Rows[j][i] : m_image.Rows[i][j];
    }
    bool IsBad(std::int32_t i, std::int32_t j) const { return (m_isTall ? m_mask[j][i] : m_mask[i][j]) > kLastGood; }

    // Only the two ends of a diagonal lie at an edge of the image.
    std::uint16_t Relax(std::int32_t t, const Range& range) {
        const Diagonal diagonal{SamplesOf(t), SamplesOf(t - 1), SamplesOf(t + 1), BadOf(t)};
        const std::int32_t first = First(t);
        const std::int32_t last = Last(t);
        std::uint16_t largest = RelaxEnd(diagonal, first, t);
        largest =
            std::max(largest, RelaxInside(diagonal, std::max(range.First, first + 1), std::min(range.Last, last)));
        return last > first ? std::max(largest, RelaxEnd(diagonal, last, t)) : largest;
    }

    std::uint16_t RelaxEnd(const Diagonal& diagonal, std::int32_t i, std::int32_t t) const {
        if (!diagonal.Bad[i]) return 0;
        const std::int32_t j = t - i;
        std::int32_t sum = 0;
        std::int32_t count = 0;
        const auto add = [&](bool isInside, std::int32_t value) {
            sum += isInside ? value : 0;
            count += isInside ? 1 : 0;
        };
        add(i > 0, diagonal.Before[i - 1]);
        add(j > 0, diagonal.Before[i]);
        add(j + 1 < m_long, diagonal.After[i]);
        add(i + 1 < m_short, diagonal.After[i + 1]);
        if (count == 0) return 0;
        const std::int32_t mean = sum / count;
        const std::int32_t change = std::abs(mean - diagonal.Samples[i]);
        diagonal.Samples[i] = static_cast<std::uint16_t>(mean);
        return static_cast<std::uint16_t>(change);
    }

    bool m_isTall;
    std::int32_t m_short;
    std::int32_t m_long;
    std::int32_t m_diagonals;
    std::ptrdiff_t m_stride; // one unused sample at either end, so that neighbours can be read without a test
    const KyfImageDataUint16& m_image;
    SampleRows<const std::uint8_t> m_mask;
    std::unique_ptr<std::uint16_t[]> m_samples;
    std::unique_ptr<std::uint16_t[]> m_bad;
    std::unique_ptr<Range[]> m_ranges;
    bool m_hasSwept = false;
};

} // namespace

std::int32_t RelaxByDiagonals(KyfImageDataUint16& image, const KyiImageData& mask, std::uint16_t limit) {
    DiagonalImage diagonals(image, mask);
    if (!diagonals.IsAllocated()) return -1;
    diagonals.Load();
    std::int32_t sweep = 1;
    while (diagonals.Sweep() > limit && sweep < kMaxSweeps) ++sweep;
    diagonals.Store();
    return sweep;
}

} // namespace kyf
