/// How well two band profiles agree at each displacement, and which displacement that speaks for.
#ifndef KYFOCUS_ALIGNMENT_LINE_MATCHING_SCORE_H
#define KYFOCUS_ALIGNMENT_LINE_MATCHING_SCORE_H

#include <cstdint>
#include <vector>

namespace kyf {

/// Displacements that are looked at, in pixels: -Half to Half - 1, over Length entries of the profiles. Half is 0 or
/// less where a frame is too narrow to look for any.
struct SearchRange {
    std::int32_t Half;
    std::int32_t Length;

    /// @param searchRatio  Half the range as a part of the width.
    static SearchRange Of(double searchRatio, std::int32_t width) noexcept;
    std::int32_t Count() const noexcept { return Half > 0 ? 2 * Half : 0; }
};

/// score[i] = sum of |(a - mean a) * (b - mean b)| / (root of a's sum of squares * root of b's), with a the previous
/// profile from entry i on and b the current one from entry Half on, each of Length entries; 0 where either is flat.
/// Every product counts by its magnitude: stretches of opposite sign speak for a displacement too. Sums run from the
/// first entry on, in one rounding an operation. Throws std::bad_alloc.
std::vector<double> ScoreDisplacements(const std::int32_t* previous, const std::int32_t* current, std::int32_t width,
                                       SearchRange range);

/// What one band says.
struct BandMatch {
    std::int32_t Shift; ///< displacement of the greatest score, the first of equal ones; 0 when no score is above 0
    double Score;       ///< that score
    int Runs;           ///< runs of neighbouring scores above nine tenths of it: more than one in a periodic pattern
};
BandMatch JudgeScores(const std::vector<double>& scores, SearchRange range) noexcept;

/// Variance of a profile; each square is a 32-bit product that wraps.
double VarianceOf(const std::int32_t* profile, std::int32_t width) noexcept;

} // namespace kyf

#endif
