#include "alignment/frame_warp.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>
#include <utility>
#include <vector>

#include "alignment/frame_warp_plan.h"
#include "alignment/frame_warp_rows.h"
#include "alignment/unused_sample.h"
#include "filters/image_layout.h"
#include "filters/numbers.h"
#include "filters/sample_rows.h"
#include "filters/scratch.h"

namespace kyf {

namespace {

// Tables and rows of a tile stay in the nearest cache.
constexpr std::int32_t kTileSamples = 768;
constexpr std::int32_t kTileRows = 64;
constexpr std::int32_t kNoRow = -1;

// Runs of fewer samples are gathered before they are interpolated, by blocks of so many bytes.
constexpr std::int32_t kShortRun = 96;
constexpr std::size_t kGatherBytes = 32;

std::int32_t Difference(std::int32_t a, std::int32_t b) noexcept { return WrappingSum(a, WrappingProduct(b, -1)); }

double RadiansOf(const KyfFrameShift& shift) noexcept { return shift.Angle * std::numbers::pi / 180.0; }

// A frame of S samples a pixel that is scaled and shifted: columns and rows are planned once.
template <typename T> class StraightWarp {
  public:
    StraightWarp(const KyiImageData& source, const KyiImageData& destination, const KyfFrameShift& shift)
        : m_source(source), m_destination(destination), m_width(source.Width), m_height(source.Height),
          m_stride(SampleStride(source.PixelBytes)), m_columns(PlanAxis(source.Width, shift.ShiftX, shift.ScaleX)),
          m_rows(PlanAxis(source.Height, shift.ShiftY, shift.ScaleY)),
          m_fractions(static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_stride)) {
        for (std::size_t i = 0; i < m_fractions.size(); ++i)
            m_fractions[i] = m_columns[i / static_cast<std::size_t>(m_stride)].Fraction;
        const std::int32_t tileColumns = kTileSamples / m_stride;
        for (std::int32_t x = 0; x < m_width; x += tileColumns)
            m_tiles.push_back(MakeTile(x, std::min(tileColumns, m_width - x)));
    }

    void Run(KyiBool parallel) const {
        const WorkShare share(BlockCount(m_height, kTileRows), parallel != 0);
        const Scratch<double> lines(static_cast<std::size_t>(share.Chunks) * 2 * kTileSamples);
        const Scratch<T> neighbours(static_cast<std::size_t>(share.Chunks) * 2 * kGathered);
#pragma omp parallel for schedule(static) if (parallel != 0)
        for (std::int32_t chunk = 0; chunk < share.Chunks; ++chunk) {
            const Slice slice{lines.Get() + std::ptrdiff_t{2 * kTileSamples} * chunk,
                              neighbours.Get() + std::ptrdiff_t{2 * kGathered} * chunk};
            for (std::int32_t block = share.First(chunk); block < share.Last(chunk); ++block)
                for (const Tile& tile : m_tiles) WarpTile(tile, block * kTileRows, slice);
        }
    }

  private:
    static constexpr std::int32_t kGatherBlock = kGatherBytes / sizeof(T);
    static constexpr std::int32_t kGathered = kTileSamples + kGatherBlock; // a block may end behind the tile

    // Working memory of a chunk: two interpolated lines, and two lines of samples.
    struct Slice {
        double* Lines;
        T* Neighbours;
    };

    struct Tile {
        std::int32_t Column;
        std::int32_t Count;
        std::vector<WarpRun> Runs;
        bool IsWhole;  ///< no column lies between two of the source
        bool IsPatchy; ///< the runs are short
    };

    Tile MakeTile(std::int32_t first, std::int32_t count) const {
        const auto begin = m_columns.begin() + first;
        const bool isWhole =
            std::all_of(begin, begin + count, [](const WarpCell& cell) { return cell.Fraction == 0.0; });
        std::vector<WarpRun> runs = FindRuns(m_columns, first, first + count);
        const bool isPatchy = static_cast<std::size_t>(count * m_stride / kShortRun) < runs.size();
        return {first, count, std::move(runs), isWhole, isPatchy};
    }

    // The two rows of samples under a row of the destination, interpolated along the row. The lower one of a row mostly
    // is the upper one of the next.
    class LinePair {
      public:
        explicit LinePair(double* lines) : m_lines{lines, lines + kTileSamples} {}

        template <typename Fill> void Hold(std::int32_t above, std::int32_t below, Fill fill) {
            if (m_held[1] == above) {
                std::swap(m_lines[0], m_lines[1]);
                std::swap(m_held[0], m_held[1]);
            }
            Fetch(0, above, fill);
            if (below != above) Fetch(1, below, fill);
            m_below = below != above ? m_lines[1] : m_lines[0];
        }
        const double* Above() const noexcept { return m_lines[0]; }
        const double* Below() const noexcept { return m_below; }

