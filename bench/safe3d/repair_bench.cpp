// Repair, median, resampling and blend of maps. An item is a pixel of the map that is written. "Plain" is the form of
// tests/reference, in one thread; the argument of the others is the number of threads, 0 with the parallel flag off.
#include "filters/sample_rows.h"
#include "gpu/gpu_switches.h"
#include "reference/median.h"
#include "safe3d/blend_by_height.h"
#include "safe3d/height_repair.h"
#include "safe3d/middle_filter.h"
#include "safe3d/relaxation.h"

#include "maps.h"

namespace {

using bench::Turn;
using test::MapShape;

reference::IntGrid Grid(const MapShape& shape, const std::vector<std::int32_t>& values) {
    return {shape.Width, shape.Height, values};
}

void MedianPlain(benchmark::State& state) {
    const MapShape shape{bench::GridShape().Width, 48};
    const auto image = Grid(shape, bench::Surface(shape));
    const auto mask = Grid(shape, std::vector<std::int32_t>(test::CountOf(shape), 0));
    const Turn turn(state, shape);
    for (auto _ : state) benchmark::DoNotOptimize(reference::MiddleFilter(image, mask, 11).Values.data());
}

void Median(benchmark::State& state, std::uint32_t badShare, bool isNoise) {
    const MapShape shape = bench::GridShape();
    const auto image = test::NewUint16(shape, isNoise ? test::RandomSamples(test::CountOf(shape), 0, 65535, 3)
                                                      : bench::Surface(shape));
    const auto mask = test::NewMask(shape, test::RandomMask(shape, badShare, 1, 2));
    const Turn turn(state, shape);
    kyf::SetIsDisableGpu(1); // the processor's, whatever the machine has
    for (auto _ : state) benchmark::DoNotOptimize(kyf::MiddleFilter(*image, *mask, 11, turn.Flag()));
}

struct Holes {
    std::vector<std::int32_t> Samples;
    test::Image Mask;
};

// Blots over a share of the map, filled with the mean as at the start of the relaxation.
Holes MakeHoles(const MapShape& shape, std::uint32_t share, std::int32_t blot) {
    Holes holes{bench::Surface(shape), nullptr};
    const auto mask = test::RandomMask(shape, share, blot, 5);
    for (std::size_t i = 0; i < mask.size(); ++i)
        if (mask[i] == 255) holes.Samples[i] = 32000;
    holes.Mask = test::NewMask(shape, mask);
    return holes;
}

template <typename Relax>
void Relaxation(benchmark::State& state, std::uint32_t share, std::int32_t blot, std::uint16_t limit, Relax relax) {
    const MapShape shape = bench::GridShape();
    const Holes holes = MakeHoles(shape, share, blot);
    const auto before = test::NewUint16(shape, holes.Samples);
    const auto image = test::NewUint16(shape, holes.Samples);
    const Turn turn(state, shape);
    std::int32_t sweeps = 0;
    for (auto _ : state) {
        kyf::CopyUint16Image(*before, *image, /*parallel=*/0);
        sweeps = relax(*image, *holes.Mask, limit);
    }
    state.counters["sweeps"] = sweeps;
}

void FillPlane(benchmark::State& state) {
    const MapShape shape = bench::GridShape();
    const auto image = test::NewUint16(shape, bench::Surface(shape), bench::kScaleOf50);
    const auto mask = test::NewMask(shape, test::RandomMask(shape, 40, 9, 5));
    const Turn turn(state, shape);
    for (auto _ : state) benchmark::DoNotOptimize(kyf::FillPlane(*image, *mask, 3.0, nullptr));
}

void HardenMask(benchmark::State& state) {
    const MapShape shape = bench::GridShape();
    const auto mask = test::NewMask(shape, test::RandomMask(shape, 40, 1, 5));
    const Turn turn(state, shape);
    for (auto _ : state) benchmark::DoNotOptimize(kyf::HardenMask(*mask, turn.Flag()));
}

void Quantise(benchmark::State& state) {
    const MapShape shape = bench::GridShape();
    const auto source = test::NewDoubles(shape, test::RandomDoubles(test::CountOf(shape), 0.0, 49.0, 2));
    const test::Uint16Image image(kyf::AllocUint16Image(shape.Width, shape.Height));
    const Turn turn(state, shape);
    for (auto _ : state) kyf::QuantiseMap(*source, *image);
}

void HoleMean(benchmark::State& state) {
    const MapShape shape = bench::FrameShape();
    const auto image = test::NewUint16(shape, bench::Surface(shape));
    const Turn turn(state, shape);
    for (auto _ : state) benchmark::DoNotOptimize(kyf::TakeHoleMean(*image, 3, 0, turn.Flag(), nullptr));
}

void HoleMeanPlain(benchmark::State& state) {
    const MapShape shape = bench::FrameShape();
    const auto image = Grid(shape, bench::Surface(shape));
    const Turn turn(state, shape);
    for (auto _ : state) benchmark::DoNotOptimize(reference::HoleMean(image, 3, 0).Values.data());
}

// Every turn starts from the result of the one before, whose values are whole frames already.
void WholeFrames(benchmark::State& state) {
    const MapShape shape = bench::FrameShape();
    const auto image = test::NewUint16(shape, bench::Surface(shape), bench::kScaleOf50);
    const Turn turn(state, shape);
    for (auto _ : state) kyf::RoundToWholeFrames(*image, turn.Flag());
}

void WholeFramesPlain(benchmark::State& state) {
    const MapShape shape = bench::FrameShape();
    reference::ScaledGrid image{Grid(shape, bench::Surface(shape)), bench::kScaleOf50, 0.0};
    const Turn turn(state, shape);
    for (auto _ : state) reference::WholeFrames(image);
}

void Bilinear16(benchmark::State& state) {
    const MapShape target = bench::FrameShape();
    const auto source = test::NewUint16(bench::GridShape(), bench::Surface(bench::GridShape()));
    const test::Uint16Image result(kyf::AllocUint16Image(target.Width, target.Height));
    const Turn turn(state, target);
    for (auto _ : state) kyf::ResampleBilinear(*source, *result, turn.Flag(), nullptr);
}

void BilinearDouble(benchmark::State& state) {
    const MapShape target = bench::FrameShape();
    const MapShape shape = bench::GridShape();
    const auto source = test::NewDoubles(shape, test::RandomDoubles(test::CountOf(shape), 0.0, 49.0, 2));
    const kyf::DoubleImagePtr result(kyf::AllocDoubleImage(target.Width, target.Height));
    const Turn turn(state, target);
    for (auto _ : state) kyf::ResampleBilinear(*source, *result, turn.Flag(), nullptr);
}

void Bilinear16Plain(benchmark::State& state) {
    const MapShape target = bench::FrameShape();
    const auto source = Grid(bench::GridShape(), bench::Surface(bench::GridShape()));
    const Turn turn(state, target);
    for (auto _ : state)
        benchmark::DoNotOptimize(reference::Bilinear16(source, target.Width, target.Height).Values.data());
}

// All 49 steps of a stack of 50 over one pair of colour frames.
void Blend50(benchmark::State& state) {
    const MapShape shape = bench::FrameShape();
    const auto map = test::NewUint16(shape, bench::Surface(shape), bench::kScaleOf50);
    const auto previous = test::RandomImage(shape.Width, shape.Height, KyiFormatBgr24, 1);
    const auto next = test::RandomImage(shape.Width, shape.Height, KyiFormatBgr24, 2);
    const auto out = test::RandomImage(shape.Width, shape.Height, KyiFormatBgr24, 3);
    const kyf::SampleRows<const std::uint8_t> previousRows(*previous);
    const kyf::SampleRows<const std::uint8_t> nextRows(*next);
    const kyf::SampleRows<std::uint8_t> outRows(*out);
    const Turn turn(state, shape);
    for (auto _ : state) {
        for (std::int32_t frame = 1; frame < 50; ++frame) {
            const kyf::BlendStep step = kyf::MakeBlendStep(frame, 50, map->Scale, map->Offset);
#pragma omp parallel for schedule(static) if (turn.Flag())
            for (std::int32_t y = 0; y < shape.Height; ++y)
                kyf::BlendRow(step, map->Rows[y], previousRows[y], nextRows[y], outRows[y], {3, 3, 3}, 3, shape.Width);
        }
    }
}

void Copy(benchmark::State& state) {
    const MapShape shape = bench::FrameShape();
    const auto from = test::NewUint16(shape, bench::Surface(shape));
    const auto to = test::NewUint16(shape, bench::Surface(shape));
    const Turn turn(state, shape);
    for (auto _ : state) kyf::CopyUint16Image(*from, *to, turn.Flag());
}

std::int32_t Rows(kyf::KyfImageDataUint16& image, const KyiImageData& mask, std::uint16_t limit) {
    return kyf::RelaxByRows(image, mask, limit);
}
std::int32_t Diagonals(kyf::KyfImageDataUint16& image, const KyiImageData& mask, std::uint16_t limit) {
    return kyf::RelaxByDiagonals(image, mask, limit);
}

BENCHMARK(MedianPlain)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Median, surface, 0, false)->Arg(0)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(Median, thirdMasked, 33, false)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Median, noise, 0, true)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Relaxation, smallHolesRows, 20, 3, 1, Rows)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Relaxation, smallHoles, 20, 3, 1, Diagonals)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Relaxation, halfRows, 60, 40, 0, Rows)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Relaxation, half, 60, 40, 0, Diagonals)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(FillPlane)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(HardenMask)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(Quantise)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(HoleMeanPlain)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(HoleMean)->Arg(0)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(WholeFramesPlain)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(WholeFrames)->Arg(0)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Bilinear16Plain)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(Bilinear16)->Arg(0)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BilinearDouble)->Arg(0)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Blend50)->Arg(0)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Copy)->Arg(0)->Unit(benchmark::kMillisecond);

} // namespace
