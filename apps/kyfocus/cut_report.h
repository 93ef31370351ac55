/// What a noise cut is to do, in words and figures: how much goes, and which ratios cut at all.
#ifndef KYFOCUS_APP_CUT_REPORT_H
#define KYFOCUS_APP_CUT_REPORT_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "differentiation_map_file.h"
#include "height_map_file.h"

namespace app {

/// The pixels of a height map and what their differentiation map says of those that have a height.
struct CutFigures {
    std::size_t Pixels = 0;
    std::size_t Holes = 0;
    std::int32_t Least = 0; // of the differentiation map, here and in the next one; holes apart
    std::int32_t Greatest = 0;
    int Depth = 0;
};

/// The maps have one size.
CutFigures JudgeCut(const HeightMap& heights, const DifferentiationMap& map);

/// "18 of 1200 pixels cut (1.50 percent), 2 of them holes; the differentiation map runs from 132 to 254 of 255".
std::string DescribeCut(const CutFigures& figures, std::size_t cut);

/// The least ratio that cuts a pixel, as a text that cuts one when it is given; empty where no ratio up to 1 does.
std::string LeastCuttingRatio(const CutFigures& figures);

/// A ratio that leaves a pixel, as great as its digits allow.
std::string GreatestUsefulRatio(const CutFigures& figures);

} // namespace app

#endif
