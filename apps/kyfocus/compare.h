/// `kyfocus compare`: how far two images or two height maps are apart.
#ifndef KYFOCUS_APP_COMPARE_H
#define KYFOCUS_APP_COMPARE_H

#include <filesystem>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "metrics.h"

namespace app {

/// Adds the sub-command. Its callback does the work, prints to stdout and throws Failure.
void AddCompareCommand(CLI::App& program);

/// What there is to say about two images.
struct ImageComparison {
    std::string Kind; ///< such as "1200 x 900 8-bit colour", border left out
    SampleDifferences Samples;
    double SignalToNoise = 0.0; ///< dB; infinite for equal images
    std::optional<double> Similarity;
};

/// How to compare two height maps.
struct HeightMeasure {
    std::optional<double> Step; ///< focus step, in the unit of the maps
    bool Fit = false;           ///< take the mean difference away first
};

/// What there is to say about two height maps.
struct HeightComparison {
    std::string Kind;
    HeightDifferences Heights;  ///< after the offset
    double Offset = 0.0;        ///< was taken from the second map
    std::optional<double> Step; ///< what Heights.Near counts as near
    std::size_t Holes = 0;      ///< pixels that are not measured in both
};

/// @param crop  Pixels to ignore along each edge.
/// Throws Failure when the files differ in size or kind, can't be read, or nothing is left to compare.
ImageComparison CompareImageFiles(const std::filesystem::path& first, const std::filesystem::path& second, int crop);
HeightComparison CompareHeightFiles(const std::filesystem::path& first, const std::filesystem::path& second, int crop,
                                    const HeightMeasure& measure);

/// A table for people, or one JSON object. Both end with a line break.
std::string DescribeComparison(const ImageComparison& comparison, bool json);
std::string DescribeComparison(const HeightComparison& comparison, bool json);

} // namespace app

#endif
