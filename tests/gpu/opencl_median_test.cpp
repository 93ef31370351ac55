// The median on OpenCL: computed results, the plain form, its table of kernels, and what fails.
#include "gpu/opencl_median.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gpu/opencl_device.h"
#include "reference/median.h"
#include "safe3d/maps.h"
#include "safe3d/middle_filter.h"
#include "support/arrays.h"
#include "support/case_files.h"

namespace {

using Lines = std::vector<std::string>;
using Samples = std::vector<std::int32_t>;

const std::string kTitle = "MiddleFilter( KyfImageDataUint16*, KyiImageData*, int, BOOL )";

class OpenClMedianTest : public test::OpenClTest {
  protected:
    void SetUp() override {
        OpenClTest::SetUp();
        setenv("CUDA_VISIBLE_DEVICES", "", 1); // CUDA would come first
    }

    static Samples Filter(const test::MapShape& shape, const Samples& samples, const Samples& mask, std::int32_t size) {
        const test::Uint16Image image = test::NewUint16(shape, samples);
        EXPECT_EQ(kyf::MiddleFilter(*image, *test::NewMask(shape, mask), size, 1), 1);
        return test::ToList(*image);
    }

    // A run with a table of its own.
    Samples Run(kyf::OpenClMedian& median, std::int32_t size, Lines* lines = nullptr) const {
        std::vector<std::uint16_t> heights(m_samples.begin(), m_samples.end());
        const std::vector<std::uint8_t> mask(m_samples.size());
        const test::TraceLines trace;
        {
            const CFuncTraceLog log(__FILE__, __LINE__, L"Median", 0);
            median.Run(kyf::COpenCLAPI::GetInstance(), {heights.data(), mask.data(), m_shape.Width, m_shape.Height},
                       size, log);
        }
        if (lines) *lines = trace.Get();
        return {heights.begin(), heights.end()};
    }

    Samples Expected(std::int32_t size) const {
        return reference::MiddleFilter({m_shape.Width, m_shape.Height, m_samples},
                                       {m_shape.Width, m_shape.Height, Samples(m_samples.size())}, size)
            .Values;
    }

