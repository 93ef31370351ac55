/// The options of `kyfocus compose`.
#ifndef KYFOCUS_APP_COMPOSE_OPTIONS_H
#define KYFOCUS_APP_COMPOSE_OPTIONS_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include <kyfocus/settings.h>

#include "align_options.h"
#include "gpu_options.h"
#include "mesh_file.h"
#include "progress_display.h"

namespace app {

/// The library's defaults, but for 2d and full speed.
KyfFocusCompositionParameter DefaultSettings();

struct ComposeOptions {
    std::vector<std::string> Frames; // files, folders, patterns as given
    bool KeepOrder = false;
    std::filesystem::path Output;
    std::filesystem::path HeightMapOutput; // empty: none, here and in the next ones
    std::filesystem::path HeightImageOutput;
    std::filesystem::path HeightPictureOutput;
    std::filesystem::path MeshOutput;
    std::filesystem::path DifferentiationMapOutput;
    std::string JsonOutput; // "-": stdout

    KyfFocusCompositionParameter Settings = DefaultSettings();
    AlignOptions Align;                   // what the line says of it; in Settings once they are complete
    std::filesystem::path ParametersFile; // Settings come from there where the line is silent; empty: none
    std::string ParametersFailure;        // why it cannot be read; empty: it can
    std::vector<std::string> ParameterWarnings;
    std::filesystem::path ParametersOutput; // empty: none
    bool HasModeOfFile = false;             // ParametersFile tells the mode
    std::filesystem::path TemporaryParent;  // empty: the system's temporary folder

    std::filesystem::path HeightsFile; // empty: none
    std::optional<double> Start;       // Unit
    std::optional<double> Step;        // Unit a frame
    std::string Unit = "um";
    MeshForm Mesh;
    std::optional<double> PixelSize; // Unit

    GpuChoice Gpu = GpuChoice::Auto; // None: by --no-gpu or the settings
    bool NoGpu = false;
    int Threads = 0; // 0: as many as there are processors
    bool NoParallel = false;
    ProgressStyle Progress = ProgressStyle::Auto;

    std::vector<std::string> Given; // names of the options on the command line

    bool IsGiven(const std::string& name) const;
    bool WantsHeights() const {
        return !HeightMapOutput.empty() || !HeightImageOutput.empty() || !HeightPictureOutput.empty() ||
               !MeshOutput.empty() || !DifferentiationMapOutput.empty();
    }
    bool HasHeights() const { return !HeightsFile.empty() || Step.has_value(); }
};

/// Names of the values of --speed, in their order.
inline constexpr const char* kSpeedNames[] = {"full", "half", "quarter"};

/// Adds the options to a sub-command. `options` must outlive the parsing.
void AddComposeOptions(CLI::App& command, ComposeOptions& options);

/// Chooses what was left open. Throws UsageError for options that do not go together or outputs whose names fit no
/// format.
void CompleteComposeOptions(ComposeOptions& options);

} // namespace app

#endif
