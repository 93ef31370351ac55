/// Line matching, the plain form: one operation after the other, gray images of whole frames, nothing shared.
#ifndef KYFOCUS_TESTS_REFERENCE_LINE_MATCHING_H
#define KYFOCUS_TESTS_REFERENCE_LINE_MATCHING_H

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "support/images.h"

namespace reference {

using Profile = std::vector<std::int32_t>;

inline test::Image GrayCopy(const KyiImageData& image) {
    if (KyiIsFormatGrayscale(image.Format)) return test::Image(KyiDuplicateImageData(&image, 0));
    static const std::vector<std::pair<std::int32_t, std::int32_t>> partners{
        {4, 3}, {100, 3}, {101, 3}, {7, 5}, {104, 5}, {201, 200}, {204, 200}, {203, 202}, {205, 202}};
    for (const auto& [colour, format] : partners)
        if (colour == image.Format) {
            test::Image gray(KyiAllocImageData(image.Width, image.Height, format));
            KyiTransformToGray(&image, gray.get(), 0);
            return gray;
        }
    return nullptr;
}

inline Profile BandProfile(const KyiImageData& image, std::int32_t centreRow, std::int32_t bandHeight) {
    Profile sums(static_cast<std::size_t>(image.Width));
    Profile line(sums.size());
    for (std::int32_t i = 0; i < bandHeight; ++i) {
        KyiGetLinePixel(&image, 0, centreRow - bandHeight / 2 + i, 0, line.data(), image.Width);
        for (std::size_t x = 0; x < sums.size(); ++x) sums[x] += line[x];
    }
    for (std::int32_t& sum : sums) sum /= bandHeight;
    return sums;
}

inline double Correlation(const Profile& a, std::size_t ia, const Profile& b, std::size_t ib, std::int32_t n) {
    double sumA = 0.0;
    double sumB = 0.0;
    for (std::size_t k = 0; k < static_cast<std::size_t>(n); ++k) {
        sumA += a[ia + k];
        sumB += b[ib + k];
    }
    const double ma = sumA / n;
    const double mb = sumB / n;
    double sa = 0.0;
    double sb = 0.0;
    double sum = 0.0;
    for (std::size_t k = 0; k < static_cast<std::size_t>(n); ++k) {
        sa += (a[ia + k] - ma) * (a[ia + k] - ma);
        sb += (b[ib + k] - mb) * (b[ib + k] - mb);
        sum += std::fabs((a[ia + k] - ma) * (b[ib + k] - mb));
    }
    if (sa == 0.0 || sb == 0.0) return 0.0;
    return sum / (std::sqrt(sa) * std::sqrt(sb));
}

/// What one band has to say: all scores, the displacement of the greatest, and its runs.
struct BandScores {
    std::vector<double> Scores;
    double Greatest = 0.0;
    std::int32_t Candidate = 0;
    int Runs = 0;
};

inline BandScores ScoreBand(const Profile& previous, const Profile& now, double searchRatio) {
    const auto width = static_cast<std::int32_t>(now.size());
    const auto range = static_cast<std::int32_t>(2 * searchRatio * width);
    const std::int32_t n = width - range;
    const std::int32_t half = range / 2;
    BandScores band;
    for (std::int32_t i = 0; i < 2 * half; ++i) {
        const double score = Correlation(previous, static_cast<std::size_t>(i), now, static_cast<std::size_t>(half), n);
        band.Scores.push_back(score);
        if (score > band.Greatest) {
            band.Greatest = score;
            band.Candidate = i - half;
        }
    }
    const double threshold = band.Greatest * 0.9;
    bool inRun = false;
    for (const double score : band.Scores) {
        if (score > threshold && !inRun) ++band.Runs;
        inRun = score > threshold;
    }
    return band;
}

inline double Variance(const Profile& profile) {
    double sum = 0.0;
    double squares = 0.0;
    for (const std::int32_t value : profile) {
        sum += value;
        const std::uint32_t square = static_cast<std::uint32_t>(value) * static_cast<std::uint32_t>(value);
        squares += static_cast<std::int32_t>(square);
    }
    const auto width = static_cast<double>(profile.size());
    return squares / width - (sum / width) * (sum / width);
}

/// The record, with the frames' size and the variant.
struct LineMatching {
    double BandRatio = 0.05;
    double SearchRatio = 0.15;
    std::int32_t DetectType = 0;
    std::int32_t BandHeight = 0;
    std::int32_t MinShift = 0;
    std::int32_t MaxShift = 0;
    std::int32_t TotalShift = 0;
    std::int32_t CentreRow = 0;
    std::vector<std::int32_t> LineRows;
    std::vector<std::int32_t> LineOrder;
    std::vector<Profile> LineProfiles;
    Profile Single;

