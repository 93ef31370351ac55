#include "height_options.h"

#include <algorithm>
#include <cctype>

#include "errors.h"
#include "option_kinds.h"

namespace app {
namespace {

namespace fs = std::filesystem;
constexpr int kMostDegree = 10;

/// Adds a setting from 0 to 10.
void AddDegree(CLI::App& command, const std::string& name, int& value, const std::string& description,
               const std::string& group) {
    AddInteger(command, name, value, 0, kMostDegree, description + " Default " + std::to_string(value) + ".")
        ->option_text("0..10")
        ->group(group);
}

/// Adds a switch with a name for on and one for off.
void AddSwitch(CLI::App& command, const std::string& name, int& value, const std::string& on, const std::string& off,
               const std::string& group) {
    const std::string isDefault = " The default.";
    command
        .add_flag_callback(
            "--" + name, [&value] { value = 1; }, on + (value != 0 ? isDefault : ""))
        ->group(group);
    command
        .add_flag_callback(
            "--no-" + name, [&value] { value = 0; }, off + (value == 0 ? isDefault : ""))
        ->group(group);
}

void AddMeshOptions(CLI::App& command, ComposeOptions& options, const std::string& group) {
    command
        .add_option("--mesh", options.MeshOutput,
                    "The surface as triangles: .ply with the colours of the composed image, or .stl. x, y and z are in "
                    "--unit. Needs heights.")
        ->check(RequireText)
        ->option_text("FILE.ply|.stl")
        ->group(group);
    constexpr int kMostStep = 1000000;
    AddInteger(command, "--mesh-step", options.Mesh.Step, 1, kMostStep,
               "Pixels from vertex to vertex of the mesh; larger ones thin it. Default 1.")
        ->option_text("PIXELS")
        ->group(group);
    AddFinite(command, "--pixel-size", options.PixelSize,
              "Width of a pixel in --unit, for x and y of the mesh. Default 1.")
        ->option_text("NUMBER")
        ->group(group);
}

void RequireExtension(const fs::path& path, const std::vector<std::string>& extensions) {
    if (path.empty()) return;
    std::string extension = path.extension().native();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    std::string expected;
    for (const std::string& candidate : extensions) {
        if (extension == candidate) return;
        expected.append(expected.empty() ? "" : " or ").append(candidate);
    }
    throw UsageError(path.native() + ": unknown extension, expected " + expected);
}

} // namespace

void AddHeightOutputs(CLI::App& command, ComposeOptions& options, const std::string& group) {
    const auto addFile = [&](const char* name, fs::path& file, const char* text, const char* description) {
        command.add_option(name, file, description)->check(RequireText)->option_text(text)->group(group);
    };
    addFile(
        "--height-map", options.HeightMapOutput, "FILE.tif|.npy",
        "The height map in --unit, as a TIFF of 32-bit floats or as a NumPy array of 64-bit floats. Needs heights.");
    addFile("--height-image", options.HeightImageOutput, "FILE.png",
            "The height map as a 16-bit gray PNG; its text fields tell step, offset and unit of the samples. Needs "
            "heights.");
    addFile("--height-picture", options.HeightPictureOutput, "FILE.png",
            "The height map in false colours, to be looked at, with a colour bar in --unit. Needs heights.");
    addFile("--differentiation-map", options.DifferentiationMapOutput, "FILE.png|.tif",
            "How sharp each pixel was at its best, as a gray image of the frames' bits: what kyfocus noisecut judges "
            "heights by. Of --mode 2d, which it makes the default. Needs heights.");
    AddMeshOptions(command, options, group);
}

void AddFrameHeights(CLI::App& command, ComposeOptions& options, const std::string& group) {
    command
        .add_option(
            "--heights", options.HeightsFile,
            "Heights of the frames: a text file with one number a line, in frame order, or lines of file name and "
            "number; a comma or blanks between them, # begins a comment.")
        ->check(RequireText)
        ->option_text("FILE")
        ->group(group);
    AddFinite(command, "--step", options.Step,
              "Height from frame to frame, in --unit; may be negative. Instead of --heights.")
        ->option_text("NUMBER")
        ->group(group);
    AddFinite(command, "--start", options.Start, "Height of the first frame, in --unit, with --step. Default 0.")
        ->option_text("NUMBER")
        ->group(group);
    command.add_option("--unit", options.Unit, "Unit of all heights, for the outputs to tell. Default um.")
        ->check(RequireUnit)
        ->option_text("NAME")
        ->group(group);
}

void AddSafe3dOptions(CLI::App& command, ComposeOptions& options, const std::string& group) {
    KyfFocusCompositionParameter& settings = options.Settings;
    AddChoice<int>(
        command, "--plane", {{"bottom", KyfPlaneTypeBottom}, {"top", KyfPlaneTypeTop}, {"other", KyfPlaneTypeOther}},
        [&settings](int plane) { settings.PlaneType = plane; },
        "What fills wide areas without detail, where no height can be measured: the level of the bottom, that of the "
        "top, or, with other, what lies around them. bottom and top take their height's number for a frame number: "
        "for heights that start at 0 and rise, top in steps of at least 1; other fits all. Default top.")
        ->option_text("NAME")
        ->group(group);
    AddSwitch(command, "halation", settings.HalationMeasures,
              "Do without heights where the frames' brightness comes and goes, as around highlights.",
              "Trust heights also there.", group);
    AddSwitch(command, "adopt-top", settings.AdoptionPeakPosition,
              "Where a pixel is sharp at several heights, take the uppermost.",
              "Take the sharpest instead, and none where two are much alike.", group);
    AddDegree(command, "--sensitivity", settings.FocusingValueDetectionSensitivity,
              "How faint a detail may be to give a height; more fills in more and lets more noise in.", group);
    AddDegree(command, "--noise-remove", settings.ProjectionNoiseRemove,
              "How often single wrong heights are taken away by a median; costs time.", group);
    AddDegree(command, "--shape-smoothing", settings.D3ShapeSmoothing, "How smooth the surface becomes.", group);
    command
        .add_option("--temp", options.TemporaryParent,
                    "Folder in which the frames are kept meanwhile, in a private folder that goes at the end; takes "
                    "the frames' size uncompressed. Default: the system's temporary folder, $TMPDIR or /tmp.")
        ->check(RequireText)
        ->option_text("DIR")
        ->group(group);
}

void CheckHeightOptions(const ComposeOptions& options) {
    RequireExtension(options.HeightMapOutput, {".tif", ".tiff", ".npy"});
    RequireExtension(options.HeightImageOutput, {".png"});
    RequireExtension(options.HeightPictureOutput, {".png"});
    RequireExtension(options.MeshOutput, {".ply", ".stl"});
    RequireExtension(options.DifferentiationMapOutput, {".png", ".tif", ".tiff"});
    for (const char* const part : {"--mesh-step", "--pixel-size"})
        if (options.MeshOutput.empty() && options.IsGiven(part))
            throw UsageError(std::string(part) + " needs --mesh, the file that it is for");
    constexpr double kMostPixelSize = 1e30;
    if (options.PixelSize && !(*options.PixelSize > 0 && *options.PixelSize <= kMostPixelSize))
        throw UsageError("--pixel-size is out of range, expected one above 0 and at most 1e30");
    if (options.Start && !options.Step) throw UsageError("--start needs --step, the height from frame to frame");
    if (options.Step && *options.Step == 0) throw UsageError("--step is 0, expected the height from frame to frame");
    if (options.Step && !options.HeightsFile.empty()) throw UsageError("--heights and --step exclude each other");
    if (options.WantsHeights() && !options.HasHeights())
        throw UsageError("--height-map, --height-image, --height-picture, --mesh and --differentiation-map need the "
                         "frames' heights: give --heights, or --start and --step");
}

} // namespace app
