/// Scratch of the threads of a parallel region, made ahead of it: an exception that left the region would end the
/// program.
#ifndef KYFOCUS_APP_PER_THREAD_H
#define KYFOCUS_APP_PER_THREAD_H

#include <cstddef>
#include <vector>

#include <omp.h>

namespace app {

template <typename Scratch> class PerThread {
  public:
    /// One `Scratch(arguments...)` for each thread that a region started here may have.
    template <typename... Arguments> explicit PerThread(const Arguments&... arguments) {
        const auto threads = static_cast<std::size_t>(omp_get_max_threads());
        m_scratch.reserve(threads);
        for (std::size_t thread = 0; thread < threads; ++thread) m_scratch.emplace_back(arguments...);
    }

    /// The calling thread's, within the region.
    Scratch& Mine() noexcept { return m_scratch[static_cast<std::size_t>(omp_get_thread_num())]; }

  private:
    std::vector<Scratch> m_scratch;
};

} // namespace app

#endif
