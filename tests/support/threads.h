/// The number of threads that parallel regions take.
#ifndef KYFOCUS_TESTS_SUPPORT_THREADS_H
#define KYFOCUS_TESTS_SUPPORT_THREADS_H

#include <omp.h>

namespace test {

/// Sets the number of threads for the time of a scope; 0 leaves it as it is.
class ThreadScope {
  public:
    explicit ThreadScope(int count) : m_before(omp_get_max_threads()) {
        if (count > 0) omp_set_num_threads(count);
    }
    ~ThreadScope() { omp_set_num_threads(m_before); }
    ThreadScope(const ThreadScope&) = delete;
    ThreadScope& operator=(const ThreadScope&) = delete;

  private:
    int m_before;
};

} // namespace test

#endif
