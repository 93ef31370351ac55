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

// columns[i] = sum over the rows.
KY_SIMD_CLONES void AddRows(const double* const* rows, std::int32_t rowCount, std::int32_t first, std::int32_t count,
                            double* columns) {
    for (std::int32_t i = 0; i < count; ++i) columns[i] = 0.0;
    for (std::int32_t y = 0; y < rowCount; ++y)
        for (std::int32_t i = 0; i < count; ++i) columns[i] += rows[y][first + i];
}

// sums[i] = sum of the columns of the window that begins at column i.
KY_SIMD_CLONES void AddWindows(const double* columns, std::int32_t count, double* sums) {
    for (std::int32_t i = 0; i < count; ++i) {
        const double* const c = columns + i;
        sums[i] = ((c[0] + c[1]) + (c[2] + c[3])) + ((c[4] + c[5]) + (c[6] + c[7]));
    }
}

// As SumEveryColumn, for whole numbers: their sums are exact in any order, so that windows share those of their
// columns.
void SumWholeNumbers(const KyfImageData& image, std::int32_t top, std::int32_t rowCount, std::int32_t first,
                     std::int32_t count, double* sums) {
    std::array<double, kMostColumns + kWindowColumns> columns{}; // 0 beyond the image
    const std::int32_t left = first - kHalfWindow;
    const std::int32_t from = std::max(left, 0);
    const std::int32_t to = std::min(left + count + kWindowColumns - 1, image.Width);
    AddRows(image.Rows + top, rowCount, from, to - from, columns.data() + (from - left));
    AddWindows(columns.data(), count, sums);
}

struct GridRow {
    std::int32_t Top;
    std::int32_t RowCount;
    double WidthRatio;
    double* Edge;
    double* Kido;
};

// What has been summed for a block of the result, column by column of the result.
struct BlockSums {
    Sums Bibun;
    Sums Bokashi;
    Sums Kido;
};

template <typename Divide>
KY_ALWAYS_INLINE void StoreColumns(const BlockSums& sums, std::int32_t first, std::int32_t last, double* edge,
                                   double* kido, Divide divide) {
    for (auto i = static_cast<std::size_t>(first); i < static_cast<std::size_t>(last); ++i) {
        const double data = (divide(sums.Bibun[i]) - divide(sums.Bokashi[i])) * kEdgeFactor;
        edge[i] = data > 0.0 ? data : 0.0;
        kido[i] = divide(sums.Kido[i]);
    }
}

// Means over windows of `count` samples. Of a power of two the reciprocal is exact, and its product is the quotient.
KY_SIMD_CLONES void StoreMeans(const BlockSums& sums, std::int32_t first, std::int32_t last, std::int32_t count,
                               double* edge, double* kido) {
    const double n = count;
    const double reciprocal = 1.0 / n;
    if ((count & (count - 1)) == 0)
        StoreColumns(sums, first, last, edge, kido, [=](double sum) { return sum * reciprocal; });
    else
        StoreColumns(sums, first, last, edge, kido, [=](double sum) { return sum / n; });
}

/// Source columns of a run of result columns: they rise.
class Centres {
  public:
    Centres(double widthRatio, std::int32_t first, std::int32_t count) : m_count(count) {
        for (std::int32_t i = 0; i < count; ++i)
            m_columns[static_cast<std::size_t>(i)] = TruncateToInt32(widthRatio * (first + i));
    }

    std::int32_t At(std::int32_t i) const { return m_columns[static_cast<std::size_t>(i)]; }
    std::int32_t Count() const { return m_count; }
    std::int32_t First() const { return m_columns[0]; }
    /// Source columns from the first to the last one, those in between too.
    std::int32_t Span() const { return At(m_count - 1) - First() + 1; }

  private:
    std::array<std::int32_t, kBlock> m_columns;
    std::int32_t m_count;
};

// Where they lie close together, neighbours share the sums of all columns between.
template <typename SumEvery>
void SumAtCentres(const KyfImageData& image, const GridRow& row, const Centres& centres, SumEvery sumEvery,
                  Sums& sums) {
    if (centres.Span() == centres.Count()) // one after the other
        return sumEvery(image, row.Top, row.RowCount, centres.First(), centres.Count(), sums.data());
    Sums every;
    const bool isClose = centres.Span() <= kMostColumns;
    if (isClose) sumEvery(image, row.Top, row.RowCount, centres.First(), centres.Span(), every.data());
    for (std::int32_t i = 0; i < centres.Count(); ++i)
        sums[static_cast<std::size_t>(i)] = isClose ? every[static_cast<std::size_t>(centres.At(i) - centres.First())]
                                                    : SumAt(image, centres.At(i), row.Top, row.RowCount);
}

// How many result columns from `first` on have windows as wide as that one. Windows get narrower at the image's ends
// only.
std::int32_t AsWide(const Centres& centres, std::int32_t first, std::int32_t width) {
    const std::int32_t columns = ColumnsOf(width, centres.At(first));
    std::int32_t last = centres.Count();
    if (columns == kWindowColumns && ColumnsOf(width, centres.At(last - 1)) == columns) return last - first;
    last = first + 1;
    while (last < centres.Count() && ColumnsOf(width, centres.At(last)) == columns) ++last;
    return last - first;
}

// Result columns first to last - 1.
void MakeBlock(const Sources& from, const GridRow& row, std::int32_t first, std::int32_t last) {
    const Centres centres(row.WidthRatio, first, last - first);
    BlockSums sums;
    SumAtCentres(*from.Bibun, row, centres, SumEveryColumn, sums.Bibun);
    SumAtCentres(*from.BokashiBibun, row, centres, SumEveryColumn, sums.Bokashi);
    SumAtCentres(*from.Kido, row, centres, SumWholeNumbers, sums.Kido);
    const std::int32_t width = from.Bibun->Width;
    for (std::int32_t i = 0; i < centres.Count();) {
        const std::int32_t count = AsWide(centres, i, width);
        StoreMeans(sums, i, i + count, row.RowCount * ColumnsOf(width, centres.At(i)), row.Edge + first,
                   row.Kido + first);
        i += count;
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
