/// Runs of a call with the parallel flag off and on, with several numbers of threads.
#ifndef KYFOCUS_TESTS_SAFE3D_THREADS_H
#define KYFOCUS_TESTS_SAFE3D_THREADS_H

#include <array>

#include "support/threads.h"

namespace test {

/// 0: the parallel flag off.
constexpr std::array<int, 4> kThreadCounts{0, 1, 2, 5};

} // namespace test

#endif
