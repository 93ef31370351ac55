// Line matching and projection shift: what measuring and moving a later frame costs, and adds with and without. An item
// is a pixel of the frame. Arguments: megapixels; type of line matching (0 five bands, 1 one band); threads. All with
// 8-bit colour frames.
#include <algorithm>
#include <chrono>
#include <limits>
#include <stdexcept>
#include <string>

#include <benchmark/benchmark.h>
#include <omp.h>

#include "alignment/alignment_frames.h"
#include "alignment/line_matching.h"
#include "alignment/projection_shift.h"
#include "filters/image_layout.h"
#include "support/case_files.h"

namespace {

using Clock = std::chrono::steady_clock;

/// Runs `work` timed and writes down the fastest run, in nanoseconds a pixel.
template <typename Work> void Measure(benchmark::State& state, const bench::FrameSize& size, Work work) {
    double best = std::numeric_limits<double>::max();
    for (auto _ : state) {
        const Clock::time_point start = Clock::now();
        work();
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        state.SetIterationTime(seconds);
        best = std::min(best, seconds);
    }
    state.counters["best_ns_per_pixel"] = best * 1e9 / size.Pixels();
    state.counters["best_ms"] = best * 1e3;
}

/// A record that has seen the first frame of a stack, and the second frame.
struct Lines {
    explicit Lines(const bench::FrameSize& size, std::int32_t type)
        : First(bench::DriftingFrame(size, KyiFormatBgr24, 0)), Second(bench::DriftingFrame(size, KyiFormatBgr24, 1)) {
        Matching.BandRatio = 0.05;
        Matching.SearchRatio = 0.15;
        State.SourceWidth = size.Width;
        State.SourceHeight = size.Height;
        kyf::SetUpLineMatching(Matching, type, State, *First, kyf::ProfileSource::Gray, 1);
    }
    ~Lines() { kyf::FreeLineMatching(Matching); }
    Lines(const Lines&) = delete;
    Lines& operator=(const Lines&) = delete;

