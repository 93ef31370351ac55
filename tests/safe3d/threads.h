/// Runs of a call with the parallel flag off and on, with several numbers of threads.
#ifndef KYFOCUS_TESTS_SAFE3D_THREADS_H
#define KYFOCUS_TESTS_SAFE3D_THREADS_H

#include <array>

#include <omp.h>

namespace test {

/// 0: the parallel flag off.
constexpr std::array<int, 4> kThreadCounts{0, 1, 2, 5};

/// Sets the number of threads for the time of a scope.
class ThreadScope {
  public:
    explicit ThreadScope(int threads) : m_before(omp_get_max_threads()) {
        if (threads > 0) omp_set_num_threads(threads);
    }
    ~ThreadScope() { omp_set_num_threads(m_before); }
    ThreadScope(const ThreadScope&) = delete;
    ThreadScope& operator=(const ThreadScope&) = delete;

  private:
    int m_before;
};

} // namespace test

#endif
