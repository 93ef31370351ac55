// Frames on OpenCL, through the calls that choose it: against computed results, the plain form of the GPU's branch, and
// the processor wherever the two do the same.
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <kyfocus/gpu.h>

#include "gpu/gpu_frames.h"
#include "gpu/intermediate_code_path.h"
#include "gpu/opencl_device.h"
#include "gpu/opencl_program.h"
#include "safe3d/threads.h"

namespace {

using nlohmann::json;
using Lines = std::vector<std::string>;

class OpenClStages : public test::OpenClTest {
  protected:
    void SetUp() override {
        OpenClTest::SetUp();
        setenv("CUDA_VISIBLE_DEVICES", "", 1); // CUDA would come first
        kyf::SetIntermediateCodePath(m_folder.Path().wstring().c_str());
        ASSERT_TRUE(kyf::IsOpenClInitialized());
        ASSERT_TRUE(kyf::HasOpenClProgram());
        Double().Reset();
        m_keptKernels = Double().LiveKernels.size();
    }
    void TearDown() override {
        OpenClTest::TearDown();
        EXPECT_TRUE(HasReleasedAll());
        kyf::SetIsDisableGpu(0);
    }

    test::Session Start(std::int32_t scopeType, std::int32_t speed = 2, std::int32_t disableGpu = 0) const {
        test::StackSettings settings;
        settings.ScopeType = scopeType;
        settings.Speed = speed;
        test::Session session = test::StartStack(settings, m_folder.Path());
        session->DisableGPU = disableGpu;
        return session;
    }

    // Edge strength, then luminance, of one frame added as the first.
    std::vector<double> AddOne(const KyiImageData& frame, std::int32_t scopeType, KyiBool parallel,
                               std::int32_t disableGpu = 0) const {
        const test::Session session = Start(scopeType, 2, disableGpu);
        const test::Image copy(KyiDuplicateImageData(&frame, 0));
        EXPECT_EQ(KyfFocusAddImage(session.get(), copy.get(), parallel, nullptr), KyfResultOk);
        std::vector<double> values = test::ToList(*session->EdgeFrames[0]);
        const std::vector<double> kido = test::ToList(*session->KidoFrames[0]);
        values.insert(values.end(), kido.begin(), kido.end());
        return values;
    }

    // Kernels of the median are not a frame's.
    bool HasReleasedAll() const { return Double().LiveBuffers.empty() && Double().LiveKernels.size() == m_keptKernels; }