    KyfLineMatching Matching{};
    KyfCompositionState State{};
    bench::Image First;
    bench::Image Second;
};

void MatchLines(benchmark::State& state) {
    omp_set_num_threads(static_cast<int>(state.range(2)));
    const bench::FrameSize size = bench::SizeOf(state.range(0));
    const Lines lines(size, static_cast<std::int32_t>(state.range(1)));
    Measure(state, size,
            [&] { benchmark::DoNotOptimize(kyf::MatchLines(lines.Matching, *lines.Second, 1).TotalShift); });
}

void MoveRows(benchmark::State& state) {
    omp_set_num_threads(static_cast<int>(state.range(2)));
    const bench::FrameSize size = bench::SizeOf(state.range(0));
    const bench::Image frame = bench::DriftingFrame(size, KyiFormatBgr24, 0);
    Measure(state, size, [&] { kyf::MoveRows(*frame, 7, 1); });
}

/// Measuring, moving into another image, and taking the frame over for the next comparison.
void ProjectionShift(benchmark::State& state) {
    omp_set_num_threads(static_cast<int>(state.range(2)));
    const bench::FrameSize size = bench::SizeOf(state.range(0));
    const bench::Image first = bench::DriftingFrame(size, KyiFormatBgr24, 0);
    const bench::Image second = bench::DriftingFrame(size, KyiFormatBgr24, 1);
    KyfProjectionShift* shift = kyf::CreateProjectionShift(first.get(), 1);
    Measure(state, size, [&] {
        const kyf::ProjectionMove move = kyf::MeasureProjection(*shift, *second);
        const bench::Image moved(KyiAllocImageData(size.Width, size.Height, second->Format));
        kyf::MoveFrame(*second, *moved, 5, 3, 1);
        kyf::AcceptProjection(*shift, *second, move, 1);
    });
    kyf::DestroyProjectionShift(&shift);
}

void MeasureProjection(benchmark::State& state) {
    const bench::FrameSize size = bench::SizeOf(state.range(0));
    const bench::Image first = bench::DriftingFrame(size, KyiFormatBgr24, 0);
    const bench::Image second = bench::DriftingFrame(size, KyiFormatBgr24, 1);
    KyfProjectionShift* shift = kyf::CreateProjectionShift(first.get(), 1);
    Measure(state, size, [&] { benchmark::DoNotOptimize(kyf::MeasureProjection(*shift, *second).X); });
    kyf::DestroyProjectionShift(&shift);
}

struct FreeSession {
    void operator()(KyfFocusComposition* session) const { KyfFreeFocusComposition(session); }
};
using Session = std::unique_ptr<KyfFocusComposition, FreeSession>;

struct Alignment {
    std::int32_t ScopeType;
    std::int32_t AutoPos;
    std::int32_t DetectType;
};

Session Start(std::int32_t mode, const Alignment& alignment, const test::TemporaryFolder& folder) {
    Session session(KyfAllocFocusComposition());
    const std::wstring name = folder.Path().wstring();
    KyfFocusInitializeParameter initial{};
    initial.TempFolder = name.c_str();
    initial.ScopeType = alignment.ScopeType;
    initial.MatchingDetectType = alignment.DetectType;
    KyfFocusInitialize(session.get(), &initial);
    KyfFocusComposition2DSelectionParameter two{};
    two.CompSize = 8;
    two.AutoPos = alignment.AutoPos;
    KyfFocusComposition3DSelectionParameter three{};
    three.AutoPos = alignment.AutoPos;
    if (mode == KyfMode2DSelection)
        KyfFocusStart2DSelection(session.get(), &two);
    else
        KyfFocusStart3DSafe(session.get(), &three);
    return session;
}

/// One add of a later frame at Speed 0; two frames come by turns, so that each has moved against the one before.
void Add(benchmark::State& state, std::int32_t mode, const Alignment& alignment) {
    omp_set_num_threads(static_cast<int>(state.range(2)));
    const bench::FrameSize size = bench::SizeOf(state.range(0));
    const test::TemporaryFolder folder;
    const Session session = Start(mode, alignment, folder);
    const bench::Image frames[2]{bench::DriftingFrame(size, KyiFormatBgr24, 0),
                                 bench::DriftingFrame(size, KyiFormatBgr24, 1)};
    int turn = 0;
    const auto add = [&] {
        if (KyfFocusAddImage(session.get(), frames[turn++ % 2].get(), 1, nullptr) != KyfResultOk)
            throw std::runtime_error("a frame was refused");
    };
    add();
    Measure(state, size, add);
}

void Arguments(benchmark::internal::Benchmark* benchmark, bool hasTypes) {
    benchmark->UseManualTime()->Unit(benchmark::kMillisecond)->ArgNames({"Mpx", "type", "threads"});
    for (const int megapixels : {2, 12})
        for (const int threads : {1, 2})
            for (int type = 0; type < (hasTypes ? 2 : 1); ++type) benchmark->Args({megapixels, type, threads});
}
void WithTypes(benchmark::internal::Benchmark* benchmark) { Arguments(benchmark, true); }
void WithoutTypes(benchmark::internal::Benchmark* benchmark) { Arguments(benchmark, false); }

BENCHMARK(MatchLines)->Apply(WithTypes);
BENCHMARK(MoveRows)->Apply(WithoutTypes);
BENCHMARK(MeasureProjection)->Apply(WithoutTypes);
BENCHMARK(ProjectionShift)->Apply(WithoutTypes);
BENCHMARK_CAPTURE(Add, 2D_unaligned, KyfMode2DSelection, Alignment{0, 0, 0})->Apply(WithoutTypes);
BENCHMARK_CAPTURE(Add, 2D_five_bands, KyfMode2DSelection, Alignment{1, 0, 0})->Apply(WithoutTypes);
BENCHMARK_CAPTURE(Add, 3D_unaligned, KyfMode3DSafe, Alignment{0, 0, 0})->Apply(WithoutTypes);
BENCHMARK_CAPTURE(Add, 3D_projection, KyfMode3DSafe, Alignment{0, 1, 0})->Apply(WithoutTypes);
BENCHMARK_CAPTURE(Add, 3D_five_bands, KyfMode3DSafe, Alignment{1, 0, 0})->Apply(WithoutTypes);

} // namespace
