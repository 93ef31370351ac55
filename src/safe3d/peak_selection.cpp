#include "safe3d/peak_selection.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <vector>

#include "filters/numbers.h"
#include "filters/sample_rows.h"
#include "filters/scratch.h"
#include "safe3d/gaussian_fit.h"
#include "safe3d/peak_search.h"
#include "safe3d/stack_columns.h"

namespace kyf {

namespace {

constexpr std::uint8_t kGood = 0;
constexpr std::uint8_t kBad = 255;
constexpr std::int32_t kNoPeak = -1; // no pixel so far has set one
constexpr double kLeastBand = 2.0;   // band-passed edge strength of a peak
constexpr double kLeastAmplitude = 2.0;
constexpr double kLeastFitted = 50.0; // fitted amplitude where the stack's brightness varies
constexpr std::array<double, 11> kThresholds{70, 52, 35, 25, 18, 13, 11, 9, 7, 6, 5};

struct SelectionSettings {
    std::int32_t FrameCount;
    PeakSearchSettings Search;
    bool NeedsPeak; // false where brightness stands for focus: the strongest frame then counts in any case
    std::int32_t SlopeWidth;
    std::int32_t KidoRangeLimit;
    double LargestSlope;
};

SelectionSettings SettingsOf(const KyfFocusComposition& session) {
    const std::int32_t count = session.State3D.FrameCount;
    const auto sensitivity = static_cast<std::size_t>(std::clamp(session.FocusingValueDetectionSensitivity, 0, 10));
    const bool isAscending = count > 1 && session.HeightList[0] < session.HeightList[1];
    const bool hasHalation = session.HalationMeasures != 0;
    return {count,
            {0.2, 0.6, kThresholds[sensitivity], session.AdoptionPeakPosition, isAscending},
            session.ScopeType != 2 && session.ScopeType != 3,
            count < 30 ? 1 : count / 15,
            hasHalation ? 10 : 255,
            (hasHalation ? 0.8 : 0.99) * 255};
}

/// Position of a pixel, and whether it can be believed.
struct Position {
    double Frame;
    std::uint8_t Mask;
};

/// Working memory and rules for one pixel after the other.
class PixelSelector {
  public:
    explicit PixelSelector(const SelectionSettings& settings)
        : m_settings(settings), m_search(settings.FrameCount), m_fit(settings.FrameCount),
          m_columns(3 * static_cast<std::size_t>(settings.FrameCount)) {}

    /// @param peak  Peak of the pixel before, or kNoPeak; receives this pixel's if it has one.
    /// @param position  Receives the result, its frame only where there is one.
    /// @return false when the result depends on the peak of a pixel before, and that is kNoPeak.
    bool Select(const double* edge, const double* kido, std::int32_t& peak, Position& position) {
        const bool isFound =
            SearchPeak(m_settings.FrameCount, edge, Banded(), Segmented(), m_settings.Search, peak, m_search);
        position.Mask = kBad;
        if (m_settings.NeedsPeak && (!isFound || Banded()[peak] < kLeastBand)) return true;
        if (peak == kNoPeak) return false;
        double amplitude = -1.0;
        position = Locate(edge, peak, amplitude);
        if (position.Mask == kGood && IsGlare(kido, position.Frame, amplitude)) position.Mask = kBad;
        return true;
    }

  private:
    double* Banded() { return m_columns.Get(); }
    double* Segmented() { return m_columns.Get() + m_settings.FrameCount; }
    double* Slope() { return m_columns.Get() + 2 * std::ptrdiff_t{m_settings.FrameCount}; }

    Position Locate(const double* edge, std::int32_t peak, double& amplitude) {
        const double last = m_settings.FrameCount - 1;
        if (peak == 0) return {0.0, kGood};
        if (peak == m_settings.FrameCount - 1) return {last, kGood};
        FitParameters estimate{};
        const bool isFitted = FitPeak(edge, Banded(), m_settings.FrameCount, peak, estimate, amplitude, m_fit);
        if (!isFitted || (m_settings.NeedsPeak && (estimate[0] < kLeastAmplitude || estimate[1] < 0.0)))
            return {0.0, kBad};
        const double centre = estimate[2];
        return {centre < 0.0 ? 0.0 : centre > last ? last : centre, kGood};
    }