      private:
        template <typename Fill> void Fetch(std::size_t line, std::int32_t row, Fill fill) {
            if (m_held[line] == row) return;
            fill(row, m_lines[line]);
            m_held[line] = row;
        }

        double* m_lines[2];
        const double* m_below = nullptr;
        std::int32_t m_held[2] = {kNoRow, kNoRow};
    };

    void WarpTile(const Tile& tile, std::int32_t firstRow, const Slice& slice) const noexcept {
        LinePair pair(slice.Lines);
        const std::int32_t count = tile.Count * m_stride;
        for (std::int32_t y = firstRow; y < std::min(firstRow + kTileRows, m_height); ++y) {
            T* const out = m_destination[y] + std::ptrdiff_t{tile.Column} * m_stride;
            const WarpCell& cell = m_rows[static_cast<std::size_t>(y)];
            if (cell.First < 0) {
                std::fill_n(out, count, T{0});
                continue;
            }
            if (tile.IsWhole && cell.Fraction == 0.0) {
                CopyLine(tile, m_source[cell.First], out);
                continue;
            }
            pair.Hold(cell.First, cell.Second, [&](std::int32_t row, double* line) {
                if (tile.IsPatchy)
                    InterpolateGathered(tile, m_source[row], slice.Neighbours, line);
                else
                    InterpolateLine(tile, m_source[row], line);
            });
            InterpolateRows(pair.Above(), pair.Below(), cell.Fraction, out, count);
        }
    }

    // Most frames of a stack that only drifts: the scale is 1.
    void CopyLine(const Tile& tile, const T* row, T* out) const noexcept {
        for (const WarpRun& run : tile.Runs) {
            T* const at = out + std::ptrdiff_t{run.Column - tile.Column} * m_stride;
            if (run.First < 0)
                std::fill_n(at, run.Count * m_stride, T{0});
            else
                CopyCapped(row + std::ptrdiff_t{run.First} * m_stride, at, run.Count * m_stride);
        }
    }

    void InterpolateLine(const Tile& tile, const T* row, double* line) const noexcept {
        for (const WarpRun& run : tile.Runs) {
            double* const out = line + std::ptrdiff_t{run.Column - tile.Column} * m_stride;
            if (run.First < 0)
                std::fill_n(out, run.Count * m_stride, 0.0);
            else
                InterpolateRun(row + std::ptrdiff_t{run.First} * m_stride, row + std::ptrdiff_t{run.Second} * m_stride,
                               &m_fractions[static_cast<std::size_t>(run.Column) * static_cast<std::size_t>(m_stride)],
                               out, run.Count * m_stride);
        }
    }

    // Strongly scaled frames have runs of a few pixels. Side by side they make one run of the tile's length.
    void InterpolateGathered(const Tile& tile, const T* row, T* first, double* line) const noexcept {
        T* const second = first + kGathered;
        for (const WarpRun& run : tile.Runs) {
            Gather(row, run.First, run, first + std::ptrdiff_t{run.Column - tile.Column} * m_stride);
            Gather(row, run.Second, run, second + std::ptrdiff_t{run.Column - tile.Column} * m_stride);
        }
        InterpolateRun(first, second,
                       &m_fractions[static_cast<std::size_t>(tile.Column) * static_cast<std::size_t>(m_stride)], line,
                       tile.Count * m_stride);
    }

    // A whole block where the row goes on for so long: what it writes too much, the next run writes again.
    void Gather(const T* row, std::int32_t column, const WarpRun& run, T* out) const noexcept {
        const std::int32_t count = run.Count * m_stride;
        if (column < 0)
            std::fill_n(out, count, T{0});
        else if (count <= kGatherBlock && (m_width - column) * m_stride >= kGatherBlock)
            std::memcpy(out, row + std::ptrdiff_t{column} * m_stride, kGatherBytes);
        else
            std::copy_n(row + std::ptrdiff_t{column} * m_stride, count, out);
    }

