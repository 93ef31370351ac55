#include "safe3d/peak_selection.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <memory>
#include <vector>

#include "filters/numbers.h"
#include "filters/sample_rows.h"
#include "filters/scratch.h"
#include "safe3d/gauss_lanes.h"
#include "safe3d/gaussian_fit.h"
#include "safe3d/peak_lanes.h"
#include "safe3d/peak_search.h"
#include "safe3d/stack_lanes.h"

namespace kyf {

namespace {

constexpr std::uint8_t kGood = 0;
constexpr std::uint8_t kBad = 255;
constexpr std::int32_t kNoPeak = -1; // no pixel so far has set one
constexpr double kLeastBand = 2.0;   // band-passed edge strength of a peak
constexpr double kLeastAmplitude = 2.0;
constexpr double kLeastFitted = 50.0; // fitted amplitude where the stack's brightness varies
constexpr double kNoAmplitude = -1.0;
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

/// What the look at a column has come to.
enum class Finding {
    Known,    ///< position, mask and amplitude stand
    Queued,   ///< the fit is still to come
    Rejected, ///< no peak
    Pending,  ///< the peak of the pixel before decides, and there is none yet
};

/// Rules and working memory for the pixels of a tile: first each column is searched, then all fits run together.
class TileSelector {
  public:
    TileSelector(const SelectionSettings& settings, const BandPassTaps& taps, std::int32_t pixels)
        : m_lanes(LengthOfWindow(settings.FrameCount)), m_settings(settings), m_taps(taps), m_banded(FrameCount()),
          m_column(2 * FrameCount()),
          m_windows(static_cast<std::size_t>(pixels) * static_cast<std::size_t>(LengthOfWindow(settings.FrameCount))),
          m_jobs(static_cast<std::size_t>(pixels)), m_starts(m_jobs.size()), m_outcomes(m_jobs.size()),
          m_search(settings.FrameCount), m_windowLength(LengthOfWindow(settings.FrameCount)) {}

    void Begin() { m_count = 0; }

    /// Eight columns for the calls of Search. They stay the caller's.
    void TakeBlock(const DoubleLanes* edge) {
        m_edge = edge;
        BandPassLanes(m_taps, edge, m_banded.Get(), m_extremes);
    }

    /// @param peak  Peak of the pixel before, or kNoPeak; receives this pixel's if it has one.
    /// @param position  Receives the result of a pixel that is known or rejected; a rejected one may keep its frame.
    Finding Search(int lane, std::int32_t pixel, std::int32_t& peak, Position& position) {
        const bool isFound = FindPeak(lane, peak);
        position.Mask = kBad;
        if (m_settings.NeedsPeak && (!isFound || m_banded.Get()[peak][lane] < kLeastBand)) return Finding::Rejected;
        if (peak == kNoPeak) return Finding::Pending;
        if (peak != 0 && peak != m_settings.FrameCount - 1) return Queue(lane, pixel, peak, position);
        position = {static_cast<double>(peak), kGood};
        return Finding::Known;
    }

    /// Fits what has been queued, and tells each pixel's position and fitted amplitude.
    template <typename Tell> void FitQueued(const Tell& tell) {
        m_lanes.Fit(m_windows.Get(), m_starts.data(), m_count, m_outcomes.data());
        for (std::int32_t i = 0; i < m_count; ++i) {
            const auto job = static_cast<std::size_t>(i);
            const bool isFitted = m_outcomes[job].Result == FitResult::Converged;
            const Position position = isFitted ? PositionOf(m_jobs[job].Estimate) : Position{0.0, kBad};
            tell(m_jobs[job].Pixel, position, m_outcomes[job].Amplitude);
        }
    }

