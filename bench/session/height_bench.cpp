// What heights cost on their way to the host. An item is a height; the plain copy is the measure of all others.
// KY_BENCH_SMALL in the environment takes a small map.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include <benchmark/benchmark.h>
#include <kyfocus/kyfocus.h>

#include "filters/double_image.h"

namespace {

/// Heights of a rough slope, 12 megapixels of them.
KyfImageData& Slope() {
    static const kyf::DoubleImagePtr slope = [] {
        const bool isSmall = std::getenv("KY_BENCH_SMALL") != nullptr;
        kyf::DoubleImagePtr map(isSmall ? kyf::AllocDoubleImage(160, 120) : kyf::AllocDoubleImage(4000, 3000));
        for (std::int32_t y = 0; y < map->Height; ++y)
            for (std::int32_t x = 0; x < map->Width; ++x)
                map->Rows[y][x] = 0.01 * x + 0.02 * y + std::sin(0.3 * x) * std::cos(0.2 * y);
        return map;
    }();
    return *slope;
}

/// "each": time of one height.
void CountHeights(benchmark::State& state) {
    const auto heights = static_cast<double>(Slope().Width) * Slope().Height;
    state.counters["each"] = benchmark::Counter(heights * static_cast<double>(state.iterations()),
                                                benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

struct FreeSession {
    void operator()(KyfFocusComposition* session) const { KyfFreeFocusComposition(session); }
};

void Copy(benchmark::State& state) {
    const KyfFocusInitializeParameter parameter{};
    const std::unique_ptr<KyfFocusComposition, FreeSession> session(KyfAllocFocusComposition());
    KyfFocusInitialize(session.get(), &parameter);
    session->State2D.HeightDataMap = Slope().Rows; // lent for the run
    session->State2D.SourceWidth = Slope().Width;
    session->State2D.SourceHeight = Slope().Height;
    for (auto _ : state) {
        KyfHeightDataArray heights{};
        KyfFocusGetHeightData(session.get(), &heights);
        benchmark::DoNotOptimize(heights.Data);
        KyfFreeHeightData16bit(&heights);
    }
    session->State2D.HeightDataMap = nullptr;
    CountHeights(state);
}
BENCHMARK(Copy)->Name("HeightData/copy")->Unit(benchmark::kMillisecond);

void Image(benchmark::State& state, std::int32_t format) {
    for (auto _ : state) {
        KyiImageData* const image = KyfCreateImageDataFromHeightData(&Slope(), format, nullptr);
        benchmark::DoNotOptimize(image);
        KyiFreeImageData(image);
    }
    CountHeights(state);
}
BENCHMARK_CAPTURE(Image, gray16, KyiFormatGray16)->Name("HeightImage/gray16")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Image, gray8, KyiFormatGray8)->Name("HeightImage/gray8")->Unit(benchmark::kMillisecond);

} // namespace
