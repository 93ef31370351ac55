#include "noisecut_command.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

#include "cut_report.h"
#include "errors.h"
#include "height_picture.h"
#include "noise_cut.h"
#include "npy_file.h"
#include "option_kinds.h"
#include "output_files.h"

namespace app {
namespace {

namespace fs = std::filesystem;

struct NoisecutOptions {
    fs::path Heights;
    fs::path Map;
    fs::path Output; // empty: none, here and in the next ones
    fs::path Preview;
    fs::path Picture;
    double CutRatio = 0.1;
    int Fill = KyfNoiseCutFillNeighbours;
    int Smoothing = 0;
    std::optional<std::string> Unit;
};

std::string LowerExtension(const fs::path& path) {
    std::string extension = path.extension().native();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return extension;
}

void RequireExtension(const fs::path& path, const std::vector<std::string>& extensions) {
    if (path.empty() || std::find(extensions.begin(), extensions.end(), LowerExtension(path)) != extensions.end())
        return;
    std::string expected;
    for (const std::string& extension : extensions) expected += (expected.empty() ? "" : " or ") + extension;
    throw UsageError(path.native() + ": unknown extension, expected " + expected);
}

void AddFiles(CLI::App& command, NoisecutOptions& options) {
    const auto addFile = [&](const char* name, fs::path& file, const char* text, const char* description) {
        return command.add_option(name, file, description)->check(RequireText)->option_text(text);
    };
    addFile("HEIGHTS", options.Heights, "FILE.tif|.npy", "Height map, as compose --height-map writes it.")->required();
    addFile("MAP", options.Map, "FILE",
            "Differentiation map of the same run, as compose --differentiation-map writes it: a gray image of the same "
            "size whose samples tell how sharp each pixel was. Its bits give its range: 0 to 255 or to 65535.")
        ->required();
    const char* const group = "Output";
    addFile("-o,--output", options.Output, "FILE.tif|.npy",
            "The height map after the cut, as a TIFF of 32-bit floats or as a NumPy array of 64-bit floats. What is "
            "neither cut nor smoothed stays as it was.")
        ->group(group);
    addFile("--preview", options.Preview, "FILE.png|.tif",
            "What would be cut, as a 16-bit gray image: the heights from 0 to 65024, cut pixels at 65535. Neither "
            "filled nor smoothed.")
        ->group(group);
    addFile("--height-picture", options.Picture, "FILE.png",
            "The height map after the cut in false colours, with a colour bar in --unit.")
        ->group(group);
}

void AddSettings(CLI::App& command, NoisecutOptions& options) {
    const char* const group = "Cut";
    const auto isRatio = [](const std::string& text) {
        double number = 0;
        const bool isNumber = CLI::detail::lexical_cast(text, number) && number >= 0.0 && number <= 1.0;
        return isNumber ? std::string() : "'" + text + "', expected a number from 0 to 1";
    };
    command
        .add_option("--cut-ratio", options.CutRatio,
                    "Part of the map's range, 255 or 65535, below which pixels are cut; 0 cuts none. A blank area lies "
                    "at 0 in the map, but any grain of the surface lifts it above half of the range: 0.1 cuts what is "
                    "blank, and on surfaces that are rough all over cutting begins at 0.5 to 0.7. The map's least and "
                    "greatest value are told at each run. Default 0.1.")
        ->check(isRatio)
        ->option_text("0..1")
        ->group(group);
    AddChoice<int>(
        command, "--fill",
        {{"neighbours", KyfNoiseCutFillNeighbours},
         {"smallest", KyfNoiseCutFillSmallest},
         {"largest", KyfNoiseCutFillLargest}},
        [&options](int fill) { options.Fill = fill; },
        "What cut pixels and holes get: neighbours is the mean of the 9 x 9 pixels around, over and over until all are "
        "filled. Pixels still to be filled, the one in the middle too, count in it with the least height that was not "
        "cut and pull it down: a lone one loses 1/81 of its height above the least, the middle of a wide gap nearly "
        "all. smallest and largest are the least and the greatest height that was not cut. Default neighbours.")
        ->option_text("NAME")
        ->group(group);
    AddInteger(command, "--smoothing", options.Smoothing, 0, 100,
               "Cutoff of a smoothing of all heights after the fill, in percent of the width; 0 does not smooth. "
               "Default 0.")
        ->option_text("PERCENT")
        ->group(group);
    command
        .add_option("--unit", options.Unit,
                    "Unit of the heights, for the outputs to tell. Default: that which HEIGHTS tells, or um.")
        ->check(RequireUnit)
        ->option_text("NAME")
        ->group(group);
}

void Check(const NoisecutOptions& options) {
    if (options.Output.empty() && options.Preview.empty() && options.Picture.empty())
        throw UsageError("nothing to write, expected --output, --preview or --height-picture");
    RequireExtension(options.Output, {".tif", ".tiff", ".npy"});
    RequireExtension(options.Preview, {".png", ".tif", ".tiff"});
    RequireExtension(options.Picture, {".png"});
    for (const fs::path& output : {options.Output, options.Preview, options.Picture})
        for (const fs::path& input : {options.Heights, options.Map}) {
            std::error_code error;
            if (!output.empty() && fs::equivalent(output, input, error))
                throw UsageError(output.native() + ": named as an input and as an output");
        }
}

std::string SizeText(int width, int height) { return std::to_string(width) + " x " + std::to_string(height); }

void SaveMap(const fs::path& path, const HeightMap& map, const std::string& unit) {
    if (LowerExtension(path) == ".npy")
        SaveNpy(path, map);
    else
        SaveHeightMap(path, map, "Height map by kyfocus, noise cut. Heights in " + unit + ". unit=" + unit);
}

std::string ToText(double number) {
    std::ostringstream text;
    text << number;
    return text.str();
}

/// Nothing to fill from is no result; nothing cut may be meant.
void TellCut(const NoisecutOptions& options, const CutFigures& figures, std::size_t cut) {
    std::fprintf(stderr, "%s\n", DescribeCut(figures, cut).c_str());
    const bool isFilled = !options.Output.empty() || !options.Picture.empty();
    if (cut == figures.Pixels && isFilled)
        throw Failure(DisplayPath(options.Map) + ": every pixel lies below --cut-ratio " + ToText(options.CutRatio) +
                      ", nothing is left to fill from; expected a ratio of at most " + GreatestUsefulRatio(figures));
    if (cut > figures.Holes) return;
    const std::string least = LeastCuttingRatio(figures);
    std::fprintf(stderr, "kyfocus: warning: nothing lies below --cut-ratio %s: %s\n", ToText(options.CutRatio).c_str(),
                 least.empty() ? "no ratio cuts a map like this" : ("cutting begins at " + least).c_str());
}

/// What has to be known of the files before any work.
CutFigures CheckMaps(const NoisecutOptions& options, const HeightMap& heights, const DifferentiationMap& map) {
    if (map.Width != heights.Width || map.Height != heights.Height)
        throw Failure(DisplayPath(options.Map) + ": " + SizeText(map.Width, map.Height) + ", expected " +
                      SizeText(heights.Width, heights.Height) + " like " + DisplayPath(options.Heights));
    const CutFigures figures = JudgeCut(heights, map);
    if (figures.Holes == figures.Pixels) throw Failure(DisplayPath(options.Heights) + ": holds no height, only holes");
    const KeptHeights kept = FindKeptHeights(heights, map, options.CutRatio);
    if (!std::isfinite(kept.Greatest - kept.Least))
        throw Failure(DisplayPath(options.Heights) + ": heights from " + ToText(kept.Least) + " to " +
                      ToText(kept.Greatest) + ", expected a range that a 64-bit float holds");
    return figures;
}

std::string UnitOf(const NoisecutOptions& options) {
    if (options.Unit) return *options.Unit;
    const std::string told = IsNpyFile(options.Heights) ? std::string() : HeightUnit(options.Heights);
    return told.empty() ? "um" : told;
}

void Run(const NoisecutOptions& options) {
    Check(options);
    OutputFiles outputs;
    for (const fs::path& path : {options.Output, options.Preview, options.Picture})
        if (!path.empty()) outputs.Add(path);
    const HeightMap heights = IsNpyFile(options.Heights) ? LoadNpy(options.Heights) : LoadHeightMap(options.Heights);
    const DifferentiationMap map = LoadDifferentiationMap(options.Map);
    const CutFigures figures = CheckMaps(options, heights, map);
    const NoiseCutPreview preview = PreviewNoiseCut(heights, map, options.CutRatio);
    TellCut(options, figures, preview.CutPixels);
    if (!options.Preview.empty())
        outputs.Write(options.Preview, [&](const fs::path& path) { SaveImage(path, *preview.Picture); });
    if (!options.Output.empty() || !options.Picture.empty()) {
        const std::string unit = UnitOf(options);
        const HeightMap cut = CutNoise(heights, map, {options.CutRatio, options.Fill, options.Smoothing}, preview);
        if (!options.Output.empty())
            outputs.Write(options.Output, [&](const fs::path& path) { SaveMap(path, cut, unit); });
        if (!options.Picture.empty())
            outputs.Write(options.Picture,
                          [&](const fs::path& path) { SaveImage(path, *RenderHeightPicture(cut, unit)); });
    }
    outputs.Commit();
}

} // namespace

void AddNoisecutCommand(CLI::App& program) {
    CLI::App& command = *program.add_subcommand(
        "noisecut", "Cuts heights out where the picture was never sharp, fills the gaps and smooths.");
    const auto options = std::make_shared<NoisecutOptions>();
    AddFiles(command, *options);
    AddSettings(command, *options);
    command.footer(
        "Example: kyfocus compose stack -o sharp.png --step 2 --height-map z.tif --differentiation-map d.png "
        "&& kyfocus noisecut z.tif d.png --cut-ratio 0.65 -o cut.tif");
    command.callback([options] { Run(*options); });
}

} // namespace app
