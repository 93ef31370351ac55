// What is put in the place of cut pixels.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

#include "filters/filters.h"
#include "filters/numbers.h"
#include "filters/scratch.h"
#include "height/noise_cut.h"
#include "height/noise_cut_window.h"

namespace kyf {

namespace {

/// The rows that the windows of one row reach, as they were before the pass. A row is loaded before it is filled, and
/// kept until no row below needs it, so that nine rows stand for a copy of the whole table.
class WindowRows {
  public:
    explicit WindowRows(const KyfImageData& work)
        : m_work(work), m_stride(static_cast<std::size_t>(work.Width) + 2 * kFillMargin),
          m_heights(m_stride * kLines, 0.0), m_bytes(m_stride * (2 * kLines + 2), 0) {}

    void BeginPass() noexcept { std::fill(std::begin(m_loaded), std::end(m_loaded), kNone); }

    /// Fills one row. @return marks that are left in it.
    std::int32_t Fill(std::int32_t y) noexcept {
        WindowRow rows[kFillRows];
        for (std::int32_t i = 0; i < kFillRows; ++i) rows[i] = Load(y - kFillReach + i);
        std::uint8_t* const columns[2] = {Bytes(2 * kLines), Bytes(2 * kLines + 1)};
        return FillRow(rows, m_work.Rows[y], m_work.Width, columns);
    }

  private:
    static constexpr std::int32_t kNone = -1;
    static constexpr std::size_t kOutside = kFillRows; ///< the line of the rows that the table does not have: all 0
    static constexpr std::size_t kLines = kFillRows + 1;

    std::uint8_t* Bytes(std::size_t line) noexcept { return m_bytes.data() + line * m_stride + kFillMargin; }

    WindowRow Line(std::size_t line) noexcept {
        return {m_heights.data() + line * m_stride + kFillMargin, Bytes(line), Bytes(kLines + line)};
    }

    WindowRow Load(std::int32_t y) noexcept {
        if (y < 0 || y >= m_work.Height) return Line(kOutside);
        const auto line = static_cast<std::size_t>(y % kFillRows);
        if (m_loaded[line] != y) LoadWindowRow(m_work.Rows[y], m_work.Width, Line(line));
        m_loaded[line] = y;
        return Line(line);
    }

    const KyfImageData& m_work;
    std::size_t m_stride;
    std::vector<double> m_heights;
    std::vector<std::uint8_t> m_bytes; // counted, live, and two lines of scratch
    std::int32_t m_loaded[kFillRows] = {};
};

std::int64_t Total(const std::int32_t* marks, std::int32_t rows) {
    return std::accumulate(marks, marks + rows, std::int64_t{0});
}

void FillWithSmallest(KyfImageData& work) noexcept {
    constexpr double kStart = 2147483647.0;
    double least = kStart;
    for (std::int32_t y = 0; y < work.Height; ++y) least = ExtendSmallest(least, work.Rows[y], work.Width);
    const double height = least < kStart ? least : 0.0;
    for (std::int32_t y = 0; y < work.Height; ++y) ReplaceMarks(work.Rows[y], height, work.Width);
}

void FillWithLargest(KyfImageData& work) noexcept {
    double greatest = 0.0;
    for (std::int32_t y = 0; y < work.Height; ++y) greatest = ExtendLargest(greatest, work.Rows[y], work.Width);
    for (std::int32_t y = 0; y < work.Height; ++y) ReplaceMarks(work.Rows[y], greatest, work.Width);
}

} // namespace

std::int32_t CutThreshold(const KyfDifferentiationMap& map, double cutRatio) noexcept {
    return TruncateToInt32(std::floor(WrappingSum(map.Depth, -1) * cutRatio + 0.5));
}

std::int32_t MarkHeights(const JudgedHeights& judged, std::int32_t y, std::int32_t threshold, double* row) noexcept {
    const double* const heights = judged.Heights.Rows[y];
    const std::int32_t width = judged.Heights.Width;
    const std::int32_t judgedWidth = y < judged.Map.Height ? std::clamp(judged.Map.Width, 0, width) : 0;
    const std::int32_t marks = judgedWidth > 0 ? MarkRow(heights, judged.Map.Rows[y], threshold, row, judgedWidth) : 0;
    std::copy(heights + judgedWidth, heights + width, row + judgedWidth);
    return marks + CountMarks(row + judgedWidth, width - judgedWidth);
}

void CutHeights(const JudgedHeights& judged, double cutRatio, std::int32_t fillType, KyfImageData& work) {
    std::vector<std::int32_t> marks(static_cast<std::size_t>(work.Height));
    const std::int32_t threshold = CutThreshold(judged.Map, cutRatio);
    for (std::int32_t y = 0; y < work.Height; ++y)
        marks[static_cast<std::size_t>(y)] = MarkHeights(judged, y, threshold, work.Rows[y]);
    if (Total(marks.data(), work.Height) == 0) return;
    switch (fillType) {
    case KyfNoiseCutFillNeighbours: return FillFromNeighbours(work, marks.data());
    case KyfNoiseCutFillSmallest: return FillWithSmallest(work);
    default: return FillWithLargest(work);
    }
}

// A pass in which no pixel changes would be followed by the same pass again: the count before tells that it came.
void FillFromNeighbours(KyfImageData& work, std::int32_t* marks) {
    WindowRows rows(work);
    std::int64_t before = -1;
    for (std::int64_t left = Total(marks, work.Height); left > 0 && left != before; left = Total(marks, work.Height)) {
        before = left;
        rows.BeginPass();
        for (std::int32_t y = 0; y < work.Height; ++y)
            if (marks[y] > 0) marks[y] = rows.Fill(y);
    }
}

KyfResult SmoothHeights(KyfImageData& work, std::int32_t width, std::int32_t percent) noexcept {
    if (percent <= 0) return KyfResultOk;
    const double cutoff = width / 100.0 * percent;
    return FilterSplineDouble(&work, &work, cutoff, cutoff, 0, /*parallel=*/0);
}

DoubleImagePtr NewWorkHeights(const KyfImageData& heights) noexcept {
    constexpr std::int64_t kMostPixels = PTRDIFF_MAX / static_cast<std::int64_t>(sizeof(double));
    const bool fits = heights.Height < 1 || heights.Width <= kMostPixels / heights.Height;
    return DoubleImagePtr(fits ? AllocDoubleImage(heights.Width, heights.Height) : nullptr);
}

} // namespace kyf
