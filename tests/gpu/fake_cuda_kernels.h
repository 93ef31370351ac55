/// The kernels of the CUDA source, compiled for the host, with checks of what they are launched with.
#ifndef KYFOCUS_TESTS_GPU_FAKE_CUDA_KERNELS_H
#define KYFOCUS_TESTS_GPU_FAKE_CUDA_KERNELS_H

#include <string>

#include "gpu/fake_cuda.h"

namespace test {

struct Grid {
    unsigned int X;
    unsigned int Y;
};

/// One kernel. Launch checks the arguments and, when all addresses are of memory that lives, runs the kernel.
struct FakeKernel {
    const char* Name;
    bool (*Launch)(FakeCudaState& state, const Grid& grid, void** parameters);
};

/// Null for a name that no kernel has.
const FakeKernel* FindKernel(const std::string& name);

} // namespace test

#endif
