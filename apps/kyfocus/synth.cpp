#include "synth.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <string_view>

#include <omp.h>

#include "errors.h"
#include "images.h"
#include "synth_options.h"
#include "synth_stack.h"

namespace app {
namespace {

constexpr int kLongestSide = 30000;
constexpr int kMostFrames = 1000;
constexpr int kMostThreads = 1024;
constexpr int kMostExposures = 16;
constexpr double kFarthest = 1e6; // um

const char* const kOutputGroup = "Output";
const char* const kPictureGroup = "Picture";
const char* const kFocusGroup = "Focus";
const char* const kFaultGroup = "Faults";

template <typename Number> std::optional<Number> Parse(std::string_view text) {
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

template <typename Number> std::string RangeText(Number low, Number high) {
    char text[80];
    std::snprintf(text, sizeof text, "from %g to %g", static_cast<double>(low), static_cast<double>(high));
    return text;
}

/// Adds an option that takes a number from `low` to `high` and nothing that is not a number.
template <typename Number>
CLI::Option* AddNumber(CLI::App& command, const std::string& name, Number& value, Number low, Number high,
                       const std::string& description) {
    const auto check = [low, high](const std::string& text) {
        const std::optional<Number> number = Parse<Number>(text);
        if (number && *number >= low && *number <= high) return std::string();
        return "'" + text + "', expected a " + (std::is_integral_v<Number> ? "whole " : "") + "number " +
               RangeText(low, high);
    };
    return command.add_option(name, value, description)->check(check);
}

/// Adds an option that takes one of a few names.
template <typename Value>
CLI::Option* AddChoice(CLI::App& command, const std::string& name, const std::map<std::string, Value>& choices,
                       Value& value, const std::string& description) {
    const auto take = [name, choices, &value](const std::string& text) {
        const auto found = choices.find(text);
        if (found == choices.end()) {
            std::string names;
            for (const auto& choice : choices) names += (names.empty() ? "" : ", ") + choice.first;
            throw CLI::ValidationError(name, "'" + text + "', expected one of " + names);
        }
        value = found->second;
    };
    return command.add_option_function<std::string>(name, take, description);
}

void ParseSize(const std::string& text, SynthOptions& options) {
    const std::string_view whole(text);
    const std::size_t cross = whole.find('x');
    const auto width = Parse<int>(whole.substr(0, cross));
    const auto height = cross == std::string::npos ? std::nullopt : Parse<int>(whole.substr(cross + 1));
    const auto isSide = [](std::optional<int> side) { return side && *side >= 1 && *side <= kLongestSide; };
    if (!isSide(width) || !isSide(height))
        throw CLI::ValidationError("--size", "'" + text + "', expected WIDTHxHEIGHT, each " +
                                                 RangeText(1, kLongestSide) + " pixels");
    options.Width = *width;
    options.Height = *height;
}

void ParseDrift(const std::string& text, SynthOptions& options) {
    const std::string_view whole(text);
    const std::size_t comma = whole.find(',');
    const auto x = Parse<double>(whole.substr(0, comma));
    const auto y = comma == std::string::npos ? std::optional(0.0) : Parse<double>(whole.substr(comma + 1));
    if (!x || !y || !std::isfinite(*x) || !std::isfinite(*y))
        throw CLI::ValidationError("--drift", "'" + text + "', expected PX or PX,PY in pixels");
    options.DriftX = *x;
    options.DriftY = *y;
}

void AddOutputOptions(CLI::App& command, SynthOptions& options) {
    command
        .add_option("-o,--output", options.Folder,
                    "Folder for the stack; made if it is missing. Files of the same names are replaced. Required.")
        ->required()
        ->option_text("FOLDER")
        ->group(kOutputGroup);
    AddChoice<std::string>(command, "--format", {{"png", "png"}, {"tif", "tif"}, {"bmp", "bmp"}, {"jpg", "jpg"}},
                           options.Format,
                           "Format of the frames: png, tif, bmp or jpg (8 bits only). Default png. The truth is never "
                           "written as jpg but as png.")
        ->option_text("NAME")
        ->group(kOutputGroup);
    AddNumber(command, "--threads", options.Threads, 0, kMostThreads,
              "Threads of the computation; 0 is one for each processor. Default 0. The files are the same with any "
              "number of threads.")
        ->option_text("COUNT")
        ->group(kOutputGroup);
}

void AddPictureOptions(CLI::App& command, SynthOptions& options) {
    AddChoice<SurfaceShape>(
        command, "--shape",
        {{"mixed", SurfaceShape::Mixed},
         {"ramp", SurfaceShape::Ramp},
         {"spheres", SurfaceShape::Spheres},
         {"steps", SurfaceShape::Steps},
         {"roughness", SurfaceShape::Roughness}},
        options.Shape,
        "Surface: a ramp, spheres on a plane, steps, roughness alone, or mixed (a ball, a plate and a "
        "groove on a tilted rough floor). Default mixed.")
        ->option_text("NAME")
        ->group(kPictureGroup);
    command
        .add_option_function<std::string>(
            "--size", [&options](const std::string& text) { ParseSize(text, options); },
            "Size of the frames in pixels. Default 1200x900.")
        ->option_text("WxH")
        ->group(kPictureGroup);
    AddChoice<int>(command, "--bits", {{"8", 8}, {"16", 16}}, options.Bits, "Bits of a sample: 8 or 16. Default 8.")
        ->option_text("8|16")
        ->group(kPictureGroup);
    command.add_flag("--gray", options.Gray, "Gray frames. By default they are in colour.")->group(kPictureGroup);
    AddNumber(command, "--seed", options.Seed, std::uint32_t{0}, UINT32_MAX,
              "Another number gives another surface and other noise. Default 1.")
        ->option_text("NUMBER")
        ->group(kPictureGroup);
}

void AddFocusOptions(CLI::App& command, SynthOptions& options) {
    AddNumber(command, "--frames", options.Frames, 1, kMostFrames, "Frames of the stack. Default 20.")
        ->option_text("COUNT")
        ->group(kFocusGroup);
    AddNumber(command, "--start", options.Start, -kFarthest, kFarthest,
              "Focus position of the first frame in um. Default 0.")
        ->option_text("UM")
        ->group(kFocusGroup);
    AddNumber(
        command, "--step", options.Step, -kFarthest, kFarthest,
        "Focus step from frame to frame in um; may be negative. Default 2. The surface fills the inner 80 percent "
        "of the way from the first to the last position.")
        ->option_text("UM")
        ->group(kFocusGroup);
    AddNumber(command, "--depth-of-field", options.DepthOfField, 0.0, kFarthest,
              "Height of the slice around the focus position that is not blurred, in um. Default 2.")
        ->option_text("UM")
        ->group(kFocusGroup);
    AddNumber(
        command, "--blur", options.Blur, 0.0, kFarthest,
        "Growth of the blur outside that slice: standard deviation in pixels per um, up to 24 pixels. Default 0.4.")
        ->option_text("PX")
        ->group(kFocusGroup);
}

void AddFaultOptions(CLI::App& command, SynthOptions& options) {
    AddNumber(command, "--noise", options.Noise, 0.0, 255.0,
              "Standard deviation of the camera's noise, in levels of 8 bits. Default 0.")
        ->option_text("LEVELS")
        ->group(kFaultGroup);
    command
        .add_option_function<std::string>(
            "--drift", [&options](const std::string& text) { ParseDrift(text, options); },
            "Movement of the picture from frame to frame, in pixels to the right and down. Default 0,0.")
        ->option_text("PX[,PY]")
        ->group(kFaultGroup);
    AddNumber(command, "--breathing", options.Breathing, -50.0, 50.0,
              "Growth of the picture per frame, in percent of the first. Default 0.")
        ->option_text("PERCENT")
        ->group(kFaultGroup);
    command.add_flag("--glare", options.Glare, "Blown-out highlights, in the truth too.")->group(kFaultGroup);
    AddNumber(
        command, "--exposures", options.Exposures, 0, kMostExposures,
        "Also an exposure series for kyfocus halation, of that many pictures in a folder exposures: all in focus, "
        "exposure_000 as bright as the truth, each next one half as bright. Shows what --glare blows out. "
        "Default 0.")
        ->option_text("COUNT")
        ->group(kFaultGroup);
}

void Run(const SynthOptions& options) {
    const int threads = omp_get_max_threads();
    if (options.Threads > 0) omp_set_num_threads(options.Threads);
    const std::string folder = DisplayPath(options.Folder);
    WriteStack(options); // the last step that can fail
    omp_set_num_threads(threads);
    std::fprintf(stderr, "%s: %d %s of %d x %d %d-bit %s and the truth\n", folder.c_str(), options.Frames,
                 options.Frames == 1 ? "frame" : "frames", options.Width, options.Height, options.Bits,
                 options.Gray ? "gray" : "colour");
}

} // namespace

void AddSynthCommand(CLI::App& program) {
    CLI::App& command = *program.add_subcommand(
        "synth",
        "Makes a focus stack of a made-up surface, with its truth: frame_000 and so on, truth/image (all in "
        "focus), truth/height.tif (32-bit floats in um), heights.txt (for compose --heights) and truth/stack.json "
        "(movement of each frame).");
    command.footer("Example: kyfocus synth -o stack && kyfocus compose stack --heights stack/heights.txt -o sharp.png");
    const auto options = std::make_shared<SynthOptions>();
    AddOutputOptions(command, *options);
    AddPictureOptions(command, *options);
    AddFocusOptions(command, *options);
    AddFaultOptions(command, *options);
    command.callback([options] { Run(*options); });
}

} // namespace app
