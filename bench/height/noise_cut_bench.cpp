// What a noise cut costs. "each pixel" is the time of one pixel of the map, "each mark" that of one cut pixel; the
// argument is the part of cut pixels in percent. KY_BENCH_SMALL in the environment takes small maps.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "height/noise_cut.h"
#include "reference/noise_cut.h"

namespace {

bool IsSmall() { return std::getenv("KY_BENCH_SMALL") != nullptr; }

struct Size {
    std::size_t Width;
    std::size_t Height;
};
Size MapSize() { return IsSmall() ? Size{160, 120} : Size{2000, 1500}; }
/// The plain form is slow on purpose.
Size PlainSize() { return IsSmall() ? Size{40, 30} : Size{500, 375}; }

/// A gentle surface; weak pixels strewn all over, or in round pieces of 60 pixels across.
struct Surface {
    Surface(Size size, double weak, bool isInPieces) {
        std::mt19937 random(3);
        std::uniform_real_distribution<double> part(0.0, 1.0);
        for (std::size_t y = 0; y < size.Height; ++y) {
            Heights.emplace_back();
            Map.emplace_back();
            for (std::size_t x = 0; x < size.Width; ++x) {
                const auto across = static_cast<double>(x);
                const auto down = static_cast<double>(y);
                Heights[y].push_back(30.0 + 10.0 * std::sin(across / 90.0) * std::cos(down / 70.0) + part(random));
                const double radius = std::hypot(std::remainder(across, 75.0), std::remainder(down, 75.0));
                const bool isWeak = isInPieces ? radius * radius * 3.1416 < weak * 75.0 * 75.0 : part(random) < weak;
                Map[y].push_back(isWeak ? 10 : 200);
            }
        }
        for (auto& row : Heights) HeightRows.push_back(row.data());
        for (auto& row : Map) MapRows.push_back(row.data());
    }
    kyf::JudgedHeights Judged() {
        const auto width = static_cast<std::int32_t>(Heights.front().size());
        const auto height = static_cast<std::int32_t>(Heights.size());
        return {{HeightRows.data(), width, height}, {MapRows.data(), width, height, 256}};
    }

    reference::Field Heights;
    reference::IntField Map;
    std::vector<double*> HeightRows;
    std::vector<std::int32_t*> MapRows;
};

void CountPixels(benchmark::State& state, Size size, double marked) {
    const auto pixels = static_cast<double>(size.Width * size.Height) * static_cast<double>(state.iterations());
    const auto timeOfOne = benchmark::Counter::kIsRate | benchmark::Counter::kInvert;
    state.counters["each pixel"] = benchmark::Counter(pixels, timeOfOne);
    state.counters["each mark"] = benchmark::Counter(pixels * marked, timeOfOne);
}

void Cut(benchmark::State& state, std::int32_t fillType, bool isInPieces) {
    const double marked = static_cast<double>(state.range(0)) / 100.0;
    Surface surface(MapSize(), marked, isInPieces);
    const kyf::JudgedHeights judged = surface.Judged();
    const kyf::DoubleImagePtr work = kyf::NewWorkHeights(judged.Heights);
    for (auto _ : state) kyf::CutHeights(judged, 0.5, fillType, *work);
    CountPixels(state, MapSize(), marked);
}

void CutPlain(benchmark::State& state, std::int32_t fillType, bool isInPieces) {
    const double marked = static_cast<double>(state.range(0)) / 100.0;
    const Surface surface(PlainSize(), marked, isInPieces);
    reference::Field work(surface.Heights.size());
    for (auto _ : state) {
        reference::CutHeights(surface.Heights, surface.Map, 256, 0.5, fillType, work);
        benchmark::DoNotOptimize(work);
    }
    CountPixels(state, PlainSize(), marked);
}

void Smooth(benchmark::State& state) {
    Surface surface(MapSize(), 0.0, false);
    const kyf::JudgedHeights judged = surface.Judged();
    const kyf::DoubleImagePtr work = kyf::NewWorkHeights(judged.Heights);
    kyf::CutHeights(judged, 0.0, KyfNoiseCutFillSmallest, *work);
    for (auto _ : state)
        benchmark::DoNotOptimize(kyf::SmoothHeights(*work, work->Width, static_cast<std::int32_t>(state.range(0))));
    CountPixels(state, MapSize(), 1.0);
}

/// The whole call of a host, without smoothing.
void HostCut(benchmark::State& state) {
    const double marked = static_cast<double>(state.range(0)) / 100.0;
    Surface surface(MapSize(), marked, false);
    const kyf::JudgedHeights judged = surface.Judged();
    const KyfHeightNoiseCutData data{judged.Heights, judged.Map, {0.5, KyfNoiseCutFillNeighbours, 0}, 0, 0.0, 0.001};
    KyiImageData* const image = KyiAllocImageData(judged.Heights.Width, judged.Heights.Height, KyiFormatGray16);
    for (auto _ : state) benchmark::DoNotOptimize(KyfFilterHeightNoiseCut(image, image, &data, nullptr));
    KyiFreeImageData(image);
    CountPixels(state, MapSize(), marked);
}

void Percents(benchmark::internal::Benchmark* benchmark) {
    for (const int percent : {1, 10, 50}) benchmark->Arg(percent);
    benchmark->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(Cut, neighbours, KyfNoiseCutFillNeighbours, false)->Apply(Percents);
BENCHMARK_CAPTURE(CutPlain, neighbours, KyfNoiseCutFillNeighbours, false)->Apply(Percents);
BENCHMARK_CAPTURE(Cut, neighbours_in_pieces, KyfNoiseCutFillNeighbours, true)->Apply(Percents);
BENCHMARK_CAPTURE(CutPlain, neighbours_in_pieces, KyfNoiseCutFillNeighbours, true)->Apply(Percents);
BENCHMARK_CAPTURE(Cut, smallest, KyfNoiseCutFillSmallest, false)->Apply(Percents);
BENCHMARK_CAPTURE(CutPlain, smallest, KyfNoiseCutFillSmallest, false)->Apply(Percents);
BENCHMARK_CAPTURE(Cut, largest, KyfNoiseCutFillLargest, false)->Apply(Percents);
BENCHMARK(Smooth)->Arg(5)->Unit(benchmark::kMillisecond);
BENCHMARK(HostCut)->Apply(Percents);

} // namespace
