/// The options of `kyfocus compose` for graphics processors.
#ifndef KYFOCUS_APP_GPU_OPTIONS_H
#define KYFOCUS_APP_GPU_OPTIONS_H

#include <string>

#include <CLI/CLI.hpp>

#include <kyfocus/settings.h>
#include <kyimaging/kyimaging.h>

namespace app {

struct ComposeOptions;

/// What the 3D modes may compute on. Auto is the library's choice where the result does not suffer.
enum class GpuChoice { Auto, Cuda, OpenCl, None };

/// Adds --gpu and --no-gpu.
void AddGpuOptions(CLI::App& command, ComposeOptions& options, const std::string& group);

/// Turns the options into settings; the mode has been chosen. Throws UsageError for options that contradict each other.
void CompleteGpuOptions(ComposeOptions& options);

/// Throws Failure when a back end is asked for by its name and the library would not take it.
void RequireGpu(const ComposeOptions& options);

/// Whether a graphics processor judges frames like this one by something else than their sharpness: it sees single
/// bytes of 16-bit samples, and finds no sharpness in brightness.
bool SpoilsOnGpu(const KyfFocusCompositionParameter& settings, const KyiImageData& frame);

/// Whether a graphics processor judges frames like this one by their blue, the processor by their green: colour that is
/// reduced in one thread.
bool IsJudgedByBlue(const ComposeOptions& options, const KyiImageData& frame);

/// The settings of a session for frames like this one.
KyfFocusCompositionParameter SessionSettings(const ComposeOptions& options, const KyiImageData& frame);

} // namespace app

#endif