    // Where the brightness varies, a low peak or a steep brightness is a reflex and no surface. The smoothed slope is
    // taken at one frame only, and only for pixels that come so far.
    bool IsGlare(const double* kido, double frame, double amplitude) {
        const auto [lowest, highest] = std::minmax_element(kido, kido + m_settings.FrameCount);
        if (TruncateToInt32(*highest) - TruncateToInt32(*lowest) <= m_settings.KidoRangeLimit) return false;
        if (amplitude <= kLeastFitted) return true;
        DifferentiateLuminance(kido, Slope(), m_settings.FrameCount);
        const std::int32_t at = std::clamp(TruncateToInt32(frame), 0, m_settings.FrameCount - 1);
        return SmoothTriangularAt(m_settings.SlopeWidth, m_settings.FrameCount, Slope(), at) > m_settings.LargestSlope;
    }

    const SelectionSettings& m_settings;
    PeakWorkspace m_search;
    FitWorkspace m_fit;
    Scratch<double> m_columns;
};

/// What a row leaves for the rows around it.
struct RowPeaks {
    std::int32_t Pending; ///< pixels at its start that wait for the peak of the row before
    std::int32_t Last;    ///< peak of its last pixel, or kNoPeak when all wait
};

/// One thread's share: columns, working memory, and the way along a row.
class RowSelector {
  public:
    RowSelector(const KyfFocusComposition& session, const SelectionSettings& settings)
        : m_session(session), m_selector(settings), m_edge(settings.FrameCount), m_kido(settings.FrameCount) {}

    /// Selects pixels 0 to count - 1 of row y. @param peak  Peak of the pixel before the first, or kNoPeak.
    RowPeaks Select(std::int32_t y, std::int32_t count, std::int32_t peak, double* frameRow, std::uint8_t* maskRow) {
        std::int32_t pending = 0;
        for (std::int32_t first = 0; first < count; first += m_edge.Capacity()) {
            const std::int32_t pixels = std::min(m_edge.Capacity(), count - first);
            m_edge.Gather(m_session.EdgeFrames, y, first, pixels);
            m_kido.Gather(m_session.KidoFrames, y, first, pixels);
            for (std::int32_t p = 0; p < pixels; ++p) {
                Position position{frameRow[first + p], kBad};
                if (!m_selector.Select(m_edge.Column(p), m_kido.Column(p), peak, position)) ++pending;
                frameRow[first + p] = position.Frame;
                maskRow[first + p] = position.Mask;
            }
        }
        return {pending, peak};
    }

  private:
    const KyfFocusComposition& m_session;
    PixelSelector m_selector;
    StackColumns m_edge;
    StackColumns m_kido;
};

// Rows are dealt out in turn: those that take long lie side by side. Everything that can fail comes before the region.
template <typename SelectRow>
void ForEachRow(std::vector<std::unique_ptr<RowSelector>>& selectors, std::int32_t height, const SelectRow& selectRow) {
    const auto chunks = static_cast<std::int32_t>(selectors.size());
#pragma omp parallel for schedule(static) if (chunks > 1)
    for (std::int32_t chunk = 0; chunk < chunks; ++chunk)
        for (std::int32_t y = chunk; y < height; y += chunks) selectRow(*selectors[static_cast<std::size_t>(chunk)], y);
}

} // namespace

void SelectPeaks(const KyfFocusComposition& session, KyfImageData& frameMap, KyiImageData& mask, KyiBool parallel) {
    const SelectionSettings settings = SettingsOf(session);
    const WorkShare share(frameMap.Height, parallel != 0);
    std::vector<std::unique_ptr<RowSelector>> selectors;
    for (std::int32_t chunk = 0; chunk < share.Chunks; ++chunk)
        selectors.push_back(std::make_unique<RowSelector>(session, settings));
    std::vector<RowPeaks> rows(static_cast<std::size_t>(frameMap.Height));
    const SampleRows<std::uint8_t> maskRows(mask);

    ForEachRow(selectors, frameMap.Height, [&](RowSelector& selector, std::int32_t y) {
        rows[static_cast<std::size_t>(y)] = selector.Select(y, frameMap.Width, kNoPeak, frameMap.Rows[y], maskRows[y]);
    });
    std::int32_t peak = 0;
    for (RowPeaks& row : rows) {
        const std::int32_t before = peak;
        if (row.Last != kNoPeak) peak = row.Last;
        row.Last = before; // from here on: the peak of the pixel before the row
    }
    ForEachRow(selectors, frameMap.Height, [&](RowSelector& selector, std::int32_t y) {
        const RowPeaks row = rows[static_cast<std::size_t>(y)];
        selector.Select(y, row.Pending, row.Last, frameMap.Rows[y], maskRows[y]);
    });
}

} // namespace kyf