    /// Whether the brightness of a column rises too steeply at a frame for a surface. The smoothed slope is taken at
    /// that frame only.
    bool IsSteep(const DoubleLanes* kido, int lane, double frame) {
        double* const column = m_column.Get();
        double* const slope = column + m_settings.FrameCount;
        CopyLane(kido, lane, m_settings.FrameCount, column);
        DifferentiateLuminance(column, slope, m_settings.FrameCount);
        const std::int32_t at = std::clamp(TruncateToInt32(frame), 0, m_settings.FrameCount - 1);
        return SmoothTriangularAt(m_settings.SlopeWidth, m_settings.FrameCount, slope, at) > m_settings.LargestSlope;
    }

  private:
    struct Job {
        std::int32_t Pixel;
        PeakEstimate Estimate;
    };

    std::size_t FrameCount() const { return static_cast<std::size_t>(m_settings.FrameCount); }

    static std::int32_t LengthOfWindow(std::int32_t frameCount) {
        const FitWindow window = WindowOfPeak(frameCount, frameCount / 2);
        return window.Last - window.First + 1;
    }

    // SearchPeak from where the band-pass has come.
    bool FindPeak(int lane, std::int32_t& peak) {
        const double top = m_extremes.Top[lane];
        if (m_extremes.Peak[lane] >= 0) peak = static_cast<std::int32_t>(m_extremes.Peak[lane]);
        if (std::fabs(top - m_extremes.Low[lane]) < 1.0 || top < m_settings.Search.Threshold) return false;
        double* const segmented = m_column.Get();
        for (std::int32_t i = 0; i < m_settings.FrameCount; ++i) {
            const double value = m_banded.Get()[i][lane];
            segmented[i] = value < m_settings.Search.Threshold ? 0.0 : value;
        }
        return ChoosePeak(m_settings.FrameCount, segmented, m_settings.Search, peak, m_search);
    }

    Finding Queue(int lane, std::int32_t pixel, std::int32_t peak, Position& position) {
        const auto job = static_cast<std::size_t>(m_count);
        const PeakColumn column{reinterpret_cast<const double*>(m_edge) + lane,
                                reinterpret_cast<const double*>(m_banded.Get()) + lane, m_settings.FrameCount,
                                kDoubleLanes};
        double* const window = m_windows.Get() + std::ptrdiff_t{m_count} * m_windowLength;
        position = {0.0, kBad};
        if (!EstimatePeak(column, peak, window, m_jobs[job].Estimate)) return Finding::Rejected;
        if (!IsBelievable(m_jobs[job].Estimate)) return Finding::Rejected;
        m_jobs[job].Pixel = pixel;
        m_starts[job] = m_jobs[job].Estimate.Start;
        ++m_count;
        return Finding::Queued;
    }

    bool IsBelievable(const PeakEstimate& estimate) const {
        return !m_settings.NeedsPeak || !(estimate.Start[0] < kLeastAmplitude || estimate.Start[1] < 0.0);
    }

    Position PositionOf(const PeakEstimate& estimate) const {
        const double last = m_settings.FrameCount - 1;
        const double centre = estimate.InFrames()[2];
        return {centre < 0.0 ? 0.0 : centre > last ? last : centre, kGood};
    }

    LaneExtremes m_extremes{}; // first: these two begin at cache lines
    GaussLanes m_lanes;
    const SelectionSettings& m_settings;
    const BandPassTaps& m_taps;
    const DoubleLanes* m_edge = nullptr;
    Scratch<DoubleLanes> m_banded;
    Scratch<double> m_column;
    Scratch<double> m_windows;
    std::vector<Job> m_jobs;
    std::vector<FitParameters> m_starts;
    std::vector<GaussOutcome> m_outcomes;
    PeakWorkspace m_search;
    std::int32_t m_windowLength;
    std::int32_t m_count = 0;
};

/// What a row leaves for the rows around it.
struct RowPeaks {
    std::int32_t Pending; ///< pixels at its start that wait for the peak of the row before
    std::int32_t Last;    ///< peak of its last pixel, or kNoPeak when all wait
};

/// One thread's share: columns, working memory, and the way along a row.
class RowSelector {
  public:
    RowSelector(const KyfFocusComposition& session, const SelectionSettings& settings, const BandPassTaps& taps)
        : m_session(session), m_settings(settings), m_edge(settings.FrameCount, taps.Reach()),
          m_kido(settings.FrameCount, 0), m_selector(settings, taps, Capacity()) {}

