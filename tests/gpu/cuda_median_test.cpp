// The median on CUDA, and single kernels with arguments that the library does not use yet.
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gpu/cuda_launch.h"
#include "gpu/fake_driver.h"
#include "gpu/gpu_switches.h"
#include "reference/edge_data.h"
#include "reference/gpu_channel.h"
#include "safe3d/maps.h"
#include "safe3d/middle_filter.h"
#include "support/arrays.h"
#include "support/trace_lines.h"

namespace {

using Lines = std::vector<std::string>;
using Samples = std::vector<std::int32_t>;
using test::MapShape;

class CudaMedian : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(kyf::IsCudaInitialized()); }
    void TearDown() override {
        EXPECT_EQ(m_driver->Complaints, Lines());
        EXPECT_TRUE(m_driver->Memory.empty());
    }

    static Samples Run(const MapShape& shape, const Samples& samples, const Samples& mask, std::int32_t size) {
        const test::Uint16Image image = test::NewUint16(shape, samples, 0.25, 3.0);
        const test::Image maskImage = test::NewMask(shape, mask);
        EXPECT_EQ(kyf::MiddleFilter(*image, *maskImage, size, 1), 1);
        EXPECT_EQ(image->Scale, 0.25);
        EXPECT_EQ(image->Offset, 3.0);
        return test::ToList(*image);
    }

    test::FakeDriver m_driver;
};

class CudaMedianCases : public CudaMedian, public testing::WithParamInterface<std::string> {};
TEST_P(CudaMedianCases, GiveTheMediansOfTheModelByTheMaskThatTheDeviceHas) {
    const test::Case data = test::LoadCase("median", GetParam());
    const auto samples = test::ReadInts(data.File("samples.npy"));
    const auto mask = test::ReadInts(data.File("mask.npy"));
    const MapShape shape{static_cast<std::int32_t>(samples.Shape[1]), static_cast<std::int32_t>(samples.Shape[0])};
    const auto size = data.Json.at("filter_size").get<std::int32_t>();
    const Samples filtered = Run(shape, samples.Values, mask.Values, size);
    const reference::IntGrid maskGrid{shape.Width, shape.Height, mask.Values};
    EXPECT_TRUE(test::SameValues(
        reference::MiddleFilterOnCuda({shape.Width, shape.Height, samples.Values}, maskGrid, size).Values, filtered));
    // Where the device has the mask that the processor has, so are the medians.
    if (reference::HalfMask(maskGrid).Values == mask.Values) {
        EXPECT_TRUE(test::SameValues(test::ReadInts(data.File("filtered.npy")).Values, filtered));
    }
}
INSTANTIATE_TEST_SUITE_P(Medians, CudaMedianCases, testing::ValuesIn(test::CaseNames("median")),
                         [](const auto& test) { return test.param; });

TEST_F(CudaMedian, EqualsThePlainForm) {
    std::uint32_t seed = 1;
    for (const MapShape& shape : test::kMapShapes) {
        for (const std::int32_t size : {1, 3, 4, 11, 17}) {
            SCOPED_TRACE(test::Describe(shape, size, ++seed));
            const Samples samples = test::RandomSamples(test::CountOf(shape), 0, seed % 2 == 0 ? 65535 : 9, seed);
            const Samples mask = test::RandomMask(shape, seed % 4 * 33, seed % 3 == 0 ? 1 : 13, seed);
            const auto expected = reference::MiddleFilterOnCuda({shape.Width, shape.Height, samples},
                                                                {shape.Width, shape.Height, mask}, size);
            EXPECT_TRUE(test::SameValues(expected.Values, Run(shape, samples, mask, size)));
        }
    }
}

TEST_F(CudaMedian, EqualsTheProcessorWithoutAMask) {
    const MapShape shape{65, 40};
    const Samples samples = test::RandomSamples(test::CountOf(shape), 0, 65535, 7);
    const Samples mask(test::CountOf(shape));
    const Samples onCuda = Run(shape, samples, mask, 11);
    kyf::SetIsDisableGpu(1);
    const Samples onProcessor = Run(shape, samples, mask, 11);
    kyf::SetIsDisableGpu(0);
    EXPECT_TRUE(test::SameValues(onProcessor, onCuda));
    EXPECT_EQ(m_driver->Kernels, Lines({"middle_filter"}));
}

TEST_F(CudaMedian, LetsEveryOddPixelTakePart) {
    EXPECT_EQ(Run({4, 1}, {9, 1, 8, 5}, {255, 255, 255, 255}, 3), Samples({9, 1, 8, 5}));
    EXPECT_EQ(Run({4, 1}, {9, 1, 8, 5}, {0, 0, 255, 255}, 3), Samples({9, 8, 5, 8}));
    EXPECT_EQ(Run({4, 1}, {9, 1, 8, 5}, {0, 255, 0, 0}, 3), Samples({9, 9, 8, 5}));
}