    /// @param image  The first frame, or a gray copy of it: channel 0 is read.
    void SetUp(const KyiImageData& image) {
        const std::int32_t h = image.Height;
        BandHeight = (static_cast<std::int32_t>(h * BandRatio) / 2) * 2 + 1;
        if (BandHeight < 5) BandHeight = 5;
        if (DetectType == 1) {
            CentreRow = static_cast<std::int32_t>(h * 0.5);
            Single = BandProfile(image, CentreRow, BandHeight);
        } else if (DetectType == 0) {
            for (const double ratio : {0.2, 0.35, 0.5, 0.65, 0.8})
                LineRows.push_back(static_cast<std::int32_t>(h * ratio));
            for (const std::int32_t row : LineRows) LineProfiles.push_back(BandProfile(image, row, BandHeight));
            Sort();
        }
    }

    void Sort() {
        std::vector<double> variances;
        LineOrder.clear();
        for (const Profile& profile : LineProfiles) {
            LineOrder.push_back(static_cast<std::int32_t>(variances.size()));
            variances.push_back(Variance(profile));
        }
        for (int pass = 0; pass < 5; ++pass)
            for (std::size_t i = 0; i < 4; ++i)
                if (variances[i] < variances[i + 1]) {
                    std::swap(variances[i], variances[i + 1]);
                    std::swap(LineOrder[i], LineOrder[i + 1]);
                }
    }

    std::int32_t MatchBands(const KyiImageData& gray) {
        std::vector<Profile> profiles;
        for (const std::int32_t row : LineRows) profiles.push_back(BandProfile(gray, row, BandHeight));
        std::vector<std::int32_t> candidates;
        bool isAccepted = false;
        for (std::size_t l = 0; l < 5 && !isAccepted; ++l) {
            const auto b = static_cast<std::size_t>(LineOrder[l]);
            const BandScores band = ScoreBand(LineProfiles[b], profiles[b], SearchRatio);
            candidates.push_back(band.Candidate);
            isAccepted = band.Runs == 1;
        }
        LineProfiles = profiles;
        Sort();
        return isAccepted ? candidates.back() : candidates.front();
    }

    /// Matches and moves a later frame. @return its displacement against the one before.
    std::int32_t Align(KyiImageData& frame) {
        std::int32_t shift = 0;
        const test::Image gray = GrayCopy(frame);
        if (DetectType == 1) {
            const Profile now = BandProfile(*gray, CentreRow, BandHeight);
            shift = ScoreBand(Single, now, SearchRatio).Candidate;
            Single = now;
        } else if (DetectType == 0) {
            shift = MatchBands(*gray);
        }
        const std::int32_t w = frame.Width;
        TotalShift += shift;
        if (TotalShift < 0) {
            TotalShift = std::max(TotalShift, -(w / 4));
            MinShift = std::min(MinShift, TotalShift);
        }
        if (TotalShift > 0) {
            TotalShift = std::min(TotalShift, w / 4);
            MaxShift = std::max(MaxShift, TotalShift);
        }
        Move(frame, TotalShift);
        return shift;
    }

    static void Move(KyiImageData& frame, std::int32_t total) {
        const auto b = static_cast<std::size_t>(frame.PixelBytes);
        for (std::int32_t y = 0; y < frame.Height; ++y) {
            auto* const row = static_cast<std::uint8_t*>(KyiGetPixelAddress(&frame, 0, y));
            const std::vector<std::uint8_t> before(row, row + static_cast<std::size_t>(frame.Width) * b);
            for (std::int32_t x = 0; x < frame.Width; ++x) {
                const std::int32_t to = x + total;
                if (to < 0 || to >= frame.Width) continue;
                std::memcpy(row + static_cast<std::size_t>(to) * b, before.data() + static_cast<std::size_t>(x) * b, b);
            }
        }
    }
};

} // namespace reference

#endif
