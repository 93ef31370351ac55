/// The options of `kyfocus compose`.
#ifndef KYFOCUS_APP_COMPOSE_OPTIONS_H
#define KYFOCUS_APP_COMPOSE_OPTIONS_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "progress_display.h"

namespace app {

struct ComposeOptions {
    std::vector<std::string> Frames; // files, folders, patterns as given
    bool KeepOrder = false;
    std::filesystem::path Output;
    std::filesystem::path HeightMapOutput;   // empty: none
    std::filesystem::path HeightImageOutput; // empty: none
    std::string JsonOutput;                  // empty: none; "-": stdout

    int Speed = 0;     // 0 full, 1 half, 2 quarter
    int CompSize = 8;  // percent
    int Smoothing = 6; // percent
    int Scope = 0;

    std::filesystem::path HeightsFile; // empty: none
    std::optional<double> Start;       // Unit
    std::optional<double> Step;        // Unit a frame
    std::string Unit = "um";

    int Threads = 0; // 0: as many as there are processors
    bool NoParallel = false;
    ProgressStyle Progress = ProgressStyle::Auto;

    bool WantsHeights() const { return !HeightMapOutput.empty() || !HeightImageOutput.empty(); }
    bool HasHeights() const { return !HeightsFile.empty() || Step.has_value(); }
};

/// Names of the values of --speed, in their order.
inline constexpr const char* kSpeedNames[] = {"full", "half", "quarter"};

/// Adds the options to a sub-command. `options` must outlive the parsing.
void AddComposeOptions(CLI::App& command, ComposeOptions& options);

/// Throws UsageError for options that do not go together or outputs whose names fit no format.
void CheckComposeOptions(const ComposeOptions& options);

} // namespace app

#endif