TEST_F(CudaMedian, TracesItsPath) {
    const test::TraceLines lines;
    Run({3, 3}, Samples(9), Samples(9), 3);
    const std::string title = "MiddleFilter( KyfImageDataUint16*, KyiImageData*, int, BOOL )";
    EXPECT_EQ(lines.Get(), Lines({"Begin " + title, "Begin CCudaAPI::Initialize()", "End CCudaAPI::Initialize()",
                                  "Begin processing by CUDA.", "End processing by CUDA.", "End " + title}));
}

TEST_F(CudaMedian, LeavesTheSamplesWhereTheDeviceFailsAtAnyCall) {
    const Samples samples = test::RandomSamples(9, 0, 100, 1);
    const Samples whole = Run({3, 3}, samples, Samples(9), 3);
    for (const char* const call :
         {"cuMemAlloc_v2", "cuModuleGetFunction", "cuMemcpyHtoD_v2_ptds", "cuMemcpyDtoH_v2_ptds", "cuLaunchKernel"}) {
        for (int from = 0; from < 3; ++from) {
            m_driver.Forget();
            m_driver.FailAt(call, from);
            const Samples filtered = Run({3, 3}, samples, Samples(9), 3);
            const auto calls = std::count(m_driver->Calls.begin(), m_driver->Calls.end(), call);
            EXPECT_EQ(filtered, calls > from ? samples : whole) << call << " " << from;
            EXPECT_TRUE(m_driver->Memory.empty()) << call << " " << from;
        }
    }
}

// ---- single kernels ------------------------------------------------------------------------------------------------

class CudaKernels : public CudaMedian {
  protected:
    std::vector<double> Fetch(const kyf::CudaMemory& memory, std::size_t count) const {
        std::vector<double> values(count);
        m_api.CopyToHost(values.data(), memory.Address(), count * sizeof(double));
        return values;
    }
    kyf::CudaMemory Send(const std::vector<double>& values) const {
        return {m_api, values.data(), values.size() * sizeof(double)};
    }

    const kyf::CCudaAPI& m_api = kyf::CCudaAPI::TheInstance();
};

TEST_F(CudaKernels, ShiftABlurWithAMarginToTheLeft) {
    const MapShape shape{9, 8};
    const std::vector<double> values = test::RandomDoubles(test::CountOf(shape), 0.0, 255.0, 3);
    const std::vector<double> weights{0.25, 0.5, 0.25};
    const std::vector<double> matrix{0.0625, 0.125, 0.0625, 0.125, 0.25, 0.125, 0.0625, 0.125, 0.0625};
    for (const int margin : {0, 1, 2}) {
        const std::vector<double> unwritten(values.size(), -1.0);
        const kyf::CudaMemory source = Send(values);
        const kyf::CudaMemory dest = Send(unwritten);
        const kyf::CudaMemory d_matrix = Send(matrix);
        const kyf::MultiFilter multiFilter(m_api, "multi_filter");
        multiFilter.Run(9 - 2 * margin, 8 - 2 * margin, dest.Address(), source.Address(), 8, 9, margin,
                        d_matrix.Address(), 3);
        reference::DoubleGrid inPlace{9, 8, unwritten};
        reference::BlurPass({9, 8, values}, inPlace, margin, weights, weights);
        reference::DoubleGrid expected{9, 8, unwritten};
        for (int y = margin; y < 8 - margin; ++y)
            for (int x = margin; x < 9 - margin; ++x) expected.At(x - margin, y) = inPlace.At(x, y);
        EXPECT_TRUE(test::SameValues(expected.Values, Fetch(dest, values.size()))) << margin;
    }
}

TEST_F(CudaKernels, GiveNoNumbersForWindowsOutsideTheSource) {
    const std::vector<double> one{1.0};
    const kyf::CudaMemory source = Send(one);
    const kyf::CudaMemory edge = Send({5.0, 5.0});
    const kyf::CudaMemory kido = Send({5.0, 5.0});
    kyf::CUfunction kernel = nullptr;
    m_api.GetKernel(&kernel, "total_data");
    const kyf::TotalData totalData(m_api, "total_data");
    totalData.Run(2, 1, edge.Address(), kido.Address(), 1, 2, source.Address(), source.Address(), source.Address(), 1,
                  1, 1.0, 9.0, 4);
    EXPECT_EQ(m_driver->Complaints, Lines({"total_data: w_ratio"}));
    m_driver->Complaints.clear();
    EXPECT_EQ(Fetch(kido, 2).front(), 1.0);
    EXPECT_TRUE(std::isnan(Fetch(kido, 2).back()));
    EXPECT_TRUE(std::isnan(Fetch(edge, 2).back()));
}

} // namespace
