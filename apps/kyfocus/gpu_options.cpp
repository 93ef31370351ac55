#include "gpu_options.h"

#include <omp.h>

#include "compose_options.h"
#include "errors.h"
#include "gpu_probe.h"
#include "option_kinds.h"

namespace app {
namespace {

const char* NameOf(GpuChoice choice) { return choice == GpuChoice::Cuda ? "cuda" : "opencl"; }

bool IsByName(GpuChoice choice) { return choice == GpuChoice::Cuda || choice == GpuChoice::OpenCl; }

void Require(const BackEnd& backEnd, GpuChoice choice) {
    if (backEnd.IsAvailable) return;
    throw Failure(std::string("--gpu ") + NameOf(choice) + ": " + backEnd.Name +
                  " is not available: " + backEnd.Reason + ", expected --gpu auto or --no-gpu");
}

} // namespace

void AddGpuOptions(CLI::App& command, ComposeOptions& options, const std::string& group) {
    AddChoice<GpuChoice>(
        command, "--gpu", {{"auto", GpuChoice::Auto}, {"cuda", GpuChoice::Cuda}, {"opencl", GpuChoice::OpenCl}},
        [&options](const GpuChoice& choice) { options.Gpu = choice; },
        "Graphics processor of modes 3d and complex. auto takes CUDA where it is available, else OpenCL, else the "
        "processor; frames that a graphics processor would spoil (16 bits, --scope 2 and 3, colour with --no-parallel) "
        "stay on the processor. cuda and opencl end with an error where theirs is not available; opencl also where "
        "CUDA is, since that comes first. Heights differ for frames of four bytes a pixel, and the image of mode 3d "
        "with --plane bottom and top on CUDA. kyfocus devices tells what there is. Default auto.")
        ->option_text("NAME")
        ->group(group);
    command.add_flag("--no-gpu", options.NoGpu, "Compute on the processor alone.")->group(group);
}

void CompleteGpuOptions(ComposeOptions& options) {
    const bool isGiven = options.IsGiven("--gpu");
    if (options.NoGpu && isGiven) throw UsageError("--gpu and --no-gpu contradict each other");
    if (IsByName(options.Gpu) && options.Settings.AlgType == KyfAlgorithmType2DSelection)
        throw UsageError(std::string("--gpu ") + NameOf(options.Gpu) + " is for --mode 3d or complex, the mode is 2d");
    if (isGiven) options.Settings.DisableGPU = 0;
    if (options.NoGpu) options.Settings.DisableGPU = 1;
    if (options.Settings.DisableGPU != 0) options.Gpu = GpuChoice::None;
}

void RequireGpu(const ComposeOptions& options) {
    if (!IsByName(options.Gpu)) return;
    const BackEnd cuda = ProbeCuda();
    if (options.Gpu == GpuChoice::Cuda) {
        Require(cuda, options.Gpu);
        return;
    }
    if (cuda.IsAvailable)
        throw Failure("--gpu opencl: CUDA is available, and the library takes it before OpenCL, expected --gpu cuda");
    Require(ProbeOpenCl(), options.Gpu);
}

bool SpoilsOnGpu(const KyfFocusCompositionParameter& settings, const KyiImageData& frame) {
    return KyiGetMaxVal(frame.Format) > UINT8_MAX || settings.ScopeType == 2 || settings.ScopeType == 3;
}

bool IsJudgedByBlue(const ComposeOptions& options, const KyiImageData& frame) {
    const bool isInOneThread = options.NoParallel || omp_get_num_procs() < 2;
    return isInOneThread && KyiIsFormatBgr(frame.Format) != 0;
}

KyfFocusCompositionParameter SessionSettings(const ComposeOptions& options, const KyiImageData& frame) {
    KyfFocusCompositionParameter settings = options.Settings;
    const bool isSpoilt = SpoilsOnGpu(settings, frame) || IsJudgedByBlue(options, frame);
    if (options.Gpu == GpuChoice::Auto && isSpoilt) settings.DisableGPU = 1;
    return settings;
}

} // namespace app
