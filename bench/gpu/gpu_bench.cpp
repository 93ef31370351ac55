// What a frame and a median cost on the processor and on the graphics processor, as an add and a make call them. The
// label tells which path was taken. Times are the clock's: a device works beside the processor.
#include <array>
#include <string>

#include <benchmark/benchmark.h>
#include <omp.h>

#include "gpu/gpu_switches.h"
#include "gpu/intermediate_code_path.h"
#include "safe3d/frame_process.h"
#include "safe3d/maps.h"
#include "safe3d/middle_filter.h"
#include "safe3d/processing_path.h"
#include "safe3d/stack.h"
#if KY_BENCH_POCL
#include "gpu/opencl_double.h"
#endif

namespace {

#if KY_BENCH_POCL
// PoCL is told to show its processor as a graphics processor, and keeps no statistics of the double's.
void ForgetCalls() { test::OpenClDouble::Get().Reset(); }
#else
void ForgetCalls() {}
#endif

/// Sets the switches and the folder of compiled programs, and tells the path.
std::string Choose(benchmark::State& state, const test::TemporaryFolder& folder) {
    omp_set_num_threads(static_cast<int>(state.range(2)));
    kyf::SetIntermediateCodePath(folder.Path().wstring().c_str());
    kyf::SetIsDisableGpu(state.range(0) == 0 ? 1 : 0);
    constexpr std::array<const char*, 3> kNames{"CUDA", "OpenCL", "CPU"};
    return kNames[static_cast<std::size_t>(kyf::ChooseMedianPath())];
}

/// From a later frame's pixels to its edge strength, without its bitmap.
void Frame(benchmark::State& state) {
    const test::TemporaryFolder folder;
    state.SetLabel(Choose(state, folder));
    const bench::FrameSize size = bench::SizeOf(state.range(1));
    const bench::Session session = bench::StartSession(0, folder);
    session->DisableGPU = state.range(0) == 0 ? 1 : 0;
    const bench::Scene scene(size, 3);
    bench::AddFrame(*session, *scene.Frame(0), 0);
    const bench::Image frame = scene.Frame(1);
    const CFuncTraceLog log(__FILE__, __LINE__, L"Frame", 0);
    for (auto _ : state) {
        kyf::CProgressProcManager steps(nullptr, 4);
        if (kyf::ProcessFrame(*session, *frame, 1, steps, log) != KyfResultOk) state.SkipWithError("no memory");
        ForgetCalls();
    }
    state.counters["ns/pixel"] = benchmark::Counter(size.Pixels() * 1e-9 * static_cast<double>(state.iterations()),
                                                    benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

/// One pass with a window of 11 by 11 over the grid of the finest speed.
void Median(benchmark::State& state) {
    const test::TemporaryFolder folder;
    state.SetLabel(Choose(state, folder));
    const test::MapShape shape =
        std::getenv("KY_BENCH_SMALL") != nullptr ? test::MapShape{64, 48} : test::MapShape{512, 384};
    const auto samples = test::RandomSamples(test::CountOf(shape), 0, 65535, 1);
    const test::Uint16Image image = test::NewUint16(shape, samples);
    const test::Image mask = test::NewMask(shape, test::RandomMask(shape, 10, 1, 2));
    kyf::MiddleFilter(*image, *mask, 11, 1); // builds the kernel
    for (auto _ : state) {
        kyf::MiddleFilter(*image, *mask, 11, 1);
        ForgetCalls();
    }
    state.counters["ns/pixel"] =
        benchmark::Counter(static_cast<double>(test::CountOf(shape)) * 1e-9 * static_cast<double>(state.iterations()),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void FrameArguments(benchmark::internal::Benchmark* benchmark) {
    benchmark->UseRealTime()->Unit(benchmark::kMillisecond)->ArgNames({"gpu", "megapixels", "threads"});
    for (const int megapixels : {2, 12})
        for (const int gpu : {0, 1}) benchmark->Args({gpu, megapixels, 2});
}

void MedianArguments(benchmark::internal::Benchmark* benchmark) {
    benchmark->UseRealTime()->Unit(benchmark::kMillisecond)->ArgNames({"gpu", "", "threads"});
    for (const int gpu : {0, 1}) benchmark->Args({gpu, 0, 2});
}

BENCHMARK(Frame)->Apply(FrameArguments);
BENCHMARK(Median)->Apply(MedianArguments);

} // namespace