    test::TemporaryFolder m_folder;
    std::size_t m_keptKernels = 0;
};

// ---- computed results -------------------------------------------------------------------------------------------

class OpenClCases : public OpenClStages, public testing::WithParamInterface<std::string> {};
TEST_P(OpenClCases, KeepTheEdgeStrengthAndLuminanceOfTheModel) {
    const test::Case data = test::LoadCase("edge3d", GetParam());
    const auto frames = test::ReadInts(data.File("frames.npy"));
    for (const json& run : data.Json.at("runs")) {
        if (!test::IsGpuRun(run)) continue;
        const auto scopeType = run.at("ScopeType").get<std::int32_t>();
        ASSERT_TRUE(frames.Shape[0] == 1 || scopeType % 2 == 0); // scopes 1 and 3 would move the frames after the first
        const auto parallel = run.at("UseParallelProcess").get<KyiBool>();
        const test::Session session = Start(scopeType, run.at("Speed").get<std::int32_t>());
        for (std::size_t i = 0; i < frames.Shape[0]; ++i) {
            const test::Image frame =
                test::FromPlanes(data.Json.at("Width").get<std::int32_t>(), data.Json.at("Height").get<std::int32_t>(),
                                 data.Json.at("Format").get<std::int32_t>(), frames.Entry(i));
            ASSERT_EQ(kyf::UseParallelProcess(frame.get(), parallel), parallel != 0);
            ASSERT_EQ(KyfFocusAddImage(session.get(), frame.get(), parallel, nullptr), KyfResultOk);
        }
        const auto name = run.at("name").get<std::string>();
        test::ExpectImages(data, name + "_EdgeFrames", session->EdgeFrames, session->State3D.FrameCount);
        test::ExpectImages(data, name + "_KidoFrames", session->KidoFrames, session->State3D.FrameCount);
        EXPECT_FALSE(Double().Launches.empty());
    }
}
INSTANTIATE_TEST_SUITE_P(Edges, OpenClCases, testing::ValuesIn(test::CasesWithGpuRuns()),
                         [](const auto& test) { return test.param; });

TEST_F(OpenClStages, MakeTheHeightsOfTheModel) {
    const test::Case data = test::LoadCase("heightmap", "brightness_on_gpu");
    const test::Session session = test::AddGpuHeightStack(data, m_folder.Path());
    Double().Reset();
    EXPECT_EQ(KyfFocusMakeCompImage(session.get(), 1, nullptr), data.Json.at("make_result").get<KyfResult>());
    EXPECT_EQ(Double().Launches, Lines(5, "64x16/16x16")) << "medians";
    m_keptKernels += static_cast<std::size_t>(Double().Calls["clCreateKernel"]); // the median's, where it is its first
    EXPECT_TRUE(test::SameValues(test::ReadDoubles(data.File("State3D_HeightDataMap.npy")).Values,
                                 test::Flatten(session->State3D.HeightDataMap, 42, 8)));
}

// ---- the plain form ---------------------------------------------------------------------------------------------

TEST_F(OpenClStages, EqualThePlainFormOfTheirBranchInAllFormats) {
    std::uint32_t seed = 0;
    for (const test::MapShape& shape : test::kFrameShapes) {
        for (const std::int32_t format : test::AllFormats()) {
            for (const std::int32_t scopeType : {0, 2}) {
                for (const KyiBool parallel : {0, 1}) {
                    SCOPED_TRACE(test::Describe(shape, parallel, ++seed) + ", format " + std::to_string(format));
                    const test::Image frame = test::RandomImage(shape.Width, shape.Height, format, seed);
                    EXPECT_TRUE(test::SameValues(test::PlainGpuEdgeData(*frame, scopeType, parallel),
                                                 AddOne(*frame, scopeType, parallel)));
                }
            }
        }
    }
}

TEST_F(OpenClStages, EqualThePlainFormWhereThereIsHardlyAnyEdge) {
    const test::MapShape shape{257, 31};
    std::vector<std::int32_t> faint = test::RandomSamples(test::CountOf(shape), 0, 999, 1);
    for (std::int32_t& sample : faint) sample = sample == 0 ? 101 : 100;
    const test::Image frame = test::FromPlanes(shape.Width, shape.Height, KyiFormatGray8, faint);
    const std::vector<double> values = AddOne(*frame, 0, 1);
    EXPECT_TRUE(test::SameValues(test::PlainGpuEdgeData(*frame, 0, 1), values));
    EXPECT_TRUE(std::any_of(values.begin(), values.end(), [](double value) { return value > 0.0 && value < 1.0; }));
}

TEST_F(OpenClStages, EqualTheProcessorWhereTheChannelIsTheSame) {
    for (const test::MapShape& shape : test::kFrameShapes) {
        const test::Image gray = test::RandomImage(shape.Width, shape.Height, KyiFormatGray8, 5);
        const test::Image colour = test::RandomImage(shape.Width, shape.Height, KyiFormatBgr24, 6);
        for (const KyiBool parallel : {0, 1})
            EXPECT_TRUE(test::SameValues(AddOne(*gray, 0, parallel, /*disableGpu=*/1), AddOne(*gray, 0, parallel)));
        EXPECT_TRUE(test::SameValues(AddOne(*colour, 0, 1, /*disableGpu=*/1), AddOne(*colour, 0, 1)));
    }
}

TEST_F(OpenClStages, TakeBlueWhereTheFrameIsReducedInOneThread) {
    const test::Image colour = test::RandomImage(70, 20, KyiFormatBgr24, 1);
    std::vector<std::int32_t> planes = test::ToPlanes(*colour);
    const test::Image blue = test::FromPlanes(70, 20, KyiFormatGray8, std::span(planes).subspan(2 * 70 * 20));
    EXPECT_TRUE(test::SameValues(AddOne(*blue, 0, 0), AddOne(*colour, 0, 0)));
}

TEST_F(OpenClStages, LeaveNoEdgeStrengthWhereBrightnessStandsForFocus) {
    const test::Image frame = test::RandomImage(70, 20, KyiFormatGray8, 1);
    const std::vector<double> values = AddOne(*frame, 2, 1);
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    EXPECT_TRUE(std::all_of(values.begin(), middle, [](double value) { return value == 0.0; }));
    EXPECT_TRUE(std::all_of(middle, values.end(), [](double value) { return value > 0.0; }));
}

TEST_F(OpenClStages, DoNotDependOnTheNumberOfThreads) {
    const test::Image frame = test::RandomImage(700, 40, KyiFormatBgr48, 1);
    const std::vector<double> expected = AddOne(*frame, 0, 1);
    for (const int threads : {1, 2, 5}) {
        const test::ThreadScope scope(threads);
        EXPECT_TRUE(test::SameValues(expected, AddOne(*frame, 0, 1)));
    }
}

// ---- what the driver is asked ------------------------------------------------------------------------------------

TEST_F(OpenClStages, MakeBuffersAndRunKernelsInTheOrderOfTheStages) {
    constexpr cl_mem_flags kBoth = CL_MEM_READ_WRITE;
    constexpr cl_mem_flags kInput = CL_MEM_READ_ONLY | CL_MEM_COPY_HOST_PTR;
    constexpr std::size_t kPlane = 20 * 10 * 8;
    constexpr std::size_t kGrid = 64 * 32 * 8;
    const test::Image frame = test::RandomImage(20, 10, KyiFormatGray8, 1);
    const std::string whole = "32x16/16x16";
    const std::string grid = "64x32/16x16";

    AddOne(*frame, 0, 1);
    Lines launches(9, whole);
    launches.push_back(grid);
    EXPECT_EQ(Double().Launches, launches);
    EXPECT_EQ(Double().BufferFlags, (std::vector<cl_mem_flags>{kInput, kBoth, kBoth, kBoth, kBoth, kInput, kBoth,
                                                               CL_MEM_WRITE_ONLY, CL_MEM_WRITE_ONLY}));
    EXPECT_EQ(Double().BufferSizes,
              (std::vector<std::size_t>{600, 600, kPlane, kPlane, kPlane, 9 * 8, kPlane, kGrid, kGrid}));
    EXPECT_EQ(Double().Calls["clCreateKernel"], 6);

    Double().Reset();
    AddOne(*frame, 2, 0);
    EXPECT_EQ(Double().Launches, (Lines{whole, whole, whole, grid}));
    EXPECT_EQ(Double().BufferFlags, (std::vector<cl_mem_flags>{kBoth | CL_MEM_COPY_HOST_PTR, kBoth, kBoth, kBoth,
                                                               kInput, kInput, CL_MEM_WRITE_ONLY, CL_MEM_WRITE_ONLY}));
}

TEST_F(OpenClStages, TraceTheirPathAndEachStage) {
    const test::Image frame = test::RandomImage(20, 10, KyiFormatGray8, 1);
    const test::TraceLines lines;
    AddOne(*frame, 0, 0);
    EXPECT_TRUE(test::HasInOrder(lines.Get(),
                                 {"IsDisableGPU = false", "isEnableCuda = false", "OpenCL is initialized.",
                                  "Begin COpenCLProgram::GetProgram()", "isEnableOpenCl = true", "Begin 1st process.",
                                  "Begin processing by OpenCL.", "Begin 2nd process.", "Blur filter 10 times",
                                  "Sobel filter", "Sobel filter Only", "Creating edge strength data"}));
    EXPECT_FALSE(lines.Has("Begin processing by CPU."));
    AddOne(*frame, 2, 0);
    EXPECT_TRUE(lines.Has("Processing added for GPU related purposes"));
}

TEST_F(OpenClStages, AreNotTakenWhenASessionForbidsThem) {
    const test::Image frame = test::RandomImage(20, 10, KyiFormatGray8, 1);
    const test::TraceLines lines;
    AddOne(*frame, 0, 0, /*disableGpu=*/1);
    EXPECT_TRUE(
        test::HasInOrder(lines.Get(), {"IsDisableGPU = true", "isEnableCuda = false", "OpenCL is not initialized.",
                                       "isEnableOpenCl = false", "Begin processing by CPU."}));
    EXPECT_TRUE(Double().Calls.empty());
}

TEST_F(OpenClStages, AreTherePubliclyAndSwitchedOnByTheQuestion) {
    kyf::SetIsDisableGpu(1);
    EXPECT_TRUE(KyfGetEnableGpuOpenCl());
    EXPECT_EQ(kyf::g_isDisableGpuOpenCl, 0);
    EXPECT_EQ(kyf::g_isDisableGpuCuda, 1);
    EXPECT_TRUE(KyfGetEnableGpuOpenCl());
}

TEST_F(OpenClStages, ReportAllStepsButNoPassesOfTheBlur) {
    const test::Image frame = test::RandomImage(20, 10, KyiFormatGray8, 1);
    const auto reportsOf = [&](std::int32_t disableGpu) {
        const test::Session session = Start(0, 2, disableGpu);
        int reports = 0;
        KyfProgress* const root =
            KyfAllocProgress([](KyfProgress* node) { ++*static_cast<int*>(KyfProgressGetArgs(node)); }, &reports);
        EXPECT_EQ(KyfFocusAddImage(session.get(), frame.get(), 1, root), KyfResultOk);
        EXPECT_NE(root->Completed, 0);
        EXPECT_EQ(KyfProgressGetPersent(root), 100);
        KyfFreeProgress(root);
        return reports;
    };
    EXPECT_EQ(reportsOf(0), reportsOf(1) - 3);
}

// ---- what fails --------------------------------------------------------------------------------------------------

TEST_F(OpenClStages, LeakNothingOverAThousandFrames) {
    const test::Session session = Start(0);
    const test::Image frame = test::RandomImage(8, 8, KyiFormatGray8, 1);
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(KyfFocusAddImage(session.get(), frame.get(), i % 2, nullptr), KyfResultOk);
        ASSERT_TRUE(HasReleasedAll());
    }
    EXPECT_EQ(Double().BufferSizes.size(), 500u * (8 + 9));
    EXPECT_EQ(Double().Calls["clReleaseMemObject"], 500 * (8 + 9));
    EXPECT_EQ(Double().Calls["clReleaseKernel"], Double().Calls["clCreateKernel"]);
}

