#include "compare.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

#include <nlohmann/json.hpp>

#include "errors.h"
#include "height_map_file.h"
#include "images.h"
#include "npy_file.h"

namespace app {
namespace {

namespace fs = std::filesystem;

struct CompareOptions {
    fs::path First;
    fs::path Second;
    int Crop = 0;
    HeightMeasure Measure;
    bool Json = false;
};

std::string SizeText(int width, int height) { return std::to_string(width) + " x " + std::to_string(height); }

void CheckCrop(const fs::path& file, int width, int height, int crop) {
    if (2 * std::int64_t{crop} < std::min(width, height)) return;
    throw Failure(DisplayPath(file) + ": nothing is left of " + SizeText(width, height) +
                  " pixels without a border of " + std::to_string(crop));
}

[[noreturn]] void FailMisfit(const fs::path& first, const std::string& firstKind, const fs::path& second,
                             const std::string& secondKind) {
    throw Failure(DisplayPath(first) + " is " + firstKind + ", " + DisplayPath(second) + " is " + secondKind +
                  ": expected two of one size and kind");
}

/// The image without its border.
Image Crop(Image image, int crop) {
    if (crop == 0) return image;
    Image inside(KyiAllocImageData(image->Width - 2 * crop, image->Height - 2 * crop, image->Format));
    if (!inside) throw Failure("out of memory for " + DescribeImage(*image));
    const std::int32_t rect[4] = {crop, crop, inside->Width - 1, inside->Height - 1};
    KyiClipImage(image.get(), inside.get(), rect);
    return inside;
}

std::vector<double> Crop(const HeightMap& map, int crop) {
    std::vector<double> inside;
    for (int y = crop; y < map.Height - crop; ++y) {
        const auto row = map.Values.begin() + static_cast<std::ptrdiff_t>(y) * map.Width;
        inside.insert(inside.end(), row + crop, row + (map.Width - crop));
    }
    return inside;
}

std::string Line(const char* name, const char* format, double value) {
    char number[64];
    std::snprintf(number, sizeof number, format, value);
    char line[128];
    std::snprintf(line, sizeof line, "%-26s%s\n", name, number);
    return line;
}

/// Part of the pixels measured in both that lie within one step.
double NearShare(const HeightComparison& comparison) {
    return static_cast<double>(comparison.Heights.Near) / static_cast<double>(comparison.Heights.Measured);
}

bool HoldsHeights(const fs::path& file) { return IsNpyFile(file) || IsHeightMapFile(file); }

HeightMap LoadHeights(const fs::path& file) { return IsNpyFile(file) ? LoadNpy(file) : LoadHeightMap(file); }

void Run(const CompareOptions& options) {
    const bool firstIsMap = HoldsHeights(options.First);
    const bool secondIsMap = HoldsHeights(options.Second);
    if (firstIsMap != secondIsMap) {
        const auto kind = [](bool isMap) { return isMap ? "a height map" : "none"; };
        FailMisfit(options.First, kind(firstIsMap), options.Second, kind(secondIsMap));
    }
    if (!firstIsMap && (options.Measure.Step || options.Measure.Fit))
        throw UsageError("--step and --fit are for height maps, " + DisplayPath(options.First) + " is none");
    const std::string text =
        firstIsMap ? DescribeComparison(
                         CompareHeightFiles(options.First, options.Second, options.Crop, options.Measure), options.Json)
                   : DescribeComparison(CompareImageFiles(options.First, options.Second, options.Crop), options.Json);
    std::fputs(text.c_str(), stdout);
}

} // namespace

ImageComparison CompareImageFiles(const fs::path& first, const fs::path& second, int crop) {
    Image one = LoadImage(first);
    Image other = LoadImage(second);
    const bool isSameKind = KyiIsFormatBgr(one->Format) == KyiIsFormatBgr(other->Format) &&
                            KyiGetDepth(one->Format) == KyiGetDepth(other->Format);
    if (!KyiIsSameSize(one.get(), other.get()) || !isSameKind)
        FailMisfit(first, DescribeImage(*one), second, DescribeImage(*other));
    CheckCrop(first, one->Width, one->Height, crop);
    one = Crop(std::move(one), crop);
    other = Crop(std::move(other), crop);
    ImageComparison result;
    result.Kind = DescribeImage(*one);
    result.Samples = CompareSamples(*one, *other);
    result.SignalToNoise = PeakSignalToNoise(result.Samples.MeanSquare, KyiGetMaxVal(one->Format));
    result.Similarity = StructuralSimilarity(*one, *other);
    return result;
}

HeightComparison CompareHeightFiles(const fs::path& first, const fs::path& second, int crop,
                                    const HeightMeasure& measure) {
    const HeightMap one = LoadHeights(first);
    const HeightMap other = LoadHeights(second);
    if (one.Width != other.Width || one.Height != other.Height)
        FailMisfit(first, SizeText(one.Width, one.Height), second, SizeText(other.Width, other.Height));
    CheckCrop(first, one.Width, one.Height, crop);
    const std::vector<double> oneInside = Crop(one, crop);
    const std::vector<double> otherInside = Crop(other, crop);
    HeightComparison result;
    result.Kind = SizeText(one.Width - 2 * crop, one.Height - 2 * crop) + " heights";
    result.Step = measure.Step;
    if (measure.Fit) result.Offset = CompareHeights(oneInside, otherInside).Mean;
    result.Heights = CompareHeights(oneInside, otherInside, result.Offset, measure.Step.value_or(0.0));
    result.Holes = oneInside.size() - result.Heights.Measured;
    if (result.Heights.Measured == 0)
        throw Failure(DisplayPath(first) + " and " + DisplayPath(second) + ": no pixel is measured in both");
    return result;
}

std::string DescribeComparison(const ImageComparison& comparison, bool json) {
    const bool isEqual = comparison.Samples.Largest == 0;
    if (json) {
        nlohmann::ordered_json summary{{"kind", "images"}, {"compared", comparison.Kind}, {"equal", isEqual}};
        summary["psnr_db"] = isEqual ? nlohmann::ordered_json() : nlohmann::ordered_json(comparison.SignalToNoise);
        summary["ssim"] =
            comparison.Similarity ? nlohmann::ordered_json(*comparison.Similarity) : nlohmann::ordered_json();
        summary["largest_difference"] = comparison.Samples.Largest;
        summary["mean_difference"] = comparison.Samples.Mean;
        summary["mean_absolute_difference"] = comparison.Samples.MeanAbsolute;
        return summary.dump(2) + "\n";
    }
    std::string text = comparison.Kind + (isEqual ? ", equal\n" : "\n");
    text += isEqual ? "PSNR                      infinite\n" : Line("PSNR", "%.2f dB", comparison.SignalToNoise);
    text += comparison.Similarity ? Line("SSIM", "%.5f", *comparison.Similarity)
                                  : std::string("SSIM                      none: smaller than 11 x 11 pixels\n");
    text += Line("largest difference", "%.0f levels", comparison.Samples.Largest);
    text += Line("mean difference", "%+.4f levels (B minus A)", comparison.Samples.Mean);
    text += Line("mean absolute difference", "%.4f levels", comparison.Samples.MeanAbsolute);
    return text;
}

std::string DescribeComparison(const HeightComparison& comparison, bool json) {
    const HeightDifferences& heights = comparison.Heights;
    if (json) {
        nlohmann::ordered_json summary{{"kind", "heights"},
                                       {"compared", comparison.Kind},
                                       {"offset", comparison.Offset},
                                       {"rmse", heights.RootMeanSquare},
                                       {"mean_difference", heights.Mean},
                                       {"largest_difference", heights.Largest},
                                       {"measured", heights.Measured},
                                       {"holes", comparison.Holes}};
        if (comparison.Step) {
            summary["step"] = *comparison.Step;
            summary["rmse_steps"] = heights.RootMeanSquare / *comparison.Step;
            summary["within_step"] = NearShare(comparison);
        }
        return summary.dump(2) + "\n";
    }
    std::string text = comparison.Kind + ", in the unit of the files\n";
    if (comparison.Offset != 0.0)
        text += Line("offset", "%+.6g, taken from B before all that follows", comparison.Offset);
    text += Line("RMSE", "%.6g", heights.RootMeanSquare);
    if (comparison.Step) {
        text += Line("RMSE in steps", "%.4g", heights.RootMeanSquare / *comparison.Step);
        text += Line("within one step", "%.2f percent of the pixels measured in both", 100.0 * NearShare(comparison));
    }
    text += Line("mean difference", "%+.6g (B minus A)", heights.Mean);
    text += Line("largest difference", "%.6g", heights.Largest);
    text += Line("holes", "%.0f pixels not measured in both", static_cast<double>(comparison.Holes));
    return text;
}

void AddCompareCommand(CLI::App& program) {
    CLI::App& command = *program.add_subcommand(
        "compare",
        "Tells how far two images or two height maps are apart: PSNR, SSIM and differences of images (8 or 16 "
        "bits, gray or colour), RMSE and differences of height maps (TIFF of 32-bit floats or .npy).");
    command.footer("SSIM is taken on gray with a Gaussian window of 11 x 11 pixels, sigma 1.5 (Wang et al. 2004).");
    const auto options = std::make_shared<CompareOptions>();
    command.add_option("A", options->First, "Image or height map, such as the truth.")->required()->option_text("FILE");
    command
        .add_option("B", options->Second, "Image or height map of the same size and kind; differences are B minus A.")
        ->required()
        ->option_text("FILE");
    const auto isBorder = [](const std::string& text) {
        int number = 0;
        const bool isNumber = CLI::detail::lexical_cast(text, number) && number >= 0;
        return isNumber ? std::string() : "'" + text + "', expected a number of pixels";
    };
    command.add_option("--crop", options->Crop, "Border to ignore along each edge, in pixels. Default 0.")
        ->check(isBorder)
        ->option_text("PIXELS");
    const auto isStep = [](const std::string& text) {
        double number = 0;
        const bool isNumber = CLI::detail::lexical_cast(text, number) && std::isfinite(number) && number > 0;
        return isNumber ? std::string() : "'" + text + "', expected a number above 0";
    };
    command
        .add_option("--step", options->Measure.Step,
                    "Focus step of the stack, in the unit of the heights: tells RMSE in steps and the share of pixels "
                    "within one step. For height maps.")
        ->check(isStep)
        ->option_text("NUMBER");
    command.add_flag("--fit", options->Measure.Fit,
                     "Take the mean difference from B first, so that only the shape is compared. For height maps.");
    command.add_flag("--json", options->Json, "Print one JSON object in the place of the table.");
    command.callback([options] { Run(*options); });
}

} // namespace app
