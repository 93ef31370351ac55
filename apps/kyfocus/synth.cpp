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

template <typename Number> std::optional<Number> Parse(std::string_view text) {
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

/// A check that lets numbers from `low` to `high` pass, and nothing that is not a number.
CLI::Validator Between(double low, double high) {
    char range[80];
    std::snprintf(range, sizeof range, "%g to %g", low, high);
    const auto check = [low, high, range = std::string(range)](const std::string& text) -> std::string {
        const std::optional<double> value = Parse<double>(text);
        if (value && *value >= low && *value <= high) return {};
        return "'" + text + "' is out of range, expected " + range;
    };
    return {check, range};
}

void ParseSize(const std::string& text, SynthOptions& options) {
    const std::size_t cross = text.find('x');
    const std::string_view whole(text);
    const auto width = Parse<int>(whole.substr(0, cross));
    const auto height = cross == std::string::npos ? std::nullopt : Parse<int>(whole.substr(cross + 1));
    const auto isSide = [](std::optional<int> side) { return side && *side >= 1 && *side <= kLongestSide; };
    if (!isSide(width) || !isSide(height))
        throw CLI::ValidationError("--size", "'" + text + "', expected WIDTHxHEIGHT of 1 to 30000 pixels each");
    options.Width = *width;
    options.Height = *height;
}

void ParseDrift(const std::string& text, SynthOptions& options) {
    const std::size_t comma = text.find(',');
    const std::string_view whole(text);
    const auto x = Parse<double>(whole.substr(0, comma));
    const auto y = comma == std::string::npos ? std::optional(0.0) : Parse<double>(whole.substr(comma + 1));
    if (!x || !y || !std::isfinite(*x) || !std::isfinite(*y))
        throw CLI::ValidationError("--drift", "'" + text + "', expected PX or PX,PY");
    options.DriftX = *x;
    options.DriftY = *y;
}

void AddPicture(CLI::App& command, SynthOptions& options) {
    static const std::map<std::string, SurfaceShape> shapes{{"mixed", SurfaceShape::Mixed},
                                                            {"ramp", SurfaceShape::Ramp},
                                                            {"spheres", SurfaceShape::Spheres},
                                                            {"steps", SurfaceShape::Steps},
                                                            {"roughness", SurfaceShape::Roughness}};
    command
        .add_option_function<std::string>(
            "--shape", [&options](const std::string& name) { options.Shape = shapes.at(name); }, "Surface")
        ->check(CLI::IsMember({"mixed", "ramp", "spheres", "steps", "roughness"}))
        ->type_name("NAME")
        ->default_str("mixed");
    command
        .add_option_function<std::string>(
            "--size", [&options](const std::string& text) { ParseSize(text, options); },
            "Size of the frames in pixels, WIDTHxHEIGHT")
        ->type_name("WxH")
        ->default_str("1200x900");
    command.add_option("--bits", options.Bits, "Bits of a sample")
        ->check(CLI::IsMember({8, 16}))
        ->capture_default_str();
    command.add_flag("--gray", options.Gray, "Gray frames; colour otherwise");
    command.add_option("--seed", options.Seed, "Another number, another surface and noise")->capture_default_str();
}

void AddOptics(CLI::App& command, SynthOptions& options) {
    command.add_option("--frames", options.Frames, "Frames of the stack")
        ->check(Between(1, kMostFrames))
        ->capture_default_str();
    command.add_option("--start", options.Start, "Focus position of the first frame in um")
        ->check(Between(-1e6, 1e6))
        ->capture_default_str();
    command.add_option("--step", options.Step, "Focus step from frame to frame in um")
        ->check(Between(-1e5, 1e5))
        ->capture_default_str();
    command.add_option("--depth-of-field", options.DepthOfField, "Height of the slice that is seen sharp in um")
        ->check(Between(0, 1e6))
        ->capture_default_str();
    command.add_option("--blur", options.Blur, "Growth of the blur outside that slice, in pixels (sigma) per um")
        ->check(Between(0, 1e6))
        ->capture_default_str();
}

void AddFaults(CLI::App& command, SynthOptions& options) {
    command.add_option("--noise", options.Noise, "Camera noise (sigma) in levels of 8 bits")
        ->check(Between(0, 255))
        ->capture_default_str();
    command
        .add_option_function<std::string>(
            "--drift", [&options](const std::string& text) { ParseDrift(text, options); },
            "Movement of the picture per frame in pixels, along x or x,y")
        ->type_name("PX[,PY]")
        ->default_str("0,0");
    command.add_option("--breathing", options.Breathing, "Growth of the picture per frame in percent")
        ->check(Between(-50, 50))
        ->capture_default_str();
    command.add_flag("--glare", options.Glare, "Blown-out highlights");
}

void AddOutput(CLI::App& command, SynthOptions& options) {
    command.add_option("-o,--output", options.Folder, "Folder for the stack; made if it is missing")
        ->required()
        ->type_name("FOLDER");
    command.add_option("--format", options.Format, "Format of the frames")
        ->check(CLI::IsMember({"png", "tif", "bmp", "jpg"}))
        ->capture_default_str();
    command.add_option("--threads", options.Threads, "Threads to use; 0: all")
        ->check(Between(0, 1024))
        ->capture_default_str();
}

void Run(const SynthOptions& options) {
    const int threads = omp_get_max_threads();
    if (options.Threads > 0) omp_set_num_threads(options.Threads);
    WriteStack(options);
    omp_set_num_threads(threads);
    std::printf("%d frames of %d x %d pixels, %d-bit %s: %s; %s, truth_height.tif, heights.txt, truth.json\n",
                options.Frames, options.Width, options.Height, options.Bits, options.Gray ? "gray" : "colour",
                DisplayPath(options.Folder / FrameName(options, 0)).c_str(), TruthName(options).c_str());
}

} // namespace

void AddSynthCommand(CLI::App& program) {
    CLI::App& command = *program.add_subcommand("synth", "Make a focus stack of a made-up surface with known truth");
    command.footer(
        "Writes frame_000 ... and beside them truth_image (all in focus), truth_height.tif (32-bit float, um),\n"
        "heights.txt (for compose --heights) and truth.json (movement of each frame).\n"
        "Compose such a stack with: kyfocus compose 'FOLDER/frame_*' --heights FOLDER/heights.txt");
    const auto options = std::make_shared<SynthOptions>();
    AddPicture(command, *options);
    AddOptics(command, *options);
    AddFaults(command, *options);
    AddOutput(command, *options);
    command.callback([options] { Run(*options); });
}

} // namespace app