    SampleRows<const T> m_source;
    SampleRows<T> m_destination;
    std::int32_t m_width;
    std::int32_t m_height;
    std::int32_t m_stride;
    std::vector<WarpCell> m_columns;
    std::vector<WarpCell> m_rows;
    std::vector<double> m_fractions; // of each sample's column
    std::vector<Tile> m_tiles;
};

// A frame that is turned too: every pixel has a cell of its own.
template <typename T> class TurningWarp {
  public:
    TurningWarp(const KyiImageData& source, const KyiImageData& destination, const KyfFrameShift& shift) noexcept
        : m_source(source), m_destination(destination), m_width(source.Width), m_height(source.Height),
          m_stride(SampleStride(source.PixelBytes)), m_shift(shift), m_cos(std::cos(RadiansOf(shift))),
          m_sin(std::sin(RadiansOf(shift))) {}

    void Run(KyiBool parallel) const noexcept {
#pragma omp parallel for schedule(static) if (parallel != 0)
        for (std::int32_t y = 0; y < m_height; ++y) WarpRow(y);
    }

  private:
    void WarpRow(std::int32_t y) const noexcept {
        T* out = m_destination[y];
        const std::int32_t dy = Difference(y - m_height / 2, m_shift.ShiftY);
        for (std::int32_t x = 0; x < m_width; ++x, out += m_stride) {
            const std::int32_t dx = Difference(x - m_width / 2, m_shift.ShiftX);
            const WarpCell row = FindCell((m_cos * dy + m_sin * dx) / m_shift.ScaleY, m_height / 2, m_height);
            const WarpCell column = FindCell((m_cos * dx - m_sin * dy) / m_shift.ScaleX, m_width / 2, m_width);
            if (row.First < 0 || column.First < 0)
                std::fill_n(out, m_stride, T{0});
            else
                WarpPixel(row, column, out);
        }
    }

    void WarpPixel(const WarpCell& row, const WarpCell& column, T* out) const noexcept {
        const T* const above = m_source[row.First];
        const T* const below = m_source[row.Second];
        constexpr double top = std::numeric_limits<T>::max() - 1;
        const double fx = column.Fraction;
        const double fy = row.Fraction;
        for (std::int32_t s = 0; s < m_stride; ++s) {
            const std::ptrdiff_t first = std::ptrdiff_t{column.First} * m_stride + s;
            const std::ptrdiff_t second = std::ptrdiff_t{column.Second} * m_stride + s;
            const double value = (below[second] * fx + below[first] * (1.0 - fx)) * fy +
                                 (above[first] * (1.0 - fx) + above[second] * fx) * (1.0 - fy);
            out[s] = static_cast<T>(TruncateToInt32(std::min(std::max(value, 0.0), top)));
        }
    }

    SampleRows<const T> m_source;
    SampleRows<T> m_destination;
    std::int32_t m_width;
    std::int32_t m_height;
    std::int32_t m_stride;
    KyfFrameShift m_shift;
    double m_cos;
    double m_sin;
};

// Without rotation sine and cosine are 0 and 1, and what they multiply leaves no trace in a sum.
template <typename T>
void Warp(const KyiImageData& source, const KyiImageData& destination, const KyfFrameShift& shift, KyiBool parallel) {
    if (std::sin(RadiansOf(shift)) == 0.0 && std::cos(RadiansOf(shift)) == 1.0)
        StraightWarp<T>(source, destination, shift).Run(parallel);
    else
        TurningWarp<T>(source, destination, shift).Run(parallel);
}

void ClearUnusedSamples(const KyiImageData& image, KyiBool parallel) noexcept {
    const SampleRows<std::uint8_t> rows(image);
#pragma omp parallel for schedule(static) if (parallel != 0)
    for (std::int32_t y = 0; y < image.Height; ++y) ClearUnusedInRow(rows[y], image.Width, image.PixelBytes);
}

} // namespace

KyPoint MapForward(KyPoint point, std::int32_t width, std::int32_t height, const KyfFrameShift& shift) noexcept {
    const std::int32_t cx = width / 2;
    const std::int32_t cy = height / 2;
    const double angle = -RadiansOf(shift);
    const double c = std::cos(angle);
    const double n = std::sin(angle);
    const std::int32_t dx = Difference(point.x, cx);
    const std::int32_t dy = Difference(point.y, cy);
    return {TruncateToInt32(((dx * c + dy * n + cx) - cx) * shift.ScaleY + cx + shift.ShiftX),
            TruncateToInt32(((dy * c - dx * n + cy) - cy) * shift.ScaleY + cy + shift.ShiftY)};
}

void WarpFrame(const KyiImageData& source, KyiImageData& destination, const KyfFrameShift& shift, KyiBool parallel) {
    if (!IsSameLayout(source, destination) || source.Pixels == destination.Pixels) return;
    switch (SampleBytes(source.PixelBytes)) {
    case 1: Warp<std::uint8_t>(source, destination, shift, parallel); break;
    case 2: Warp<std::uint16_t>(source, destination, shift, parallel); break;
    default: return;
    }
    if (destination.PixelBytes == 4) ClearUnusedSamples(destination, parallel);
}

} // namespace kyf
