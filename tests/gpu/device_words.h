/// The words of a CUDA source for a host's compiler: a kernel is a function that is called once a thread.
#ifndef KYFOCUS_TESTS_GPU_DEVICE_WORDS_H
#define KYFOCUS_TESTS_GPU_DEVICE_WORDS_H

#include <cmath>

#define __global__
#define __device__
#define __constant__

namespace test {

struct Index {
    unsigned int x = 0;
    unsigned int y = 0;
};

inline thread_local Index g_thread;
inline thread_local Index g_block;
inline thread_local Index g_blockSize;

} // namespace test

#define threadIdx test::g_thread
#define blockIdx test::g_block
#define blockDim test::g_blockSize

#endif
