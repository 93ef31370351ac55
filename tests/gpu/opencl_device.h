/// Tests on PoCL: a double that forwards everything, an object of OpenCL's entry points that is ready, and what is
/// traced from then on.
#ifndef KYFOCUS_TESTS_GPU_OPENCL_DEVICE_H
#define KYFOCUS_TESTS_GPU_OPENCL_DEVICE_H

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gpu/gpu_switches.h"
#include "gpu/opencl_api.h"
#include "gpu/opencl_double.h"
#include "support/trace_lines.h"

namespace test {

/// Every test starts with the double forwarding and the back end switched on, and leaves no buffers. Kernels of medians
/// stay.
class OpenClTest : public testing::Test {
  protected:
    void SetUp() override {
        Double().Reset();
        kyf::g_isDisableGpuOpenCl = 0;
        ASSERT_EQ(Double().Missing(), "");
    }
    void TearDown() override {
        EXPECT_TRUE(Double().LiveBuffers.empty());
        kyf::g_isDisableGpuOpenCl = 0;
    }

    static OpenClDouble& Double() { return OpenClDouble::Get(); }
    static void Fail(const std::string& name, int call, cl_int error) { Double().Failure = {name, call, error}; }
};

} // namespace test

#endif
