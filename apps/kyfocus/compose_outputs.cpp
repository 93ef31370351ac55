#include "compose_outputs.h"

#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>

#include "errors.h"
#include "height_picture.h"
#include "npy_file.h"
#include "stopwatch.h"

namespace app {
namespace {

namespace fs = std::filesystem;

bool HasExtension(const fs::path& path, std::string_view extension) {
    const std::string found = path.extension().native();
    return std::equal(found.begin(), found.end(), extension.begin(), extension.end(),
                      [](unsigned char letter, unsigned char lower) { return std::tolower(letter) == lower; });
}

MeshForm MeshOf(const ComposeOptions& options) {
    MeshForm form = options.Mesh;
    form.PixelSize = options.PixelSize.value_or(form.PixelSize);
    return form;
}

void SaveMap(const fs::path& path, const HeightMap& map, const std::string& unit) {
    if (HasExtension(path, ".npy"))
        SaveNpy(path, map);
    else
        SaveHeightMap(path, map, "Height map by kyfocus. Heights in " + unit + ". unit=" + unit);
}

void SaveMesh(const fs::path& path, const HeightMap& map, const KyiImageData& image, const MeshForm& form) {
    if (HasExtension(path, ".ply"))
        SavePly(path, map, image, form);
    else
        SaveStl(path, map, form);
}

void SaveHeightImageOutput(const FocusSession& session, const ComposeOptions& options, OutputFiles& outputs,
                           Summary& summary) {
    HeightScale scale;
    scale.Unit = options.Unit;
    const Image image = session.HeightImage(scale);
    summary.ImageScale = scale;
    outputs.Write(options.HeightImageOutput, [&](const fs::path& path) { SaveHeightImage(path, *image, scale); });
}

void SaveHeightOutputs(const FocusSession& session, const KyiImageData& image, const ComposeOptions& options,
                       OutputFiles& outputs, Summary& summary) {
    const HeightMap map = session.Heights();
    const auto [least, greatest] = std::minmax_element(map.Values.begin(), map.Values.end());
    summary.Heights = HeightExtent{*least, *greatest};
    if (!options.HeightMapOutput.empty())
        outputs.Write(options.HeightMapOutput, [&](const fs::path& path) { SaveMap(path, map, options.Unit); });
    if (!options.HeightPictureOutput.empty())
        outputs.Write(options.HeightPictureOutput,
                      [&](const fs::path& path) { SaveImage(path, *RenderHeightPicture(map, options.Unit)); });
    if (!options.MeshOutput.empty())
        outputs.Write(options.MeshOutput, [&](const fs::path& path) { SaveMesh(path, map, image, MeshOf(options)); });
    if (!options.DifferentiationMapOutput.empty())
        outputs.Write(options.DifferentiationMapOutput,
                      [&](const fs::path& path) { SaveDifferentiationMap(path, session.BestFocus(image.Format)); });
    if (!options.HeightImageOutput.empty()) SaveHeightImageOutput(session, options, outputs, summary);
}

} // namespace

std::vector<fs::path> OutputPaths(const ComposeOptions& options) {
    std::vector<fs::path> paths = {options.Output};
    for (const fs::path& path : {options.HeightMapOutput, options.HeightImageOutput, options.HeightPictureOutput,
                                 options.MeshOutput, options.ParametersOutput, options.DifferentiationMapOutput})
        if (!path.empty()) paths.push_back(path);
    if (!options.JsonOutput.empty() && options.JsonOutput != "-") paths.emplace_back(options.JsonOutput);
    return paths;
}

void RequireHoldable(const KyiImageData& frame, const ComposeOptions& options) {
    if (!options.MeshOutput.empty()) {
        const std::string obstacle = MeshObstacle(frame.Width, frame.Height, MeshOf(options));
        if (!obstacle.empty()) throw Failure(DisplayPath(options.MeshOutput) + ": " + obstacle + ", see --mesh-step");
    }
    if (KyiGetFileTypeFromFileName(WidePath(options.Output).c_str()) != KyiFileTypeJpeg) return;
    constexpr int kMostJpegPixels = 65500; // each way
    if (KyiGetMaxVal(frame.Format) > UINT8_MAX || std::max(frame.Width, frame.Height) > kMostJpegPixels)
        throw Failure(DisplayPath(options.Output) +
                      ": a JPEG has 8 bits a sample and at most 65500 pixels each way, the "
                      "frames are " +
                      DescribeImage(frame) + ", expected a .png, .tif or .bmp output");
}

void SaveResults(FocusSession& session, const ComposeOptions& options, OutputFiles& outputs, Summary& summary) {
    const Stopwatch stopwatch;
    const Image image = session.ExtractImage();
    summary.ResultWidth = image->Width;
    summary.ResultHeight = image->Height;
    if (options.WantsHeights()) SaveHeightOutputs(session, *image, options, outputs, summary);
    outputs.Write(options.Output, [&](const fs::path& path) { SaveImage(path, *image); });
    summary.Seconds.Save = stopwatch.Seconds();
}

} // namespace app