    test::MapShape m_shape{20, 10};
    Samples m_samples = test::RandomSamples(200, 0, 65535, 1);
};

class OpenClMedianCases : public OpenClMedianTest, public testing::WithParamInterface<std::string> {};
TEST_P(OpenClMedianCases, GiveTheMediansOfTheModel) {
    const test::Case data = test::LoadCase("median", GetParam());
    const auto samples = test::ReadInts(data.File("samples.npy"));
    const auto mask = test::ReadInts(data.File("mask.npy"));
    const test::MapShape shape{static_cast<std::int32_t>(samples.Shape[1]),
                               static_cast<std::int32_t>(samples.Shape[0])};
    EXPECT_TRUE(
        test::SameValues(test::ReadInts(data.File("filtered.npy")).Values,
                         Filter(shape, samples.Values, mask.Values, data.Json.at("filter_size").get<std::int32_t>())));
    EXPECT_EQ(Double().Launches.size(), 1u);
}
INSTANTIATE_TEST_SUITE_P(Medians, OpenClMedianCases, testing::ValuesIn(test::CaseNames("median")),
                         [](const auto& test) { return test.param; });

TEST_F(OpenClMedianTest, EqualsThePlainForm) {
    std::uint32_t seed = 1;
    for (const test::MapShape& shape : test::kMapShapes) {
        for (const std::int32_t size : {1, 3, 11, 12, 0}) {
            ++seed;
            SCOPED_TRACE(test::Describe(shape, 1, seed) + ", size " + std::to_string(size));
            const std::int32_t high = seed % 2 == 0 ? 65535 : 300; // many ties
            const Samples samples = test::RandomSamples(test::CountOf(shape), 0, high, seed);
            const Samples mask = test::RandomMask(shape, seed % 4 * 33, seed % 2 == 0 ? 1 : 13, seed);
            const auto expected =
                reference::MiddleFilter({shape.Width, shape.Height, samples}, {shape.Width, shape.Height, mask}, size);
            EXPECT_TRUE(test::SameValues(expected.Values, Filter(shape, samples, mask, size)));
        }
    }
}

TEST_F(OpenClMedianTest, TracesItsPath) {
    kyf::IsOpenClInitialized();
    const test::TraceLines trace;
    Filter(m_shape, m_samples, Samples(m_samples.size()), 7);
    EXPECT_TRUE(
        test::HasInOrder(trace.Get(), {"Begin " + kTitle, "Begin processing by OpenCL.", "Create an OpenCL kernel.",
                                       "End processing by OpenCL.", "End " + kTitle}));
}

TEST_F(OpenClMedianTest, IsNotTakenWhenSwitchedOff) {
    kyf::IsOpenClInitialized();
    kyf::SetIsDisableGpu(1);
    const test::TraceLines trace;
    const Samples filtered = Filter(m_shape, m_samples, Samples(m_samples.size()), 5);
    EXPECT_TRUE(trace.Has("Begin processing by CPU."));
    EXPECT_TRUE(Double().Launches.empty());
    EXPECT_EQ(filtered, Expected(5));
    kyf::SetIsDisableGpu(0);
}

TEST_F(OpenClMedianTest, BuildsAKernelOnceForEachSizeForAllDevices) {
    kyf::OpenClMedian median;
    for (const std::int32_t size : {11, 5, 11, 5, 5}) EXPECT_EQ(Run(median, size), Expected(size));
    EXPECT_EQ(Double().Options,
              (Lines{"-DFILTER_SIZE=11 -DHALF_FILTER_SIZE=5", "-DFILTER_SIZE=5 -DHALF_FILTER_SIZE=2"}));
    const auto devices = static_cast<cl_uint>(kyf::COpenCLAPI::TheInstance().Devices().size());
    EXPECT_EQ(Double().BuildDeviceCounts, std::vector<cl_uint>(2, devices));
    EXPECT_EQ(Double().Calls["clCreateKernel"], 2);
    EXPECT_EQ(Double().Calls["clGetProgramBuildInfo"], 4);
    EXPECT_EQ(Double().Launches, Lines(5, "32x16/16x16"));
    EXPECT_EQ(Double().BufferFlags[0], cl_mem_flags{CL_MEM_WRITE_ONLY});
    EXPECT_EQ(Double().BufferFlags[1], cl_mem_flags{CL_MEM_READ_ONLY | CL_MEM_COPY_HOST_PTR});
    EXPECT_EQ(Double().BufferFlags[2], cl_mem_flags{CL_MEM_READ_ONLY | CL_MEM_COPY_HOST_PTR});
    EXPECT_EQ((std::vector<std::size_t>(Double().BufferSizes.begin(), Double().BufferSizes.begin() + 3)),
              (std::vector<std::size_t>{400, 400, 200}));
}

TEST_F(OpenClMedianTest, KeepsAKernelThatCouldNotBeBuiltAndTheHeights) {
    for (const std::string name : {"clCreateProgramWithSource", "clBuildProgram", "clCreateKernel"}) {
        SCOPED_TRACE(name);
        Double().Reset();
        Fail(name, 0, -11);
        kyf::OpenClMedian median;
        Lines lines;
        EXPECT_EQ(Run(median, 11, &lines), m_samples);
        EXPECT_TRUE(test::HasInOrder(lines, {"Begin processing by OpenCL.", "Create an OpenCL kernel.", "err = -11",
                                             "err = -48", "End processing by OpenCL."}));
        Double().Reset();
        EXPECT_EQ(Run(median, 11, &lines), m_samples) << "not built again";
        EXPECT_EQ(test::CountLines(lines, "Create an OpenCL kernel."), 0);
        EXPECT_EQ(test::CountLines(lines, "err = -48"), 6) << "five arguments and the run";
    }
}

TEST_F(OpenClMedianTest, TracesACallThatFailsReleasesItsBuffersAndKeepsTheHeights) {
    kyf::OpenClMedian median;
    ASSERT_EQ(Run(median, 3), Expected(3));
    for (const auto& [name, calls] : std::vector<std::pair<std::string, int>>{
             {"clCreateBuffer", 3}, {"clSetKernelArg", 3}, {"clEnqueueNDRangeKernel", 1}, {"clEnqueueReadBuffer", 1}}) {
        for (int call = 0; call <= calls; ++call) {
            SCOPED_TRACE(name + " " + std::to_string(call));
            Double().Reset();
            Fail(name, call, -5);
            Lines lines;
            EXPECT_EQ(Run(median, 3, &lines), m_samples);
            EXPECT_TRUE(
                test::HasInOrder(lines, {"Begin processing by OpenCL.", "err = -5", "End processing by OpenCL."}));
            EXPECT_TRUE(Double().LiveBuffers.empty());
        }
    }
    Double().Reset();
    EXPECT_EQ(Run(median, 3), Expected(3)) << "works again";
}

TEST_F(OpenClMedianTest, KeepsTheHeightsWithoutAQueueOrADevice) {
    for (const std::pair<const char*, int>& failure : {std::pair{"clCreateCommandQueue", 1}, {"clGetContextInfo", 2}}) {
        SCOPED_TRACE(failure.first);
        kyf::COpenCLAPI api;
        Fail(failure.first, failure.second, -6);
        api.GetReady();
        Double().Reset();
        ASSERT_TRUE(api.IsInitialized());
        std::vector<std::uint16_t> heights(m_samples.begin(), m_samples.end());
        const std::vector<std::uint8_t> mask(heights.size());
        const test::TraceLines trace;
        const CFuncTraceLog log(__FILE__, __LINE__, L"Median", 0);
        kyf::OpenClMedian().Run(api, {heights.data(), mask.data(), m_shape.Width, m_shape.Height}, 3, log);
        EXPECT_EQ(Samples(heights.begin(), heights.end()), m_samples);
        const Lines lines = trace.Get();
        EXPECT_TRUE(std::any_of(lines.begin(), lines.end(),
                                [](const std::string& line) { return line.starts_with("err = "); }));
    }
}

TEST_F(OpenClMedianTest, LeaksNothingOverAThousandRuns) {
    kyf::OpenClMedian median;
    for (int i = 0; i < 1000; ++i) {
        Run(median, 3);
        ASSERT_TRUE(Double().LiveBuffers.empty());
    }
    EXPECT_EQ(Double().Calls["clReleaseMemObject"], 3000);
    EXPECT_EQ(Double().Calls["clCreateKernel"], 1);
}

} // namespace
