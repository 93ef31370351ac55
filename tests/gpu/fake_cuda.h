/// A CUDA driver for tests: the thirteen entry points, over host memory, with the kernels compiled for the host. It
/// checks every argument, keeps account of memory, and fails where a test wants it to.
///
/// A program that finds it tells in the file of KY_FAKE_CUDA_REPORT, a line each, which modules it has asked for.
///
/// The library is called libcuda.so.1 by its own account, so that it is the driver of a process that has opened it.
#ifndef KYFOCUS_TESTS_GPU_FAKE_CUDA_H
#define KYFOCUS_TESTS_GPU_FAKE_CUDA_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace test {

/// What the driver has been asked to do, and what it is to fail at.
struct FakeCudaState {
    /// The call by its name, counted from 0 among those of its name, from which on calls of the name fail.
    std::string FailingCall;
    int FailingFrom = 0;

    std::vector<std::string> Calls;      ///< names, in order
    std::vector<std::string> Complaints; ///< arguments that do not fit
    std::vector<std::string> Kernels;    ///< launched, in order
    std::string ModulePath;              ///< the last one asked for
    const void* Unloaded = nullptr;      ///< the last argument of cuModuleUnload and of cuCtxDestroy
    const void* Destroyed = nullptr;
    std::map<std::uint64_t, std::size_t> Memory; ///< blocks that live, and their sizes
    int Allocations = 0;
};

} // namespace test

extern "C" __attribute__((visibility("default"))) test::FakeCudaState* FakeCuda();

#endif
