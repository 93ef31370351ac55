#include "safe3d/edge_data.h"

#include <algorithm>
#include <array>

#include "filters/numbers.h"
#include "safe3d/double_lanes.h"

namespace kyf {

namespace {

constexpr std::int32_t kHalfWindow = 4;
constexpr int kWindowColumns = 2 * kHalfWindow;
constexpr double kEdgeFactor = 50.0;
constexpr std::int32_t kBlock = 64;               // result columns that are made together
constexpr std::int32_t kMostColumns = 2 * kBlock; // source columns up to which all sums of a block are taken

using Sums = std::array<double, kMostColumns>;

struct Sources {
    const KyfImageData* Bibun;
    const KyfImageData* BokashiBibun;
    const KyfImageData* Kido;
};

std::int32_t RowsOf(std::int32_t height, std::int32_t centre, std::int32_t& top) {
    top = std::max(centre - kHalfWindow, 0);
    return std::min(centre + kHalfWindow, height) - top;
}

std::int32_t ColumnsOf(std::int32_t width, std::int32_t centre) {
    return std::min(centre + kHalfWindow, width) - std::max(centre - kHalfWindow, 0);
}

double SumAt(const KyfImageData& image, std::int32_t centre, std::int32_t top, std::int32_t rowCount) {
    const std::int32_t left = std::max(centre - kHalfWindow, 0);
    const std::int32_t right = std::min(centre + kHalfWindow, image.Width);
    double sum = 0.0;
    for (std::int32_t y = top; y < top + rowCount; ++y)
        for (std::int32_t x = left; x < right; ++x) sum += image.Rows[y][x];
    return sum;
}

// Sums of whole windows around the columns from `first` on. Four groups of lanes are in flight, as one sum alone would
// wait for itself.
KY_ALWAYS_INLINE void SumFourGroups(const double* const* rows, std::int32_t rowCount, std::int32_t first,
                                    double* sums) {
    DoubleLanes a{};
    DoubleLanes b{};
    DoubleLanes c{};
    DoubleLanes d{};
    for (std::int32_t y = 0; y < rowCount; ++y) {
        const double* const row = rows[y] + first - kHalfWindow;
        for (int l = 0; l < kWindowColumns; ++l) {
            AddLanes(a, row + l);
            AddLanes(b, row + l + kDoubleLanes);
            AddLanes(c, row + l + 2 * kDoubleLanes);
            AddLanes(d, row + l + 3 * kDoubleLanes);
        }
    }
    StoreLanes(a, sums);
    StoreLanes(b, sums + kDoubleLanes);
    StoreLanes(c, sums + 2 * kDoubleLanes);
    StoreLanes(d, sums + 3 * kDoubleLanes);
}

KY_ALWAYS_INLINE void SumOneGroup(const double* const* rows, std::int32_t rowCount, std::int32_t first, double* sums) {
    DoubleLanes sum{};
    for (std::int32_t y = 0; y < rowCount; ++y)
        for (int l = 0; l < kWindowColumns; ++l) AddLanes(sum, rows[y] + first - kHalfWindow + l);
    StoreLanes(sum, sums);
}

// `count` is 0, or as many as a group has and more.
KY_SIMD_CLONES void SumColumns(const double* const* rows, std::int32_t rowCount, std::int32_t first, std::int32_t count,
                               double* sums) {
    constexpr std::int32_t kTogether = 4 * kDoubleLanes;
    std::int32_t at = 0;
    for (; at + kTogether <= count; at += kTogether) SumFourGroups(rows, rowCount, first + at, sums + at);
    for (; at < count; at += kDoubleLanes) {
        at = std::min(at, count - kDoubleLanes); // the last group may take some columns again
        SumOneGroup(rows, rowCount, first + at, sums + at);
    }
}

// Sums around every column from `first` on: lanes where the windows are whole, one by one near the edges.
void SumEveryColumn(const KyfImageData& image, std::int32_t top, std::int32_t rowCount, std::int32_t first,
                    std::int32_t count, double* sums) {
    const std::int32_t last = first + count;
    const std::int32_t wholeFirst = std::min(std::max(first, kHalfWindow), last);
    const std::int32_t wholeLast = std::min(last, image.Width - kHalfWindow + 1);
    const std::int32_t whole = std::max(wholeLast - wholeFirst, 0);
    const std::int32_t inLanes = whole < kDoubleLanes ? 0 : whole;
    for (std::int32_t x = first; x < wholeFirst; ++x) sums[x - first] = SumAt(image, x, top, rowCount);
    SumColumns(image.Rows + top, rowCount, wholeFirst, inLanes, sums + (wholeFirst - first));
    for (std::int32_t x = wholeFirst + inLanes; x < last; ++x) sums[x - first] = SumAt(image, x, top, rowCount);
}

struct GridRow {
    std::int32_t Top;
    std::int32_t RowCount;
    double WidthRatio;
    double* Edge;
    double* Kido;
};

void StoreResult(const GridRow& row, std::int32_t x, std::int32_t count, double bibun, double bokashi, double kido) {
    const double n = count;
    const double data = (bibun / n - bokashi / n) * kEdgeFactor;
    row.Edge[x] = data > 0.0 ? data : 0.0;
    row.Kido[x] = kido / n;
}

std::int32_t CentreColumn(const GridRow& row, std::int32_t x) { return TruncateToInt32(row.WidthRatio * x); }

// Result columns first to last - 1. Where they lie close together, neighbours share the sums of all columns between.
void MakeBlock(const Sources& from, const GridRow& row, std::int32_t first, std::int32_t last) {
    const std::int32_t start = CentreColumn(row, first);
    const std::int32_t count = CentreColumn(row, last - 1) - start + 1;
    const std::int32_t width = from.Bibun->Width;
    if (count > kMostColumns) {
        for (std::int32_t x = first; x < last; ++x) {
            const std::int32_t centre = CentreColumn(row, x);
            StoreResult(row, x, row.RowCount * ColumnsOf(width, centre),
                        SumAt(*from.Bibun, centre, row.Top, row.RowCount),
                        SumAt(*from.BokashiBibun, centre, row.Top, row.RowCount),
                        SumAt(*from.Kido, centre, row.Top, row.RowCount));
        }
        return;
    }
    Sums bibun;
    Sums bokashi;
    Sums kido;
    SumEveryColumn(*from.Bibun, row.Top, row.RowCount, start, count, bibun.data());
    SumEveryColumn(*from.BokashiBibun, row.Top, row.RowCount, start, count, bokashi.data());
    SumEveryColumn(*from.Kido, row.Top, row.RowCount, start, count, kido.data());
    for (std::int32_t x = first; x < last; ++x) {
        const std::int32_t centre = CentreColumn(row, x);
        const auto at = static_cast<std::size_t>(centre - start);
        StoreResult(row, x, row.RowCount * ColumnsOf(width, centre), bibun[at], bokashi[at], kido[at]);
    }
}

} // namespace

WindowSum SumWindow(const KyfImageData& image, const SampleWindow& window) {
    const std::int32_t left = std::max(window.Left, 0);
    const std::int32_t right = std::min(window.Right, image.Width);
    const std::int32_t top = std::max(window.Top, 0);
    const std::int32_t bottom = std::min(window.Bottom, image.Height);
    if (left >= right || top >= bottom) return {0.0, 0};
    double sum = 0.0;
    for (std::int32_t y = top; y < bottom; ++y)
        for (std::int32_t x = left; x < right; ++x) sum += image.Rows[y][x];
    return {sum, (right - left) * (bottom - top)};
}

void MakeEdgeData(const KyfImageData& bibun, const KyfImageData& bokashiBibun, const KyfImageData& kidoSource,
                  KyfImageData& edge, KyfImageData& kido, KyiBool parallel) {
    const Sources from{&bibun, &bokashiBibun, &kidoSource};
    const double widthRatio = static_cast<double>(bibun.Width) / edge.Width;
    const double heightRatio = static_cast<double>(bibun.Height) / edge.Height;
#pragma omp parallel for schedule(static) if (parallel)
    for (std::int32_t y = 0; y < edge.Height; ++y) {
        GridRow row{0, 0, widthRatio, edge.Rows[y], kido.Rows[y]};
        row.RowCount = RowsOf(bibun.Height, TruncateToInt32(heightRatio * y), row.Top);
        for (std::int32_t x = 0; x < edge.Width; x += kBlock) MakeBlock(from, row, x, std::min(x + kBlock, edge.Width));
    }
}

} // namespace kyf
