// Pixel access, line calls, gray and copies on frames of a real size: 4000 x 3000. Items are samples for the calls on
// one channel and pixels for the others; bytes are those read and written. With KY_BENCH_SMALL set, 400 x 300.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <omp.h>
#include <vector>

#include <benchmark/benchmark.h>
#include <kyimaging/functracelog.h>
#include <kyimaging/kyimaging.h>

namespace {

struct FreeImage {
    void operator()(KyiImageData* image) const { KyiFreeImageData(image); }
};
using Image = std::unique_ptr<KyiImageData, FreeImage>;

/// A frame of which no byte is zero: its pages are there.
Image MakeFrame(std::int32_t format) {
    const bool isSmall = std::getenv("KY_BENCH_SMALL") != nullptr;
    Image image(KyiAllocImageData(isSmall ? 400 : 4000, isSmall ? 300 : 3000, format));
    auto* const bytes = static_cast<std::uint8_t*>(image->Pixels);
    const std::size_t count = static_cast<std::size_t>(image->LineBytes) * static_cast<std::size_t>(image->Height);
    for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>(i * 131 / 128 | 1);
    return image;
}

std::int64_t PixelsOf(const KyiImageData& image) { return std::int64_t{image.Width} * image.Height; }

std::int64_t BytesOf(const KyiImageData& image) { return std::int64_t{image.LineBytes} * image.Height; }

/// "each": time of one item.
void TellItems(benchmark::State& state, std::int64_t itemsATurn) {
    state.SetItemsProcessed(state.iterations() * itemsATurn);
    state.counters["each"] = benchmark::Counter(static_cast<double>(state.iterations() * itemsATurn),
                                                benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void GetLinePixel(benchmark::State& state) {
    const Image image = MakeFrame(static_cast<std::int32_t>(state.range(0)));
    std::vector<std::int32_t> line(static_cast<std::size_t>(image->Width));
    for (auto _ : state)
        for (std::int32_t y = 0; y < image->Height; ++y) {
            KyiGetLinePixel(image.get(), 0, y, 1, line.data(), image->Width);
            benchmark::DoNotOptimize(line.data());
            benchmark::ClobberMemory();
        }
    TellItems(state, PixelsOf(*image));
}

void SetLinePixel(benchmark::State& state) {
    const Image image = MakeFrame(static_cast<std::int32_t>(state.range(0)));
    const std::vector<std::int32_t> line(static_cast<std::size_t>(image->Width), 77);
    for (auto _ : state)
        for (std::int32_t y = 0; y < image->Height; ++y)
            KyiSetLinePixel(image.get(), 0, y, 1, line.data(), image->Width);
    TellItems(state, PixelsOf(*image));
}

void GetVLinePixel(benchmark::State& state) {
    const Image image = MakeFrame(static_cast<std::int32_t>(state.range(0)));
    std::vector<std::int32_t> line(static_cast<std::size_t>(image->Height));
    const std::int32_t columns = image->Width / 8;
    for (auto _ : state)
        for (std::int32_t x = 0; x < columns; ++x) {
            KyiGetVLinePixel(image.get(), x, 0, 1, line.data(), image->Height);
            benchmark::DoNotOptimize(line.data());
        }
    TellItems(state, std::int64_t{columns} * image->Height);
}

void SetVLinePixel(benchmark::State& state) {
    const Image image = MakeFrame(static_cast<std::int32_t>(state.range(0)));
    const std::vector<std::int32_t> line(static_cast<std::size_t>(image->Height), 77);
    const std::int32_t columns = image->Width / 8;
    for (auto _ : state)
        for (std::int32_t x = 0; x < columns; ++x) KyiSetVLinePixel(image.get(), x, 0, 1, line.data(), image->Height);
    TellItems(state, std::int64_t{columns} * image->Height);
}

void GetPixelDataRgb(benchmark::State& state) {
    const Image image = MakeFrame(static_cast<std::int32_t>(state.range(0)));
    std::int32_t values[3] = {0, 0, 0};
    const std::int32_t rows = image->Height / 8;
    for (auto _ : state)
        for (std::int32_t y = 0; y < rows; ++y)
            for (std::int32_t x = 0; x < image->Width; ++x) {
                KyiGetPixelDataRGB(image.get(), x, y, values);
                benchmark::DoNotOptimize(values);
            }
    TellItems(state, std::int64_t{rows} * image->Width);
}

void TransformToGray(benchmark::State& state) {
    const auto format = static_cast<std::int32_t>(state.range(0));
    const Image image = MakeFrame(format);
    const Image gray = MakeFrame(KyiGetMaxVal(format) > 255 ? KyiFormatGray16 : KyiFormatGray8);
    for (auto _ : state) KyiTransformToGray(image.get(), gray.get(), 0);
    TellItems(state, PixelsOf(*image));
}

void Duplicate(benchmark::State& state) {
    const Image image = MakeFrame(KyiFormatBgr24);
    omp_set_num_threads(state.range(0) > 0 ? static_cast<int>(state.range(0)) : 1);
    for (auto _ : state) {
        const Image copy(KyiDuplicateImageData(image.get(), state.range(0) > 0));
        benchmark::DoNotOptimize(copy->Pixels);
    }
    state.SetBytesProcessed(state.iterations() * 2 * BytesOf(*image));
}

void Copy(benchmark::State& state) {
    const Image image = MakeFrame(KyiFormatBgr24);
    const Image copy = MakeFrame(KyiFormatBgr24);
    omp_set_num_threads(state.range(0) > 0 ? static_cast<int>(state.range(0)) : 1);
    for (auto _ : state) KyiCopyImageData(image.get(), copy.get(), 0, state.range(0) > 0);
    state.SetBytesProcessed(state.iterations() * 2 * BytesOf(*image));
}

/// What the machine itself takes for the bytes of Copy.
void MemcpyOfAFrame(benchmark::State& state) {
    const Image image = MakeFrame(KyiFormatBgr24);
    const Image copy = MakeFrame(KyiFormatBgr24);
    for (auto _ : state) {
        std::memcpy(copy->Pixels, image->Pixels, static_cast<std::size_t>(BytesOf(*image)));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * 2 * BytesOf(*image));
}

void TraceWhileOff(benchmark::State& state) {
    for (auto _ : state) {
        const CFuncTraceLog guard("bench.cpp", 1, L"TraceWhileOff()", 0);
        benchmark::ClobberMemory();
    }
}

void AllFormats(benchmark::internal::Benchmark* bench) {
    for (const int format : {KyiFormatGray8, KyiFormatGray16, KyiFormatBgr24, KyiFormatBgr32, KyiFormatBgr48})
        bench->Arg(format);
    bench->ArgName("format")->Unit(benchmark::kMillisecond);
}

void ColourFormats(benchmark::internal::Benchmark* bench) {
    for (const int format : {KyiFormatBgr24, KyiFormatBgr32, KyiFormatBgr48}) bench->Arg(format);
    bench->ArgName("format")->Unit(benchmark::kMillisecond);
}

void Threads(benchmark::internal::Benchmark* bench) {
    for (const int threads : {0, 1, 2}) bench->Arg(threads);
    bench->ArgName("threads")->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK(GetLinePixel)->Apply(AllFormats);
BENCHMARK(SetLinePixel)->Apply(AllFormats);
BENCHMARK(GetVLinePixel)->Apply(AllFormats);
BENCHMARK(SetVLinePixel)->Apply(AllFormats);
BENCHMARK(GetPixelDataRgb)->Apply(ColourFormats);
BENCHMARK(TransformToGray)->Apply(ColourFormats);
BENCHMARK(Duplicate)->Apply(Threads);
BENCHMARK(Copy)->Apply(Threads);
BENCHMARK(MemcpyOfAFrame)->Unit(benchmark::kMillisecond);
BENCHMARK(TraceWhileOff);

} // namespace
