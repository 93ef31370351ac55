// Template matching: the search, the warp, and what one aligned add costs against the same add without alignment. An
// item is a pixel of the frame.
#include <algorithm>
#include <chrono>
#include <cstring>
#include <ctime>
#include <limits>

#include <benchmark/benchmark.h>
#include <omp.h>

#include "alignment/alignment_frames.h"
#include "alignment/frame_warp.h"
#include "alignment/pattern_matching.h"
#include "alignment/template_matching.h"
#include "selection2d/selection2d.h"

namespace {

/// Seconds: of this process alone where it runs in one thread, so that a busy machine does not count.
double Now() {
    if (omp_get_max_threads() == 1) return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

template <typename Work> double BestOf(int runs, Work work) {
    double best = std::numeric_limits<double>::max();
    for (int run = 0; run < runs; ++run) {
        const double start = Now();
        work();
        best = std::min(best, Now() - start);
    }
    return best;
}

/// Seconds of the fastest of five copies of a frame's pixels, with as many threads.
double CopySeconds(const KyiImageData& source, KyiImageData& target) {
    return BestOf(5, [&] {
#pragma omp parallel for schedule(static)
        for (std::int32_t y = 0; y < source.Height; ++y)
            std::memcpy(KyiGetPixelAddress(&target, 0, y), KyiGetPixelAddress(&source, 0, y),
                        static_cast<std::size_t>(source.Width) * static_cast<std::size_t>(source.PixelBytes));
    });
}

/// Runs `work` and writes down the fastest run.
template <typename Work> double Measure(benchmark::State& state, double pixels, Work work) {
    double best = std::numeric_limits<double>::max();
    for (auto _ : state) {
        const double start = Now();
        work();
        const double seconds = Now() - start;
        state.SetIterationTime(seconds);
        best = std::min(best, seconds);
    }
    state.counters["best_ns_per_pixel"] = best * 1e9 / pixels;
    return best;
}

/// `copies_a_channel`: the time of one channel in plain copies of the frame.
void Warp(benchmark::State& state) {
    omp_set_num_threads(static_cast<int>(state.range(3)));
    const bench::FrameSize size = bench::SizeOf(state.range(0));
    const auto format = static_cast<std::int32_t>(state.range(1));
    const double scale = 1.0 + static_cast<double>(state.range(2)) / 1000.0;
    const bench::Image frame = bench::DriftingFrame(size, format, 0);
    const bench::Image warped = bench::DriftingFrame(size, format, 1);
    const double best = Measure(state, size.Pixels(), [&] {
        kyf::WarpFrame(*frame, *warped, {scale, scale, 3, -2, 0.0}, 1);
    });
    const double channels = KyiIsFormatBgr(format) ? 3.0 : 1.0;
    state.counters["copies_a_channel"] = best / channels / CopySeconds(*frame, *warped);
}

void TurningWarp(benchmark::State& state) {
    omp_set_num_threads(1);
    const bench::FrameSize size = bench::SizeOf(state.range(0));
    const bench::Image frame = bench::DriftingFrame(size, KyiFormatBgr24, 0);
    const bench::Image warped = bench::DriftingFrame(size, KyiFormatBgr24, 1);
    Measure(state, size.Pixels(), [&] { kyf::WarpFrame(*frame, *warped, {1.002, 1.002, 3, -2, 0.5}, 1); });
}

/// Loading and search of all areas, as in one add.
void Search(benchmark::State& state) {
    omp_set_num_threads(static_cast<int>(state.range(2)));
    const bench::FrameSize size = bench::SizeOf(state.range(0));
    KyfFocusComposition session{};
    session.AreaNo = static_cast<std::int32_t>(state.range(1)) - 2;
    const KyPoint places[4] = {{50, 25}, {75, 50}, {50, 75}, {25, 50}};
    std::copy_n(places, 4, session.AreaPos);
    const bench::Image first = bench::DriftingFrame(size, KyiFormatBgr24, 0);
    const bench::Image second = bench::DriftingFrame(size, KyiFormatBgr24, 1);
    kyf::SetUpTemplateMatching(session, *first);
    KyfPatternMatching matcher;
    kyf::PreparePatternMatching(matcher);
    Measure(state, size.Pixels(), [&] {
        for (std::int64_t i = 0; i < state.range(1); ++i) {
            const KyiImageData* const area = session.AreaTemplates[i];
            kyf::LoadSearchImage(matcher, area, {0, 0, area->Width - 1, area->Height - 1}, 1);
            kyf::LoadTemplate(matcher, second.get(), session.AreaTemplateRects[i], 1);
            benchmark::DoNotOptimize(kyf::SearchTemplate(matcher, 1));
        }
    });
    kyf::FreeTemplateMatching(session);
}

struct FreeSession {
    void operator()(KyfFocusComposition* session) const { KyfFreeFocusComposition(session); }
};
using Session = std::unique_ptr<KyfFocusComposition, FreeSession>;

Session StartStack(std::int32_t areas, const KyiImageData& first) {
    Session session(KyfAllocFocusComposition());
    const KyfFocusInitializeParameter initial{};
    KyfFocusInitialize(session.get(), &initial);
    KyfFocusComposition2DSelectionParameter parameter{};
    parameter.CompSize = 8;
    parameter.Smoothing = 6;
    parameter.AutoPos = areas > 0;
    parameter.AreaNo = areas - 2;
    const KyPoint places[4] = {{50, 25}, {75, 50}, {50, 75}, {25, 50}};
    std::copy_n(places, 4, parameter.AreaPos);
    KyfFocusStart2DSelection(session.get(), &parameter);
    KyiBool owned = 0;
    kyf::Kyf2DSelectionAddImage(session.get(), const_cast<KyiImageData*>(&first), 0, owned, 1, nullptr);
    return session;
}

double AddSeconds(KyfFocusComposition& session, KyiImageData& frame) {
    KyiBool owned = 0;
    return BestOf(3, [&] { kyf::Kyf2DSelectionAddImage(&session, &frame, 0, owned, 1, nullptr); });
}

/// One aligned add at Speed 0; `share` is the part of it that an add without alignment does not have.
void AlignedAdd(benchmark::State& state) {
    omp_set_num_threads(static_cast<int>(state.range(2)));
    const bench::FrameSize size = bench::SizeOf(state.range(0));
    const bench::Image first = bench::DriftingFrame(size, KyiFormatBgr24, 0);
    const bench::Image second = bench::DriftingFrame(size, KyiFormatBgr24, 1);
    const double plain = AddSeconds(*StartStack(0, *first), *second);
    const Session session = StartStack(static_cast<std::int32_t>(state.range(1)), *first);
    KyiBool owned = 0;
    const double best = Measure(
        state, size.Pixels(), [&] { kyf::Kyf2DSelectionAddImage(session.get(), second.get(), 0, owned, 1, nullptr); });
    state.counters["share"] = (best - plain) / best;
    state.counters["scale"] = session->FrameShifts[1].ScaleX;
    state.counters["plain_ns_per_pixel"] = plain * 1e9 / size.Pixels();
}

BENCHMARK(Warp)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->ArgNames({"mpx", "format", "permille", "threads"})
    ->ArgsProduct(
        {{2, 12}, {KyiFormatGray8, KyiFormatGray16, KyiFormatBgr24, KyiFormatBgr48}, {0, 2, -10, 150}, {1, 2}});
BENCHMARK(TurningWarp)->UseManualTime()->Unit(benchmark::kMillisecond)->ArgNames({"mpx"})->Args({2});
BENCHMARK(Search)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->ArgNames({"mpx", "areas", "threads"})
    ->ArgsProduct({{2, 12}, {2, 3, 4}, {1, 2}});
BENCHMARK(AlignedAdd)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->ArgNames({"mpx", "areas", "threads"})
    ->ArgsProduct({{2, 12}, {2, 3, 4}, {1, 2}});

} // namespace
