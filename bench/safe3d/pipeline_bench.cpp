// The 3D pipeline whole and stage by stage. Times of one thread are the processor's, which a busy machine does not
// stretch; those of more are the clock's. "of_write" is the time of an add in times of writing the frame's bytes to
// a new file in the same folder; "of_load_and_blend" that of a make in times of reading all bitmaps back and blending
// them once, one after the other.
#include <algorithm>
#include <ctime>
#include <limits>
#include <utility>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <omp.h>
#include <unistd.h>

#include "filters/double_image.h"
#include "filters/sample_rows.h"
#include "safe3d/blend_by_height.h"
#include "safe3d/compose_by_height.h"
#include "safe3d/map_stages.h"
#include "safe3d/peak_selection.h"
#include "safe3d/safe3d.h"
#include "safe3d/temp_frames.h"

#include "stack.h"

namespace {

/// Seconds on the clock, or of the processor in this process.
double Now(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

template <typename Work> double Seconds(Work work) {
    const clockid_t clock = omp_get_max_threads() == 1 ? CLOCK_PROCESS_CPUTIME_ID : CLOCK_MONOTONIC;
    const double start = Now(clock);
    work();
    return Now(clock) - start;
}

/// Runs `prepare` untimed and `work` timed, and writes down the fastest run.
template <typename Prepare, typename Work> double Measure(benchmark::State& state, Prepare prepare, Work work) {
    double best = std::numeric_limits<double>::max();
    for (auto _ : state) {
        prepare();
        const double seconds = Seconds(work);
        state.SetIterationTime(seconds);
        best = std::min(best, seconds);
    }
    state.counters["best_ms"] = best * 1e3;
    return best;
}

// ---- the add

/// Seconds of the fastest of ten writes of a new file.
double WriteSeconds(const test::TemporaryFolder& folder, const void* bytes, std::size_t count) {
    const std::string path = folder.Path() / "plain";
    double best = std::numeric_limits<double>::max();
    for (int run = 0; run < 10; ++run) {
        unlink(path.c_str());
        best = std::min(best, Seconds([&] {
                            const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
                            if (write(file, bytes, count) != static_cast<ssize_t>(count)) std::abort();
                            close(file);
                        }));
    }
    return best;
}

/// One later frame, with the bitmap of the run before out of its way.
void Add(benchmark::State& state) {
    const bench::FrameSize size = bench::SizeOf(state.range(0));
    omp_set_num_threads(static_cast<int>(state.range(2)));
    const test::TemporaryFolder folder;
    const bench::Session session = bench::StartSession(static_cast<std::int32_t>(state.range(1)), folder);
    const bench::Scene scene(size, 3);
    bench::AddFrame(*session, *scene.Frame(0), 0);
    const bench::Image frame = scene.Frame(1);
    KyiBool owned = 0;
    const double best = Measure(
        state,
        [&] {
            session->State3D.FrameCount = 1;
            if (session->TempFileMap && session->TempFileMap[1])
                std::filesystem::remove(std::filesystem::path(session->TempFileMap[1]));
        },
        [&] { kyf::Kyf3DSafeAddImage(session.get(), frame.get(), 0, owned, 1, nullptr); });
    state.counters["ns/pixel"] = best * 1e9 / size.Pixels();
    state.counters["of_write"] = best / WriteSeconds(folder, frame->Pixels, size.Bytes());
}

// ---- the make

/// A stack whose frames have been added once for all makes of one speed.
class Stack {
  public:
    explicit Stack(std::int32_t speed) : m_session(bench::StartSession(speed, m_folder)) {
        const bench::Scene scene(bench::SizeOf(2), bench::StackFrames());
        for (std::int32_t i = 0; i < bench::StackFrames(); ++i) bench::AddFrame(*m_session, *scene.Frame(i), i);
    }
    static Stack& Of(std::int64_t speed) {
        static std::unique_ptr<Stack> stack;
        static std::int64_t heldSpeed = -1;
        if (heldSpeed != speed) {
            stack.reset();
            stack = std::make_unique<Stack>(static_cast<std::int32_t>(speed));
        }
        heldSpeed = speed;
        return *stack;
    }

    KyfFocusComposition& Session() { return *m_session; }
    void ForgetResults() {
        KyfCompositionState& state = m_session->State3D;
        for (double*** const rows : {&state.HeightDataMap, &state.AntNoiseHeightDataMap, &state.CuttedHeightDataMap,
                                     &state.CuttedAntNoiseHeightDataMap})
            kyf::FreeDoubleRows(std::exchange(*rows, nullptr));
        state.CuttedWidth = state.CuttedHeight = 0;
    }

  private:
    test::TemporaryFolder m_folder;
    bench::Session m_session;
};

/// A make's working data as it stands between two stages.
struct Stages {
    explicit Stages(KyfFocusComposition& session)
        : FrameMap(kyf::AllocDoubleImage(session.EdgeDataWidth, session.EdgeDataHeight)),
          Mask(KyiAllocMaskImageData(session.EdgeDataWidth, session.EdgeDataHeight)),
          Full16(kyf::AllocUint16Image(session.State3D.SourceWidth, session.State3D.SourceHeight)),
          Full(kyf::AllocDoubleImage(session.State3D.SourceWidth, session.State3D.SourceHeight)), Steps(nullptr, 0) {
        kyf::SelectPeaks(session, *FrameMap, *Mask, 1);
        Maps = std::make_unique<kyf::GridMaps>(session, *FrameMap, *Mask);
    }
    void Repair(KyfFocusComposition& session) { kyf::RepairMaps(session, *Maps, *Mask, 1, Steps); }

    kyf::HeldImage<KyfImageData> FrameMap;
    kyf::HeldImage<KyiImageData> Mask;
    kyf::HeldImage<kyf::KyfImageDataUint16> Full16;
    kyf::HeldImage<KyfImageData> Full;
    kyf::CProgressProcManager Steps;
    std::unique_ptr<kyf::GridMaps> Maps;
};

void LoadAndBlend(KyfFocusComposition& session, const kyf::KyfImageDataUint16& map) {
    const KyiImageData& composite = *session.State3D.CompImage;
    const kyf::SampleRows<std::uint8_t> out(composite);
    kyf::ImagePtr previous = kyf::LoadTempFrame(session, 0);
    kyf::ImagePtr spare; // as the composite does it: frames read into memory that is there
    for (std::int32_t i = 1; i < session.State3D.FrameCount; ++i) {
        kyf::ImagePtr next = kyf::LoadTempFrame(session, i, std::move(spare));
        const kyf::BlendStep step = kyf::MakeBlendStep(i, session.State3D.FrameCount, map.Scale, map.Offset);
        const kyf::SampleRows<const std::uint8_t> from(*previous);
        const kyf::SampleRows<const std::uint8_t> to(*next);
        for (std::int32_t y = 0; y < composite.Height; ++y)
            kyf::BlendRow(step, map.Rows[y], from[y], to[y], out[y], {3, 3, 3}, 3, composite.Width);
        spare = std::move(previous);
        previous = std::move(next);
    }
}

double LoadAndBlendSeconds(KyfFocusComposition& session) {
    Stages stages(session);
    stages.Repair(session);
    kyf::MakeFullMap(*stages.Maps, *stages.Full16, 1, stages.Steps);
    double best = std::numeric_limits<double>::max();
    for (int run = 0; run < 3; ++run) best = std::min(best, Seconds([&] { LoadAndBlend(session, *stages.Full16); }));
    return best;
}

Stack& Begin(benchmark::State& state) {
    omp_set_num_threads(static_cast<int>(state.range(1)));
    return Stack::Of(state.range(0));
}

void Make(benchmark::State& state) {
    Stack& stack = Begin(state);
    KyfFocusComposition& session = stack.Session();
    const double best = Measure(
        state, [&] { stack.ForgetResults(); }, [&] { KyfFocusMakeCompImage(&session, 1, nullptr); });
    stack.ForgetResults();
    state.counters["of_load_and_blend"] = best / LoadAndBlendSeconds(session);
}

void Selection(benchmark::State& state) {
    KyfFocusComposition& session = Begin(state).Session();
    Stages stages(session);
    const double best = Measure(
        state, [] {}, [&] { kyf::SelectPeaks(session, *stages.FrameMap, *stages.Mask, 1); });
    state.counters["ns/pixel"] = best * 1e9 / session.EdgeDataWidth / session.EdgeDataHeight;
}

void Repair(benchmark::State& state) {
    KyfFocusComposition& session = Begin(state).Session();
    std::unique_ptr<Stages> stages;
    Measure(
        state, [&] { stages = std::make_unique<Stages>(session); }, [&] { stages->Repair(session); });
}

void FullMap(benchmark::State& state) {
    KyfFocusComposition& session = Begin(state).Session();
    Stages stages(session);
    stages.Repair(session);
    Measure(
        state, [] {}, [&] { kyf::MakeFullMap(*stages.Maps, *stages.Full16, 1, stages.Steps); });
}

void Composite(benchmark::State& state) {
    KyfFocusComposition& session = Begin(state).Session();
    Stages stages(session);
    stages.Repair(session);
    kyf::MakeFullMap(*stages.Maps, *stages.Full16, 1, stages.Steps);
    Measure(
        state, [] {}, [&] { kyf::ComposeByHeight(session, *stages.Full16, 1, nullptr); });
}

void Heights(benchmark::State& state) {
    KyfFocusComposition& session = Begin(state).Session();
    Stages stages(session);
    stages.Repair(session);
    Measure(
        state, [] {},
        [&] { kyf::MakeHeights(session, *stages.Maps, *stages.FrameMap, *stages.Full, 1, stages.Steps); });
}

void AddArguments(benchmark::internal::Benchmark* benchmark) {
    benchmark->UseManualTime()->Unit(benchmark::kMillisecond)->ArgNames({"megapixels", "speed", "threads"});
    for (const int megapixels : {2, 12})
        for (const int threads : {1, 2}) benchmark->Args({megapixels, 0, threads});
}

template <int Speed> void MakeArguments(benchmark::internal::Benchmark* benchmark) {
    benchmark->UseManualTime()->Unit(benchmark::kMillisecond)->ArgNames({"speed", "threads"});
    for (const int threads : {1, 2}) benchmark->Args({Speed, threads});
}

BENCHMARK(Add)->Apply(AddArguments);
BENCHMARK(Make)->Apply(MakeArguments<0>);
BENCHMARK(Selection)->Apply(MakeArguments<0>);
BENCHMARK(Repair)->Apply(MakeArguments<0>);
BENCHMARK(FullMap)->Apply(MakeArguments<0>);
BENCHMARK(Composite)->Apply(MakeArguments<0>);
BENCHMARK(Heights)->Apply(MakeArguments<0>);
BENCHMARK(Make)->Apply(MakeArguments<1>);
BENCHMARK(Selection)->Apply(MakeArguments<1>);
BENCHMARK(Make)->Apply(MakeArguments<2>);

} // namespace
