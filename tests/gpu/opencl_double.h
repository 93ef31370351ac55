/// An OpenCL library for tests that stands in front of the machine's own. It forwards every call, shows PoCL's platform
/// alone and its processor where a graphics processor is asked for, fails any call that a test names, and counts.
///
/// Its module name is the loader's, so that a program which is linked with it finds it in the loader's place.
#ifndef KYFOCUS_TESTS_GPU_OPENCL_DOUBLE_H
#define KYFOCUS_TESTS_GPU_OPENCL_DOUBLE_H

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#define CL_TARGET_OPENCL_VERSION 120
#include <CL/cl.h>

namespace test {

/// A call that is to fail: the `Call`th of its name from now on, counted from 1; 0 stands for every one.
struct PlannedFailure {
    std::string Name;
    int Call = 0;
    cl_int Error = CL_OUT_OF_RESOURCES;
};

class __attribute__((visibility("default"))) OpenClDouble {
  public:
    static OpenClDouble& Get();

    /// Back to forwarding everything, counts at 0. What is alive stays known.
    void Reset();

    /// Why there is no PoCL to forward to; empty when there is.
    std::string Missing();

    std::optional<PlannedFailure> Failure;
    bool ShowsPlatforms = true;
    bool ShowsGraphicsProcessor = true;
    std::map<std::string, int> Calls;

    /// What clCreateProgramWithSource and clBuildProgram were given, and the flags and sizes of new buffers.
    std::vector<std::string> Sources;
    std::vector<std::string> Options;
    std::vector<cl_uint> BuildDeviceCounts;
    std::vector<cl_mem_flags> BufferFlags;
    std::vector<std::size_t> BufferSizes;
    std::vector<std::string> Launches; ///< "WxH/wxh": global and local size

    std::set<cl_mem> LiveBuffers;
    std::set<cl_kernel> LiveKernels;
};

} // namespace test

#endif
