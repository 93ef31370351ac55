// What a further frame of a halation series costs. "each pixel" is the time of one pixel of all channels; the argument
// is the number of threads, 0 with the parallel flag off. KY_BENCH_SMALL in the environment takes small images.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include <benchmark/benchmark.h>
#include <kyfocus/halation.h>
#include <omp.h>

#include "halation/halation_rows.h"
#include "reference/halation.h"
#include "support/images.h"

namespace {

struct Size {
    std::int32_t Width;
    std::int32_t Height;
};

bool IsSmall() { return std::getenv("KY_BENCH_SMALL") != nullptr; }
Size FrameSize() { return IsSmall() ? Size{160, 120} : Size{4000, 3000}; }
/// The plain form is slow on purpose.
Size PlainSize() { return IsSmall() ? Size{40, 30} : Size{1000, 750}; }

void CountPixels(benchmark::State& state, Size size) {
    const auto pixels = static_cast<double>(size.Width) * size.Height;
    state.counters["each pixel"] = benchmark::Counter(pixels * static_cast<double>(state.iterations()),
                                                      benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

constexpr KyfHalationParameter kSettings{180, 20, 50};

/// @param bright  Part of the rows that is over-bright, in percent.
test::Image PartlyBright(Size size, std::int32_t format, std::int32_t bright) {
    test::Image image = test::TexturedImage(size.Width, size.Height, format, 1);
    std::vector<std::int32_t> line(static_cast<std::size_t>(size.Width));
    const std::int32_t top = KyiGetMaxVal(format);
    for (std::int32_t y = 0; y < size.Height; ++y) {
        const bool isBright = y % 100 < bright;
        for (int channel = 0; channel < 3; ++channel) {
            KyiGetLinePixel(image.get(), 0, y, channel, line.data(), size.Width);
            // 16-bit samples are compared with the threshold as they are.
            for (std::int32_t& sample : line) sample = isBright ? top : std::min(sample, 100);
            KyiSetLinePixel(image.get(), 0, y, channel, line.data(), size.Width);
        }
    }
    return image;
}

void AddFrame(benchmark::State& state, std::int32_t format, std::int32_t bright) {
    const Size size = FrameSize();
    omp_set_num_threads(std::max(1, static_cast<int>(state.range(0))));
    const test::Image first = PartlyBright(size, format, bright);
    const test::Image next = test::TexturedImage(size.Width, size.Height, format, 2);
    KyfHalationRemoval* const record = KyfAllocHalationRemoval();
    KyfHalationStart(record, &kSettings);
    KyfHalationAddImage(record, first.get(), 0, nullptr);
    for (auto _ : state) {
        KyfHalationAddImage(record, next.get(), state.range(0) != 0, nullptr);
        state.PauseTiming();
        KyiCopyImageData(first.get(), record->RemovalImage, 0, 0);
        state.ResumeTiming();
    }
    KyfFreeHalationRemoval(record);
    CountPixels(state, size);
}

void AddFramePlain(benchmark::State& state, std::int32_t format) {
    const Size size = PlainSize();
    const test::Image first = PartlyBright(size, format, 20);
    const test::Image next = test::TexturedImage(size.Width, size.Height, format, 2);
    for (auto _ : state)
        benchmark::DoNotOptimize(reference::AddToHalation(
            *first, *next, {kSettings.Threshold, kSettings.PreSmoothing, kSettings.MaskSmoothing}, false));
    CountPixels(state, size);
}

/// The mask, its spread over the channels and the blend of one row that stays in the cache, without the smoothing.
template <typename T> void MaskAndBlend(benchmark::State& state, int stride) {
    const auto width = static_cast<std::size_t>(FrameSize().Width);
    const std::vector<T> frame(width * static_cast<std::size_t>(stride), T{90});
    std::vector<T> result(frame.size(), T{200});
    std::vector<std::uint8_t> mask(width);
    std::vector<std::uint8_t> weights(frame.size());
    const auto count = static_cast<std::int32_t>(width);
    for (auto _ : state) {
        kyf::MaskRow(result.data(), mask.data(), count, stride, 50);
        kyf::SpreadMask(mask.data(), weights.data(), count, stride, 0, stride);
        kyf::BlendRow(result.data(), frame.data(), weights.data(), frame.size());
        benchmark::DoNotOptimize(result.data());
    }
    CountPixels(state, {count, 1});
}

void MaskAndBlendBytes(benchmark::State& state, int stride) { MaskAndBlend<std::uint8_t>(state, stride); }
void MaskAndBlendWords(benchmark::State& state, int stride) { MaskAndBlend<std::uint16_t>(state, stride); }

BENCHMARK_CAPTURE(AddFrame, gray8, KyiFormatGray8, 20)->Arg(0)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(AddFrame, rgb8, KyiFormatBgr24, 20)->Arg(0)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(AddFrame, rgb8_nothing_bright, KyiFormatBgr24, 0)
    ->Arg(0)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(AddFrame, rgb16, KyiFormatBgr48, 20)->Arg(0)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(AddFramePlain, gray8, KyiFormatGray8)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(AddFramePlain, rgb8, KyiFormatBgr24)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(MaskAndBlendBytes, gray8, 1);
BENCHMARK_CAPTURE(MaskAndBlendBytes, rgb8, 3);
BENCHMARK_CAPTURE(MaskAndBlendWords, rgb16, 3);

} // namespace