    /// Selects pixels 0 to count - 1 of row y. @param peak  Peak of the pixel before the first, or kNoPeak.
    RowPeaks Select(std::int32_t y, std::int32_t count, std::int32_t peak, double* frameRow, std::uint8_t* maskRow) {
        std::int32_t pending = 0;
        for (std::int32_t first = 0; first < count; first += Capacity()) {
            const std::int32_t pixels = std::min(Capacity(), count - first);
            m_edge.Gather(m_session.EdgeFrames, y, first, pixels);
            m_kido.Gather(m_session.KidoFrames, y, first, pixels);
            pending += SelectTile(pixels, peak, frameRow + first, maskRow + first);
        }
        return {pending, peak};
    }

  private:
    std::int32_t Capacity() const { return std::min(m_edge.Capacity(), m_kido.Capacity()); }

    std::int32_t SelectTile(std::int32_t pixels, std::int32_t& peak, double* frames, std::uint8_t* masks) {
        for (std::int32_t first = 0; first < pixels; first += kDoubleLanes)
            FindRange(m_kido.Block(first / kDoubleLanes), m_settings.FrameCount, m_lowest[first / kDoubleLanes],
                      m_highest[first / kDoubleLanes]);
        const auto store = [&](std::int32_t pixel, const Position& position, double amplitude) {
            const bool isGlare = position.Mask == kGood && IsGlare(pixel, position.Frame, amplitude);
            frames[pixel] = position.Frame;
            masks[pixel] = isGlare ? kBad : position.Mask;
        };
        std::int32_t pending = 0;
        m_selector.Begin();
        for (std::int32_t p = 0; p < pixels; ++p) {
            const std::int32_t lane = p % kDoubleLanes;
            if (lane == 0) m_selector.TakeBlock(m_edge.Block(p / kDoubleLanes));
            Position position{frames[p], kBad};
            const Finding finding = m_selector.Search(lane, p, peak, position);
            if (finding == Finding::Pending) ++pending;
            if (finding == Finding::Known || finding == Finding::Rejected) store(p, position, kNoAmplitude);
        }
        m_selector.FitQueued(store);
        return pending;
    }

    // Where the brightness varies, a low peak or a steep brightness is a reflex and no surface.
    bool IsGlare(std::int32_t pixel, double frame, double amplitude) {
        const std::int32_t block = pixel / kDoubleLanes;
        const int lane = pixel % kDoubleLanes;
        const std::int32_t range =
            WrappingDifference(TruncateToInt32(m_highest[block][lane]), TruncateToInt32(m_lowest[block][lane]));
        if (range <= m_settings.KidoRangeLimit) return false;
        return amplitude <= kLeastFitted || m_selector.IsSteep(m_kido.Block(block), lane, frame);
    }

    const KyfFocusComposition& m_session;
    const SelectionSettings& m_settings;
    StackLanes m_edge;
    StackLanes m_kido;
    DoubleLanes m_lowest[StackLanes::kMostBlocks]{};
    DoubleLanes m_highest[StackLanes::kMostBlocks]{};
    TileSelector m_selector;
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
    const BandPassTaps taps(settings.FrameCount, settings.Search.ShortRatio, settings.Search.LongRatio);
    const WorkShare share(frameMap.Height, parallel != 0);
    std::vector<std::unique_ptr<RowSelector>> selectors;
    selectors.reserve(static_cast<std::size_t>(share.Chunks));
    for (std::int32_t chunk = 0; chunk < share.Chunks; ++chunk)
        selectors.push_back(std::make_unique<RowSelector>(session, settings, taps));
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
