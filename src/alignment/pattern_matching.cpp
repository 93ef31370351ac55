#include "alignment/pattern_matching.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "alignment/pattern_matching_rows.h"
#include "alignment/pattern_matching_windows.h"
#include "filters/numbers.h"
#include "filters/scratch.h"

namespace kyf {

namespace {

constexpr char16_t kSignature[6] = {u'K', u'Y', u'P', u'T', u'M', u'\0'};
constexpr std::int32_t kStartStep = 8;
constexpr std::int32_t kLevelCount = 4;
constexpr std::int32_t kGreen = 1;
constexpr std::int64_t kParallelSamples = 1 << 20; // below, threads cost more than they save

bool UseThreads(std::int32_t width, std::int32_t height, KyiBool parallel) noexcept {
    return parallel != 0 && std::int64_t{width} * height >= kParallelSamples;
}

// A loaded plane is as large as before in all frames of a stack but the first: nothing is allocated then.
void Resize(SamplePlane& plane, std::int32_t width, std::int32_t height) {
    plane.Width = std::max(width, 0);
    plane.Height = std::max(height, 0);
    plane.Samples.resize(static_cast<std::size_t>(plane.Width) * static_cast<std::size_t>(plane.Height));
}

std::int32_t LoadRow(const KyiImageData& image, std::int32_t x, std::int32_t y, std::int32_t* line, std::uint16_t* row,
                     std::int32_t width) noexcept {
    KyiGetLinePixel(&image, x, y, kGreen, line, width);
    std::int32_t peak = 0;
    for (std::int32_t i = 0; i < width; ++i) {
        row[i] = static_cast<std::uint16_t>(line[i]);
        peak = std::max(peak, line[i]);
    }
    return peak;
}

void Load(SamplePlane& plane, const KyiImageData& image, const KyfRect& rectangle, KyiBool parallel) {
    Resize(plane, WrappingSum(rectangle.Right, WrappingProduct(rectangle.Left, -1)),
           WrappingSum(rectangle.Bottom, WrappingProduct(rectangle.Top, -1)));
    const bool useThreads = UseThreads(plane.Width, plane.Height, parallel);
    const WorkShare share(plane.Height, useThreads);
    const auto width = static_cast<std::size_t>(plane.Width);
    const Scratch<std::int32_t> lines(width * static_cast<std::size_t>(share.Chunks));
    std::vector<std::int32_t> peaks(static_cast<std::size_t>(share.Chunks));
#pragma omp parallel for schedule(static) if (useThreads)
    for (std::int32_t chunk = 0; chunk < share.Chunks; ++chunk) {
        std::int32_t* const line = lines.Get() + width * static_cast<std::size_t>(chunk);
        std::int32_t peak = 0;
        for (std::int32_t y = share.First(chunk); y < share.Last(chunk); ++y)
            peak = std::max(
                peak, LoadRow(image, rectangle.Left, WrappingSum(rectangle.Top, y), line, plane.Row(y), plane.Width));
        peaks[static_cast<std::size_t>(chunk)] = peak;
    }
    plane.Peak = *std::max_element(peaks.begin(), peaks.end());
}

// Every `step`-th sample from (left, top) on.
void Thin(const SamplePlane& source, std::int32_t left, std::int32_t top, std::int32_t step, std::int32_t width,
          std::int32_t height, SamplePlane& out) {
    Resize(out, width, height);
    out.Peak = source.Peak;
    for (std::int32_t y = 0; y < height; ++y) {
        const std::uint16_t* const in = source.Row(top + y * step) + left;
        std::uint16_t* const row = out.Row(y);
        for (std::int32_t x = 0; x < width; ++x) row[x] = in[std::ptrdiff_t{x} * step];
    }
}

// Squares are added up as doubles: a row at once while the sum is an exact integer, one by one from there on.
void SumPlane(const SamplePlane& plane, double& sum, double& squareSum) noexcept {
    sum = 0.0;
    squareSum = 0.0;
    for (std::int32_t y = 0; y < plane.Height; ++y) {
        const std::uint16_t* const row = plane.Row(y);
        const RowSums sums = SumRow(row, plane.Width);
        sum += static_cast<double>(sums.Sum);
        const double next = squareSum + static_cast<double>(sums.Squares);
        if (next < kExactIntegers) {
            squareSum = next;
            continue;
        }
        for (std::int32_t x = 0; x < plane.Width; ++x) squareSum += static_cast<double>(row[x]) * row[x];
    }
}

std::size_t LevelOf(std::int32_t step) noexcept {
    std::size_t level = 0;
    while (step > 1) {
        step /= 2;
        ++level;
    }
    return level;
}

SampleBlock BlockOf(const SamplePlane& plane) noexcept { return {plane.Samples.data(), plane.Width}; }

// What the positions of a level are measured against.
struct LevelTerms {
    double Sum;
    double SquareSum;
    double Count;
    double MeanFactor; ///< twice the template's mean
    double Deviation;
};

LevelTerms TermsOf(const KyfPatternMatching& matcher, std::size_t level) noexcept {
    const double sum = matcher.TemplateSums[level];
    const double squareSum = matcher.TemplateSquareSums[level];
    const double count = matcher.SampleCount;
    return {sum, squareSum, count, 2.0 * sum / count, std::sqrt(squareSum - sum * sum / count)};
}

// A position can only beat the best so far while its squared difference stays within a limit that follows from both:
// most positions end after a few samples. The score is the correlation of template and window.
class Scan {
  public:
    Scan(const KyfPatternMatching& matcher, const SampleBlock& search, const SampleBlock& sample, std::int32_t step)
        : m_matcher(matcher), m_search(search), m_sample(sample), m_terms(TermsOf(matcher, LevelOf(step))),
          m_isNarrow(std::max(matcher.Search.Peak, matcher.Template.Peak) <= kNarrowPeak) {}

