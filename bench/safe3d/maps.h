/// Maps of a real size for the benchmarks of the 3D kernels. With KY_BENCH_SMALL set, small ones.
#ifndef KYFOCUS_BENCH_SAFE3D_MAPS_H
#define KYFOCUS_BENCH_SAFE3D_MAPS_H

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include <benchmark/benchmark.h>
#include <omp.h>

#include "reference/height_repair.h"
#include "safe3d/maps.h"

namespace bench {

inline bool IsSmall() { return std::getenv("KY_BENCH_SMALL") != nullptr; }

/// The grid of a stack at the finest speed, and a frame of 2 megapixels.
inline test::MapShape GridShape() { return IsSmall() ? test::MapShape{64, 48} : test::MapShape{512, 384}; }
inline test::MapShape FrameShape() { return IsSmall() ? test::MapShape{160, 120} : test::MapShape{1632, 1224}; }

/// Frame numbers of a stack of 50 over a bumpy surface, with noise of a third of a frame, as quantised samples.
inline std::vector<std::int32_t> Surface(const test::MapShape& shape) {
    std::vector<std::int32_t> samples = test::RandomSamples(test::CountOf(shape), 0, 450, 1);
    std::size_t at = 0;
    for (int y = 0; y < shape.Height; ++y)
        for (int x = 0; x < shape.Width; ++x, ++at)
            samples[at] += static_cast<std::int32_t>(32500 + 16000 * std::sin(7.0 * x / shape.Width) +
                                                     15000 * std::cos(9.0 * y / shape.Height));
    return samples;
}

constexpr double kScaleOf50 = 49.0 / 65535;

/// Threads from the benchmark's argument: 0 is the parallel flag off. Tells ns per pixel at the end.
class Turn {
  public:
    Turn(benchmark::State& state, const test::MapShape& shape)
        : m_state(state), m_pixels(test::CountOf(shape)), m_before(omp_get_max_threads()) {
        omp_set_num_threads(std::max(1, static_cast<int>(state.range(0))));
    }
    ~Turn() {
        omp_set_num_threads(m_before);
        m_state.counters["ns/pixel"] =
            benchmark::Counter(static_cast<double>(m_pixels) * static_cast<double>(m_state.iterations()) * 1e-9,
                               benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    KyiBool Flag() const { return m_state.range(0) != 0; }

  private:
    benchmark::State& m_state;
    std::size_t m_pixels;
    int m_before;
};

} // namespace bench

#endif