TEST_F(OpenClStages, TraceACallThatFailsReleaseAllAndGoOn) {
    const test::Image frame = test::RandomImage(20, 10, KyiFormatGray8, 1);
    for (const std::int32_t scopeType : {0, 2}) {
        for (const std::string name :
             {"clCreateBuffer", "clCreateKernel", "clSetKernelArg", "clEnqueueNDRangeKernel", "clEnqueueReadBuffer"}) {
            Double().Reset();
            AddOne(*frame, scopeType, 1);
            const int calls = Double().Calls[name];
            ASSERT_GT(calls, 0);
            for (int call = 0; call <= calls; ++call) { // 0: all of them
                SCOPED_TRACE(name + " " + std::to_string(call));
                Double().Reset();
                Fail(name, call, -5);
                const test::TraceLines lines;
                AddOne(*frame, scopeType, 1);
                EXPECT_TRUE(lines.Has("err = -5"));
                EXPECT_TRUE(test::HasInOrder(
                    lines.Get(), {"Begin processing by OpenCL.", "Begin 2nd process.", "Creating edge strength data"}));
                EXPECT_TRUE(HasReleasedAll());
            }
        }
    }
}

TEST_F(OpenClStages, GiveAFeaturelessFrameWhenNothingCanBeRead) {
    Fail("clEnqueueReadBuffer", 0, -5);
    const std::vector<double> values = AddOne(*test::RandomImage(20, 10, KyiFormatGray8, 1), 0, 1);
    EXPECT_TRUE(test::SameValues(std::vector<double>(values.size()), values));
}

TEST_F(OpenClStages, RefuseAFrameTooFlatForTheGrid) {
    const test::Session session = Start(0);
    const test::Image frame = test::RandomImage(600, 2, KyiFormatGray8, 1);
    EXPECT_EQ(KyfFocusAddImage(session.get(), frame.get(), 1, nullptr), KyfResultFailAlloc);
    EXPECT_EQ(session->State3D.FrameCount, 0);
}

} // namespace