    bool IsBest(std::int32_t row, std::int32_t column) noexcept {
        const std::size_t place = static_cast<std::size_t>(row) * static_cast<std::size_t>(m_matcher.PositionColumns) +
                                  static_cast<std::size_t>(column);
        const double sum = m_matcher.WindowSums[place];
        const double squareSum = m_matcher.WindowSquareSums[place];
        const double deviation = std::sqrt(squareSum - sum * sum / m_terms.Count);
        const double scale = 2.0 * deviation * m_terms.Deviation;
        const double greatest = (squareSum + m_terms.SquareSum - sum * m_terms.MeanFactor) / scale;
        double difference = 0.0;
        if (!Measure(row, column, (greatest - m_best) * scale, difference)) return false;
        m_best = greatest - difference / scale;
        return true;
    }

  private:
    bool Measure(std::int32_t row, std::int32_t column, double limit, double& difference) const noexcept {
        // Below a template without samples there are none either, and no place among them.
        const std::ptrdiff_t place = m_search.Samples ? m_search.Stride * row + column : 0;
        const SampleBlock window{m_search.Samples + place, m_search.Stride};
        const auto measure = m_isNarrow ? SumSquaredDifferencesNarrow : SumSquaredDifferences;
        return measure(window, m_sample, m_matcher.SampleColumns, m_matcher.SampleRows, limit, difference);
    }

