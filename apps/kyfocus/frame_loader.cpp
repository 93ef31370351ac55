#include "frame_loader.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <system_error>
#include <utility>

#include "errors.h"
#include "stopwatch.h"

namespace app {
namespace {

/// Makes the calling thread known to the OpenMP runtime, with one idle companion, until it ends.
///
/// libgomp's threads spin for milliseconds wherever they wait for each other, unless the runtime counts more threads
/// than processors: then they go to sleep at once. The library's parallel loops share the processors with the decoders
/// here, and a thread that spins takes its time from them. The runtime's environment variables would do the same, but
/// it reads them before main. 28 PNG frames of 1200 x 540 on two processors: 1.1 to 1.7 s without, 0.7 s with it.
/// Other runtimes than GCC's yield when the processors are taken; they get nothing to count.
void MakeOpenMpThreadsSleepSooner() {
#ifndef __clang__
    std::atomic<int> threads = 0; // an empty region would be left out by the compiler
#pragma omp parallel num_threads(2)
    ++threads;
#endif
}

} // namespace

FrameLoader::FrameLoader(std::vector<std::filesystem::path> files, int threads) : m_files(std::move(files)) {
    try {
        for (int thread = 0; thread < std::max(threads, 1); ++thread) m_decoders.emplace_back([this] { RunDecoder(); });
    } catch (const std::system_error& error) {
        // Those that are there do the work.
        if (m_decoders.empty()) throw Failure("no thread can be started: " + error.code().message());
    } catch (...) {
        Stop();
        throw;
    }
}

FrameLoader::~FrameLoader() { Stop(); }

void FrameLoader::Stop() noexcept {
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
    }
    m_changed.notify_all();
    for (std::thread& decoder : m_decoders) decoder.join();
}

Image FrameLoader::Next() {
    const Stopwatch stopwatch;
    std::unique_lock lock(m_mutex);
    assert(m_taken < m_files.size());
    std::optional<Decoded>& place = PlaceOf(m_taken);
    m_changed.wait(lock, [&place] { return place.has_value(); });
    Decoded decoded = *std::exchange(place, std::nullopt);
    --m_heldFrames;
    if (decoded.Pixels) m_heldBytes -= ImageBytes(*decoded.Pixels);
    ++m_taken;
    m_statistics.WaitSeconds += stopwatch.Seconds();
    lock.unlock();
    m_changed.notify_all();
    if (decoded.Error) std::rethrow_exception(decoded.Error);
    return std::move(decoded.Pixels);
}

LoaderStatistics FrameLoader::Statistics() const {
    const std::lock_guard lock(m_mutex);
    return m_statistics;
}

bool FrameLoader::MayStartFrame() const { return m_started < std::min(m_files.size(), m_taken + kFramesAhead); }

void FrameLoader::RunDecoder() {
    MakeOpenMpThreadsSleepSooner();
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_isStopping || m_started == m_files.size() || MayStartFrame(); });
        if (m_isStopping || m_started == m_files.size()) return;
        const std::size_t index = m_started++;
        lock.unlock();
        const Stopwatch stopwatch;
        Decoded decoded;
        try {
            decoded.Pixels = LoadImage(m_files[index]);
        } catch (...) {
            decoded.Error = std::current_exception();
        }
        const double seconds = stopwatch.Seconds();
        lock.lock();
        Store(index, std::move(decoded), seconds);
    }
}

std::optional<FrameLoader::Decoded>& FrameLoader::PlaceOf(std::size_t index) { return m_decoded[index % kFramesAhead]; }

void FrameLoader::Store(std::size_t index, Decoded decoded, double seconds) noexcept {
    if (decoded.Pixels) m_heldBytes += ImageBytes(*decoded.Pixels);
    PlaceOf(index) = std::move(decoded);
    ++m_heldFrames;
    m_statistics.DecodeSeconds += seconds;
    m_statistics.PeakFrames = std::max(m_statistics.PeakFrames, m_heldFrames);
    m_statistics.PeakBytes = std::max(m_statistics.PeakBytes, m_heldBytes);
    m_changed.notify_all();
}

} // namespace app
