// One later frame of a stack, whole and stage by stage. An item is a pixel of the frame; arguments are Speed and
// threads.
#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>
#include <vector>

#include <benchmark/benchmark.h>
#include <omp.h>

#include "filters/image_layout.h"
#include "progress/progress_proc_manager.h"
#include "selection2d/blend.h"
#include "selection2d/focus_chain.h"
#include "selection2d/selection2d.h"
#include "selection2d/stack.h"

namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

/// A session that has seen the first two frames of a stack, and the third frame. Every run starts from the same tables.
class LaterFrame {
  public:
    explicit LaterFrame(std::int32_t speed) : m_session(bench::StartSession(speed)), m_frame(bench::StackFrame(2)) {
        for (std::int32_t i = 0; i < 2; ++i) KyfFocusAddImage(m_session.get(), bench::StackFrame(i).get(), 1, nullptr);
        for (std::int32_t y = 0; y < m_session->BestFocusHeight; ++y)
            m_focus.insert(m_focus.end(), m_session->BestFocusMap[y],
                           m_session->BestFocusMap[y] + m_session->BestFocusWidth);
    }

    KyfFocusComposition& Session() { return *m_session; }
    KyiImageData& Frame() { return *m_frame; }

    void Rewind() {
        const auto width = static_cast<std::size_t>(m_session->BestFocusWidth);
        for (std::int32_t y = 0; y < m_session->BestFocusHeight; ++y)
            std::memcpy(m_session->BestFocusMap[y], &m_focus[static_cast<std::size_t>(y) * width], width * 4);
        m_session->State2D.FrameCount = 2;
    }

    kyf::ImagePtr Gray() {
        kyf::ImagePtr gray = kyf::NewImage(*m_frame, KyiFormatGray8);
        kyf::CopyToGray(*m_frame, *gray, 0);
        return gray;
    }
    kyf::ImagePtr Focus(kyf::ImagePtr gray) {
        kyf::CProgressProcManager steps(nullptr, 0);
        return kyf::RunFocusChain(*m_session, std::move(gray), 1, steps);
    }

  private:
    bench::Session m_session;
    bench::Image m_frame;
    std::vector<std::int32_t> m_focus;
};

/// Seconds of the fastest of five copies of 22 bytes a pixel: the frame, the composite and the three tables, each read
/// and written once, with as many threads.
double SweepSeconds() {
    const auto bytes = static_cast<std::size_t>(bench::FramePixels()) * 22;
    const std::vector<char> source(bytes, 1);
    std::vector<char> target(bytes, 2);
    constexpr std::size_t kChunk = std::size_t{1} << 20;
    const std::size_t chunks = (bytes + kChunk - 1) / kChunk;
    double best = std::numeric_limits<double>::max();
    for (int run = 0; run < 5; ++run) {
        const Clock::time_point start = Clock::now();
#pragma omp parallel for schedule(static)
        for (std::size_t i = 0; i < chunks; ++i)
            std::memcpy(&target[i * kChunk], &source[i * kChunk], std::min(kChunk, bytes - i * kChunk));
        best = std::min(best, SecondsSince(start));
    }
    return best;
}

/// Runs `prepare` untimed and `work` timed, and writes down the fastest run.
template <typename Prepare, typename Work> double Measure(benchmark::State& state, Prepare prepare, Work work) {
    double best = std::numeric_limits<double>::max();
    for (auto _ : state) {
        prepare();
        const Clock::time_point start = Clock::now();
        work();
        const double seconds = SecondsSince(start);
        state.SetIterationTime(seconds);
        best = std::min(best, seconds);
    }
    state.counters["best_ns_per_pixel"] = best * 1e9 / bench::FramePixels();
    return best;
}

void WholeAdd(benchmark::State& state) {
    omp_set_num_threads(static_cast<int>(state.range(1)));
    LaterFrame later(static_cast<std::int32_t>(state.range(0)));
    KyiBool owned = 0;
    const double best = Measure(
        state, [&] { later.Rewind(); },
        [&] { kyf::Kyf2DSelectionAddImage(&later.Session(), &later.Frame(), 0, owned, 1, nullptr); });
    state.counters["sweeps"] = best / SweepSeconds();
}

void GrayStage(benchmark::State& state) {
    omp_set_num_threads(static_cast<int>(state.range(1)));
    LaterFrame later(static_cast<std::int32_t>(state.range(0)));
    kyf::ImagePtr gray;
    Measure(
        state, [&] { gray.reset(); }, [&] { gray = later.Gray(); });
}

void FilterStages(benchmark::State& state) {
    omp_set_num_threads(static_cast<int>(state.range(1)));
    LaterFrame later(static_cast<std::int32_t>(state.range(0)));
    kyf::ImagePtr image;
    Measure(
        state, [&] { image = later.Gray(); }, [&] { image = later.Focus(std::move(image)); });
}

void Selection(benchmark::State& state) {
    omp_set_num_threads(static_cast<int>(state.range(1)));
    LaterFrame later(static_cast<std::int32_t>(state.range(0)));
    const kyf::ImagePtr focus = later.Focus(later.Gray());
    kyf::ImagePtr image = kyf::CloneImageLayout(*focus);
    Measure(
        state,
        [&] {
            later.Rewind();
            KyiCopyImageData(focus.get(), image.get(), 0, 0);
        },
        [&] { kyf::SelectWinners(later.Session(), *image, 1); });
}

void MaskAndBlend(benchmark::State& state) {
    omp_set_num_threads(static_cast<int>(state.range(1)));
    LaterFrame later(static_cast<std::int32_t>(state.range(0)));
    const kyf::ImagePtr winners = later.Focus(later.Gray());
    kyf::SelectWinners(later.Session(), *winners, 1);
    Measure(
        state, [] {},
        [&] {
            kyf::BlendScratch scratch = kyf::MakeBlendScratch(later.Session());
            kyf::BlendFrame(later.Session(), winners.get(), later.Frame(), scratch, 1);
        });
}

void Arguments(benchmark::internal::Benchmark* benchmark) {
    benchmark->UseManualTime()->Unit(benchmark::kMillisecond)->ArgNames({"speed", "threads"});
    for (const int speed : {0, 1, 2})
        for (const int threads : {1, 2}) benchmark->Args({speed, threads});
}

BENCHMARK(WholeAdd)->Apply(Arguments);
BENCHMARK(GrayStage)->Apply(Arguments);
BENCHMARK(FilterStages)->Apply(Arguments);
BENCHMARK(Selection)->Apply(Arguments);
BENCHMARK(MaskAndBlend)->Apply(Arguments);

} // namespace
