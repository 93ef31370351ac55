// Stages from a channel to edge strength and luminance. An item is a pixel of the working image. "Plain" is the form of
// tests/reference, in one thread; the argument of the others is the number of threads, 0 with the parallel flag off.
#include "reference/edge_data.h"
#include "safe3d/edge_data.h"
#include "safe3d/extract_channel.h"

#include "maps.h"

namespace {

using bench::Turn;
using test::MapShape;

const std::vector<double> kWeights{0.25, 0.5, 0.25};

std::vector<double> Channel(std::uint32_t seed) {
    return test::RandomDoubles(test::CountOf(bench::GridShape()), 0.0, 255.0, seed);
}

kyf::DoubleImagePtr Empty(const MapShape& shape) {
    return kyf::DoubleImagePtr(kyf::AllocDoubleImage(shape.Width, shape.Height));
}

void Extract(benchmark::State& state) {
    const MapShape shape = bench::GridShape();
    const auto frame = test::RandomImage(shape.Width, shape.Height, KyiFormatBgr24, 1);
    const auto result = Empty(shape);
    const Turn turn(state, shape);
    for (auto _ : state) kyf::ExtractChannel(*frame, *result, turn.Flag());
}

void Blur(benchmark::State& state) {
    const MapShape shape = bench::GridShape();
    const auto source = test::NewDoubles(shape, Channel(1));
    const auto result = Empty(shape);
    const Turn turn(state, shape);
    for (auto _ : state) kyf::BlurPass(*source, *result, 0, kWeights.data(), kWeights.data(), 3, turn.Flag());
}

void BlurPlain(benchmark::State& state) {
    const MapShape shape = bench::GridShape();
    const reference::DoubleGrid source{shape.Width, shape.Height, Channel(1)};
    reference::DoubleGrid result = source;
    const Turn turn(state, shape);
    for (auto _ : state) reference::BlurPass(source, result, 0, kWeights, kWeights);
}

void HighPass(benchmark::State& state) {
    const MapShape shape = bench::GridShape();
    const auto source = test::NewDoubles(shape, Channel(1));
    const auto result = Empty(shape);
    const Turn turn(state, shape);
    for (auto _ : state) kyf::FilterHighPass(*source, *result);
}

void HighPassPlain(benchmark::State& state) {
    const MapShape shape = bench::GridShape();
    const reference::DoubleGrid source{shape.Width, shape.Height, Channel(1)};
    const Turn turn(state, shape);
    for (auto _ : state) benchmark::DoNotOptimize(reference::HighPass(source).Values.data());
}

void EdgeData(benchmark::State& state, std::int32_t gridWidth) {
    const MapShape shape = bench::GridShape();
    const MapShape grid{gridWidth, gridWidth * shape.Height / shape.Width};
    const auto bibun = test::NewDoubles(shape, Channel(1));
    const auto bokashi = test::NewDoubles(shape, Channel(2));
    const auto kidoSource = test::NewDoubles(shape, Channel(3));
    const auto edge = Empty(grid);
    const auto kido = Empty(grid);
    const Turn turn(state, shape);
    for (auto _ : state) kyf::MakeEdgeData(*bibun, *bokashi, *kidoSource, *edge, *kido, turn.Flag());
}

void EdgeDataPlain(benchmark::State& state) {
    const MapShape shape = bench::GridShape();
    const auto grid = [&](std::uint32_t seed) {
        return reference::DoubleGrid{shape.Width, shape.Height, Channel(seed)};
    };
    const auto bibun = grid(1);
    const auto bokashi = grid(2);
    const auto kidoSource = grid(3);
    const Turn turn(state, shape);
    for (auto _ : state)
        benchmark::DoNotOptimize(
            reference::MakeEdgeData(bibun, bokashi, kidoSource, shape.Width, shape.Height).Edge.Values.data());
}

BENCHMARK(Extract)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(BlurPlain)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(Blur)->Arg(0)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(HighPassPlain)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(HighPass)->Arg(0)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(EdgeDataPlain)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(EdgeData, speed0, 512)->Arg(0)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(EdgeData, speed1, 256)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(EdgeData, speed2, 64)->Arg(0)->Unit(benchmark::kMillisecond);

} // namespace
