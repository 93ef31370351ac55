// What the filters cost on images of a microscope's size. "each pixel" is the time of one pixel of all channels; the
// argument is the number of threads, 0 with the parallel flag off. KY_BENCH_SMALL in the environment takes small
// images.
#include <cstdlib>
#include <cstring>
#include <vector>

#include <benchmark/benchmark.h>
#include <omp.h>

#include "filters/double_image.h"
#include "filters/filters.h"
#include "filters/image_layout.h"
#include "reference/edge_strength.h"
#include "reference/maximum5x5.h"
#include "reference/spline_image.h"
#include "support/images.h"

namespace {

struct Size {
    std::int32_t Width;
    std::int32_t Height;
};

Size FrameSize() { return std::getenv("KY_BENCH_SMALL") ? Size{160, 120} : Size{4000, 3000}; }

// Half wavelength of the focus value chain: two percent of the width.
double ChainSize(const KyiImageData& image) { return 2.0 * image.Width / 200.0; }

struct Run {
    explicit Run(benchmark::State& state, std::int32_t format)
        : State(state), Flag(state.range(0) != 0),
          Source(test::TexturedImage(FrameSize().Width, FrameSize().Height, format, 1)),
          Destination(kyf::CloneImageLayout(*Source)) {
        omp_set_num_threads(std::max(1, static_cast<int>(state.range(0))));
        std::memset(Destination->Pixels, 0,
                    static_cast<std::size_t>(Destination->LineBytes) * static_cast<std::size_t>(Destination->Height));
    }
    ~Run() {
        const auto pixels = static_cast<double>(Source->Width) * Source->Height;
        State.counters["each pixel"] = benchmark::Counter(pixels * static_cast<double>(State.iterations()),
                                                          benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    benchmark::State& State;
    KyiBool Flag;
    test::Image Source;
    kyf::ImagePtr Destination;
};

void EdgeStrength(benchmark::State& state, std::int32_t format) {
    Run run(state, format);
    for (auto _ : state) kyf::FilterEdgeStrength(run.Source.get(), run.Destination.get(), run.Flag);
}

void Maximum(benchmark::State& state, std::int32_t format) {
    Run run(state, format);
    for (auto _ : state) kyf::FilterMaximum5x5(run.Source.get(), run.Destination.get(), run.Flag);
}

void SplineImage(benchmark::State& state, std::int32_t format) {
    Run run(state, format);
    const double size = ChainSize(*run.Source);
    for (auto _ : state)
        kyf::FilterSplineImage(run.Source.get(), run.Destination.get(), size, size, 1.0, run.Flag, nullptr);
}

void SplineRows(benchmark::State& state, std::int32_t format) {
    Run run(state, format);
    const double size = ChainSize(*run.Source);
    for (auto _ : state)
        kyf::FilterSplineImage(run.Source.get(), run.Destination.get(), size, 0.0, 1.0, run.Flag, nullptr);
}

void RunChain(KyiImageData& image, double size, KyiBool parallel) {
    kyf::FilterEdgeStrength(&image, &image, parallel);
    kyf::FilterMaximum5x5(&image, &image, parallel);
    kyf::FilterSplineImage(&image, &image, size, size, 1.0, parallel, nullptr);
}

// Edge strength, maximum and spline in place, in a copy of the frame.
void Chain(benchmark::State& state, std::int32_t format) {
    Run run(state, format);
    for (auto _ : state) {
        KyiCopyImageData(run.Source.get(), run.Destination.get(), 0, run.Flag);
        RunChain(*run.Destination, ChainSize(*run.Source), run.Flag);
    }
}

// The same with an image for each stage, as each frame meets it.
void ChainOfImages(benchmark::State& state, std::int32_t format) {
    Run run(state, format);
    const double size = ChainSize(*run.Source);
    for (auto _ : state) {
        const kyf::ImagePtr edge = kyf::CloneImageLayout(*run.Source);
        kyf::FilterEdgeStrength(run.Source.get(), edge.get(), run.Flag);
        const kyf::ImagePtr maximum = kyf::CloneImageLayout(*edge);
        kyf::FilterMaximum5x5(edge.get(), maximum.get(), run.Flag);
        const kyf::ImagePtr smooth = kyf::CloneImageLayout(*edge);
        kyf::FilterSplineImage(maximum.get(), smooth.get(), size, size, 1.0, run.Flag, nullptr);
        benchmark::DoNotOptimize(smooth->Pixels);
    }
}

// The argument after the threads is the divisor of both axes in tenths.
void Reduce(benchmark::State& state, std::int32_t format) {
    Run run(state, format);
    const auto tenths = static_cast<std::int32_t>(state.range(1));
    const test::Image reduced(
        KyiAllocImageData(run.Source->Width * 10 / tenths, run.Source->Height * 10 / tenths, format));
    for (auto _ : state) kyf::ReduceImage(run.Source.get(), reduced.get(), run.Flag);
}

void SplineDouble(benchmark::State& state) {
    Run run(state, KyiFormatGray8);
    const kyf::DoubleImagePtr field(kyf::AllocDoubleImage(run.Source->Width, run.Source->Height));
    for (std::int32_t y = 0; y < field->Height; ++y)
        for (std::int32_t x = 0; x < field->Width; ++x) field->Rows[y][x] = (x * 31 + y * 17) % 101;
    for (auto _ : state) kyf::FilterSplineDouble(field.get(), field.get(), 40.0, 40.0, 0, run.Flag);
}

// One sweep over the same bytes, to set the other figures against.
void CopyBytes(benchmark::State& state, std::int32_t format) {
    Run run(state, format);
    const std::size_t bytes =
        static_cast<std::size_t>(run.Source->LineBytes) * static_cast<std::size_t>(run.Source->Height);
    for (auto _ : state) {
        std::memcpy(run.Destination->Pixels, run.Source->Pixels, bytes);
        benchmark::ClobberMemory();
    }
}

// The chain in its plain forms: what the kernels are measured against.
void PlainChain(benchmark::State& state, std::int32_t format) {
    Run run(state, format);
    const double size = ChainSize(*run.Source);
    for (auto _ : state) {
        const kyf::ImagePtr maximum = kyf::CloneImageLayout(*run.Source);
        reference::FilterEdgeStrength(*run.Source, *run.Destination);
        reference::FilterMaximum5x5(*run.Destination, *maximum);
        reference::FilterSplineImage(*maximum, *run.Destination, size, size, 1.0, false);
    }
}

void Threads(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(0)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
}

void ThreadsAndRatios(benchmark::internal::Benchmark* benchmark) {
    for (const int threads : {0, 2})
        for (const int tenths : {20, 25, 40}) benchmark->Args({threads, tenths});
    benchmark->Unit(benchmark::kMillisecond)->UseRealTime();
}

#define KY_BENCH_FORMATS(function, arguments)                                                                          \
    BENCHMARK_CAPTURE(function, gray8, KyiFormatGray8)->Apply(arguments);                                              \
    BENCHMARK_CAPTURE(function, gray16, KyiFormatGray16)->Apply(arguments);                                            \
    BENCHMARK_CAPTURE(function, colour8, KyiFormatBgr24)->Apply(arguments);                                            \
    BENCHMARK_CAPTURE(function, colour16, KyiFormatBgr48)->Apply(arguments)

KY_BENCH_FORMATS(CopyBytes, Threads);
KY_BENCH_FORMATS(EdgeStrength, Threads);
KY_BENCH_FORMATS(Maximum, Threads);
KY_BENCH_FORMATS(SplineRows, Threads);
KY_BENCH_FORMATS(SplineImage, Threads);
KY_BENCH_FORMATS(Chain, Threads);
KY_BENCH_FORMATS(ChainOfImages, Threads);
KY_BENCH_FORMATS(Reduce, ThreadsAndRatios);
BENCHMARK(SplineDouble)->Apply(Threads);
BENCHMARK_CAPTURE(PlainChain, gray8, KyiFormatGray8)->Arg(0)->Unit(benchmark::kMillisecond)->Iterations(1);

} // namespace
