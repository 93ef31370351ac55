#include "alignment/line_matching.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "alignment/line_matching_score.h"
#include "filters/numbers.h"

namespace kyf {

namespace {

constexpr std::int32_t kFewestBandRows = 5;
constexpr double kMiddle = 0.5;
constexpr std::array<double, kMatchingBands> kBandPlaces{0.2, 0.35, 0.5, 0.65, 0.8}; // parts of the height

using ProfilePtr = std::unique_ptr<std::int32_t[]>;
using Profiles = std::array<ProfilePtr, kMatchingBands>;
using Order = std::array<std::int32_t, kMatchingBands>;

ProfilePtr NewProfile(const KyiImageData& image) {
    return ProfilePtr(new std::int32_t[static_cast<std::size_t>(image.Width)]);
}

ProfilePtr ReadProfile(const KyiImageData& image, ProfileSource source, Band band) {
    ProfilePtr profile = NewProfile(image);
    std::int32_t* const out = profile.get();
    BandReader(image, source, 1, /*parallel=*/0).Read({&band, 1}, &out);
    return profile;
}

Profiles ReadProfiles(const KyiImageData& image, ProfileSource source, const Order& rows, std::int32_t height,
                      KyiBool parallel) {
    Profiles profiles;
    std::array<Band, kMatchingBands> bands;
    std::array<std::int32_t*, kMatchingBands> out;
    for (std::size_t i = 0; i < profiles.size(); ++i) {
        profiles[i] = NewProfile(image);
        bands[i] = {rows[i], height};
        out[i] = profiles[i].get();
    }
    BandReader(image, source, bands.size(), parallel).Read(bands, out.data());
    return profiles;
}

// Bands by their variance, the greatest first; equal ones keep their places.
Order OrderOf(const Profiles& profiles, std::int32_t width) noexcept {
    std::array<double, kMatchingBands> variances;
    Order order;
    for (std::size_t band = 0; band < profiles.size(); ++band) {
        variances[band] = VarianceOf(profiles[band].get(), width);
        order[band] = static_cast<std::int32_t>(band);
    }
    for (std::size_t pass = 0; pass < order.size(); ++pass)
        for (std::size_t i = 0; i + 1 < order.size(); ++i) {
            if (!(variances[i] < variances[i + 1])) continue;
            std::swap(variances[i], variances[i + 1]);
            std::swap(order[i], order[i + 1]);
        }
    return order;
}

Order RowsOfBands(std::int32_t height) noexcept {
    Order rows;
    for (std::size_t band = 0; band < rows.size(); ++band) rows[band] = TruncateToInt32(height * kBandPlaces[band]);
    return rows;
}

std::int32_t BandHeightOf(double ratio, std::int32_t height) noexcept {
    return std::max(TruncateToInt32(height * ratio) / 2 * 2 + 1, kFewestBandRows);
}

// The tables of several bands, owned until the record has them all.
struct BandTables {
    ProfilePtr Rows = std::make_unique<std::int32_t[]>(kMatchingBands);
    ProfilePtr Order = std::make_unique<std::int32_t[]>(kMatchingBands);
    std::unique_ptr<std::int32_t*[]> Profiles = std::make_unique<std::int32_t*[]>(kMatchingBands);
};

// A first frame as it is read.
struct FirstFrame {
    const KyiImageData& Image;
    ProfileSource Source;
    KyiBool Parallel;
};

void PrepareSingleBand(KyfLineMatching& matching, const FirstFrame& first, const KyfCompositionState& state) {
    matching.CentreRow = TruncateToInt32(state.SourceHeight * kMiddle);
    matching.Profile = ReadProfile(first.Image, first.Source, {matching.CentreRow, matching.BandHeight}).release();
}

void PrepareBands(KyfLineMatching& matching, const FirstFrame& first, const KyfCompositionState& state) {
    BandTables tables;
    const Order rows = RowsOfBands(state.SourceHeight);
    Profiles profiles = ReadProfiles(first.Image, first.Source, rows, matching.BandHeight, first.Parallel);
    const Order order = OrderOf(profiles, state.SourceWidth);
    std::copy(rows.begin(), rows.end(), tables.Rows.get());
    std::copy(order.begin(), order.end(), tables.Order.get());
    for (std::size_t band = 0; band < profiles.size(); ++band) tables.Profiles[band] = profiles[band].release();
    matching.LineCount = kMatchingBands;
    matching.LineRows = tables.Rows.release();
    matching.LineOrder = tables.Order.release();
    matching.LineProfiles = tables.Profiles.release();
}

// The displacement of the first band, in the order of variance, that has one run of high scores; else of the first.
std::int32_t ChooseShift(const KyfLineMatching& matching, const Profiles& profiles, std::int32_t width) {
    const SearchRange range = SearchRange::Of(matching.SearchRatio, width);
    std::int32_t ofFirst = 0;
    for (std::int32_t place = 0; place < kMatchingBands; ++place) {
        const std::int32_t band = matching.LineOrder[place];
        const std::int32_t* const now = profiles[static_cast<std::size_t>(band)].get();
        const BandMatch match = JudgeScores(ScoreDisplacements(matching.LineProfiles[band], now, width, range), range);
        if (match.Runs == 1) return match.Shift;
        if (place == 0) ofFirst = match.Shift;
    }
    return ofFirst;
}

void MatchSingleBand(const KyfLineMatching& matching, const KyiImageData& frame, LineMatch& match) {
    const SearchRange range = SearchRange::Of(matching.SearchRatio, frame.Width);
    match.Profile = ReadProfile(frame, ProfileSource::Gray, {matching.CentreRow, matching.BandHeight});
    match.Shift =
        JudgeScores(ScoreDisplacements(matching.Profile, match.Profile.get(), frame.Width, range), range).Shift;
}

void MatchBands(const KyfLineMatching& matching, const KyiImageData& frame, KyiBool parallel, LineMatch& match) {
    Order rows;
    std::copy_n(matching.LineRows, rows.size(), rows.begin());
    match.LineProfiles = ReadProfiles(frame, ProfileSource::Gray, rows, matching.BandHeight, parallel);
    match.Shift = ChooseShift(matching, match.LineProfiles, frame.Width);
    match.LineOrder = OrderOf(match.LineProfiles, frame.Width);
}

void AddShift(LineMatch& match, std::int32_t width) noexcept {
    const std::int32_t most = width / 4;
    match.TotalShift = std::clamp(match.TotalShift + match.Shift, -most, most);
    match.MinShift = std::min(match.MinShift, match.TotalShift);
    match.MaxShift = std::max(match.MaxShift, match.TotalShift);
}

std::uint8_t* RowOf(const KyiImageData& image, std::int32_t y) noexcept {
    return static_cast<std::uint8_t*>(KyiGetPixelAddress(&image, 0, y));
}

// A row that moves, in bytes: Kept bytes go from one place to another, and Gap bytes are uncovered.
struct RowParts {
    std::size_t Kept;
    std::size_t Gap;
    std::size_t From;
    std::size_t To;
    std::size_t Uncovered;
};

// A row that would leave the image stays.
RowParts PartsOf(const KyiImageData& frame, std::int32_t shift) noexcept {
    const auto line = static_cast<std::size_t>(frame.Width) * static_cast<std::size_t>(frame.PixelBytes);
    const std::size_t distance = static_cast<std::size_t>(std::abs(std::int64_t{shift}));
    const std::size_t gap = distance * static_cast<std::size_t>(frame.PixelBytes);
    if (gap >= line) return {0, line, 0, 0, 0};
    return shift > 0 ? RowParts{line - gap, gap, 0, gap, 0} : RowParts{line - gap, gap, gap, 0, line - gap};
}

} // namespace

void SetUpLineMatching(KyfLineMatching& matching, std::int32_t detectType, const KyfCompositionState& state,
                       const KyiImageData& first, ProfileSource source, KyiBool parallel) {
    KyfLineMatching fresh{};
    fresh.BandRatio = matching.BandRatio;
    fresh.SearchRatio = matching.SearchRatio;
    fresh.Margin = matching.Margin;
    fresh.CentreRow = matching.CentreRow;
    fresh.BandHeight = BandHeightOf(matching.BandRatio, state.SourceHeight);
    const FirstFrame frame{first, source, parallel};
    switch (detectType) {
    case 0: PrepareBands(fresh, frame, state); break;
    case 1: PrepareSingleBand(fresh, frame, state); break;
    default: KyiPutTraceLog(__FILE__, __LINE__, L"The MatchingDetectType is unknown: the frames are not moved.", 0);
    }
    FreeLineMatching(matching);
    matching = fresh;
}

LineMatch MatchLines(const KyfLineMatching& matching, const KyiImageData& frame, KyiBool parallel) {
    LineMatch match;
    match.TotalShift = matching.TotalShift;
    match.MinShift = matching.MinShift;
    match.MaxShift = matching.MaxShift;
    if (!matching.Profile && !matching.LineProfiles) return match;
    if (matching.Profile)
        MatchSingleBand(matching, frame, match);
    else
        MatchBands(matching, frame, parallel, match);
    AddShift(match, frame.Width);
    return match;
}

void AcceptLineMatch(KyfLineMatching& matching, LineMatch& match) noexcept {
    matching.TotalShift = match.TotalShift;
    matching.MinShift = match.MinShift;
    matching.MaxShift = match.MaxShift;
    if (match.Profile) delete[] std::exchange(matching.Profile, match.Profile.release());
    if (!match.LineProfiles.front()) return;
    for (std::size_t band = 0; band < match.LineProfiles.size(); ++band)
        delete[] std::exchange(matching.LineProfiles[band], match.LineProfiles[band].release());
    std::copy(match.LineOrder.begin(), match.LineOrder.end(), matching.LineOrder);
}

void FreeLineMatching(KyfLineMatching& matching) noexcept {
    for (std::int32_t band = 0; matching.LineProfiles && band < matching.LineCount; ++band)
        delete[] matching.LineProfiles[band];
    delete[] std::exchange(matching.LineProfiles, nullptr);
    delete[] std::exchange(matching.LineRows, nullptr);
    delete[] std::exchange(matching.LineOrder, nullptr);
    delete[] std::exchange(matching.Profile, nullptr);
}

void MoveRows(KyiImageData& frame, std::int32_t shift, KyiBool parallel) noexcept {
    const RowParts parts = PartsOf(frame, shift);
    if (parts.Kept == 0 || parts.Gap == 0) return;
#pragma omp parallel for schedule(static) if (parallel != 0)
    for (std::int32_t y = 0; y < frame.Height; ++y) {
        std::uint8_t* const row = RowOf(frame, y);
        std::memmove(row + parts.To, row + parts.From, parts.Kept);
    }
}

// Moved back by the opposite shift, a row has a gap where it once ended: there the lost columns belong.
std::vector<std::uint8_t> MoveRowsKeepingLost(KyiImageData& frame, std::int32_t shift, KyiBool parallel) {
    const RowParts back = PartsOf(frame, -shift);
    std::vector<std::uint8_t> lost(back.Kept == 0 ? 0 : back.Gap * static_cast<std::size_t>(frame.Height));
    if (lost.empty()) return lost;
    for (std::int32_t y = 0; y < frame.Height; ++y)
        std::memcpy(&lost[static_cast<std::size_t>(y) * back.Gap], RowOf(frame, y) + back.Uncovered, back.Gap);
    MoveRows(frame, shift, parallel);
    return lost;
}

void MoveRowsBack(KyiImageData& frame, std::int32_t shift, const std::vector<std::uint8_t>& lost,
                  KyiBool parallel) noexcept {
    if (lost.empty()) return;
    MoveRows(frame, -shift, parallel);
    const RowParts back = PartsOf(frame, -shift);
    for (std::int32_t y = 0; y < frame.Height; ++y)
        std::memcpy(RowOf(frame, y) + back.Uncovered, &lost[static_cast<std::size_t>(y) * back.Gap], back.Gap);
}

void CopyMovedRows(const KyiImageData& frame, KyiImageData& moved, std::int32_t shift, KyiBool parallel) noexcept {
    const RowParts parts = PartsOf(frame, shift);
#pragma omp parallel for schedule(static) if (parallel != 0)
    for (std::int32_t y = 0; y < frame.Height; ++y) {
        const std::uint8_t* const row = RowOf(frame, y);
        std::uint8_t* const out = RowOf(moved, y);
        std::memcpy(out + parts.To, row + parts.From, parts.Kept);
        std::memcpy(out + parts.Uncovered, row + parts.Uncovered, parts.Gap);
    }
}

} // namespace kyf