    const KyfPatternMatching& m_matcher;
    SampleBlock m_search;
    SampleBlock m_sample;
    LevelTerms m_terms;
    bool m_isNarrow;
    double m_best = 0.0;
};

void SizeLevel(KyfPatternMatching& matcher, const SearchWindow& window, std::int32_t step) noexcept {
    matcher.PositionRows = std::max((window.Bottom - window.Top) / step, 0);
    matcher.PositionColumns = std::max((window.Right - window.Left) / step, 0);
    matcher.SampleRows = matcher.Template.Height / step;
    matcher.SampleColumns = matcher.Template.Width / step;
    matcher.SampleCount = static_cast<double>(matcher.SampleRows) * matcher.SampleColumns;
}

// The samples under all positions of the level, side by side. At step 1 the loaded planes serve.
SampleBlock SearchBlock(KyfPatternMatching& matcher, const SearchWindow& window, std::int32_t step) {
    if (step == 1) return {matcher.Search.Row(window.Top) + window.Left, matcher.Search.Width};
    Thin(matcher.Search, window.Left, window.Top, step, matcher.PositionColumns + matcher.SampleColumns - 1,
         matcher.PositionRows + matcher.SampleRows - 1, matcher.LevelSearch);
    return BlockOf(matcher.LevelSearch);
}

SampleBlock TemplateBlock(KyfPatternMatching& matcher, std::int32_t step) {
    if (step == 1) return BlockOf(matcher.Template);
    Thin(matcher.Template, 0, 0, step, matcher.SampleColumns, matcher.SampleRows, matcher.LevelTemplate);
    return BlockOf(matcher.LevelTemplate);
}

} // namespace

void ResetPatternMatching(KyfPatternMatching* matcher) {
    if (!matcher) return;
    *matcher = KyfPatternMatching{};
    std::copy(std::begin(kSignature), std::end(kSignature), matcher->Signature);
}

void PreparePatternMatching(KyfPatternMatching& matcher) {
    ResetPatternMatching(&matcher);
    matcher.StartStep = kStartStep;
    matcher.LevelCount = kLevelCount;
    matcher.TemplateSums.assign(kLevelCount, 0.0);
    matcher.TemplateSquareSums.assign(kLevelCount, 0.0);
}

void LoadSearchImage(KyfPatternMatching& matcher, const KyiImageData* image, const KyfRect& rectangle,
                     KyiBool parallel) {
    if (!image) return;
    Load(matcher.Search, *image, rectangle, parallel);
    matcher.SearchRect = rectangle;
}

void LoadTemplate(KyfPatternMatching& matcher, const KyiImageData* image, const KyfRect& rectangle, KyiBool parallel) {
    if (!image || rectangle.Left == rectangle.Right || rectangle.Top == rectangle.Bottom) return;
    Load(matcher.Template, *image, rectangle, parallel);
    const SamplePlane& whole = matcher.Template;
    SumPlane(whole, matcher.TemplateSums[0], matcher.TemplateSquareSums[0]);
    for (std::int32_t level = 1, step = 2; level < matcher.LevelCount; ++level, step *= 2) {
        Thin(whole, 0, 0, step, whole.Width / step, whole.Height / step, matcher.LevelTemplate);
        const auto entry = static_cast<std::size_t>(level);
        SumPlane(matcher.LevelTemplate, matcher.TemplateSums[entry], matcher.TemplateSquareSums[entry]);
    }
}

SearchWindow FirstWindow(const KyfPatternMatching& matcher) noexcept {
    return {0, 0, matcher.Search.Width - matcher.Template.Width, matcher.Search.Height - matcher.Template.Height};
}

SearchWindow WindowAround(const KyfPatternMatching& matcher, KyPoint best, std::int32_t step) noexcept {
    const SearchWindow whole = FirstWindow(matcher);
    return {std::max(best.x - 2 * step, 0), std::max(best.y - 2 * step, 0), std::min(best.x + 2 * step, whole.Right),
            std::min(best.y + 2 * step, whole.Bottom)};
}

KyPoint SearchLevel(KyfPatternMatching& matcher, const SearchWindow& window, std::int32_t step, KyiBool parallel) {
    SizeLevel(matcher, window, step);
    KyPoint best{window.Left, window.Top};
    if (matcher.PositionRows == 0 || matcher.PositionColumns == 0) return best;
    // A template of fewer samples than a step: every position completes, and nothing is read.
    const bool isEmpty = matcher.SampleRows == 0 || matcher.SampleColumns == 0;
    const SampleBlock search = isEmpty ? SampleBlock{} : SearchBlock(matcher, window, step);
    FillWindowTables(matcher, search, parallel);
    Scan scan(matcher, search, isEmpty ? SampleBlock{} : TemplateBlock(matcher, step), step);
    for (std::int32_t row = 0; row < matcher.PositionRows; ++row)
        for (std::int32_t column = 0; column < matcher.PositionColumns; ++column)
            if (scan.IsBest(row, column)) best = {window.Left + column * step, window.Top + row * step};
    return best;
}

KyPoint SearchTemplate(KyfPatternMatching& matcher, KyiBool parallel) {
    KyPoint best{};
    for (std::int32_t step = matcher.StartStep; step > 0; step /= 2) {
        const bool isFirst = step == matcher.StartStep;
        best = SearchLevel(matcher, isFirst ? FirstWindow(matcher) : WindowAround(matcher, best, step), step, parallel);
    }
    return {WrappingSum(best.x, matcher.SearchRect.Left), WrappingSum(best.y, matcher.SearchRect.Top)};
}

} // namespace kyf
