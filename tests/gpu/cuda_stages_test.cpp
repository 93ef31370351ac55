// Frames and medians on CUDA, through the calls that choose it: against computed results, the plain form of the GPU's
// branch, and the processor wherever the two do the same.
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gpu/fake_driver.h"
#include "gpu/gpu_frames.h"
#include "gpu/gpu_switches.h"
#include "safe3d/progress_reports.h"
#include "safe3d/safe3d.h"
#include "safe3d/threads.h"
#include "support/trace_lines.h"

namespace {

using nlohmann::json;
using Lines = std::vector<std::string>;

class CudaStages : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(kyf::IsCudaInitialized()); }
    void TearDown() override {
        EXPECT_EQ(m_driver->Complaints, Lines());
        EXPECT_TRUE(m_driver->Memory.empty());
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
                               std::int32_t disableGpu = 0, std::int32_t speed = 2) const {
        const test::Session session = Start(scopeType, speed, disableGpu);
        const test::Image copy(KyiDuplicateImageData(&frame, 0));
        EXPECT_EQ(KyfFocusAddImage(session.get(), copy.get(), parallel, nullptr), KyfResultOk);
        std::vector<double> values = test::ToList(*session->EdgeFrames[0]);
        const std::vector<double> kido = test::ToList(*session->KidoFrames[0]);
        values.insert(values.end(), kido.begin(), kido.end());
        return values;
    }

    std::vector<double> AddOneOnFailing(const std::string& call, int from, const KyiImageData& frame,
                                        std::int32_t scopeType) {
        m_driver.FailAt(call, from);
        return AddOne(frame, scopeType, 1);
    }

    test::FakeDriver m_driver;
    test::TemporaryFolder m_folder;
};

// ---- computed results -------------------------------------------------------------------------------------------

class CudaCases : public CudaStages, public testing::WithParamInterface<std::string> {};
TEST_P(CudaCases, KeepTheEdgeStrengthAndLuminanceOfTheModel) {
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
    }
}
INSTANTIATE_TEST_SUITE_P(Edges, CudaCases, testing::ValuesIn(test::CasesWithGpuRuns()),
                         [](const auto& test) { return test.param; });

// ---- the plain form ---------------------------------------------------------------------------------------------

TEST_F(CudaStages, EqualThePlainFormOfTheirBranchInAllFormats) {
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

TEST_F(CudaStages, EqualTheProcessorWhereTheChannelIsTheSame) {
    for (const test::MapShape& shape : test::kFrameShapes) {
        const test::Image gray = test::RandomImage(shape.Width, shape.Height, KyiFormatGray8, 5);
        const test::Image colour = test::RandomImage(shape.Width, shape.Height, KyiFormatBgr24, 6);
        for (const KyiBool parallel : {0, 1})
            EXPECT_TRUE(test::SameValues(AddOne(*gray, 0, parallel, /*disableGpu=*/1), AddOne(*gray, 0, parallel)));
        EXPECT_TRUE(test::SameValues(AddOne(*colour, 0, 1, /*disableGpu=*/1), AddOne(*colour, 0, 1)));
    }
}

TEST_F(CudaStages, TakeBlueWhereTheFrameIsReducedInOneThread) {
    const test::Image colour = test::RandomImage(70, 20, KyiFormatBgr24, 1);
    std::vector<std::int32_t> planes = test::ToPlanes(*colour);
    const test::Image blue = test::FromPlanes(70, 20, KyiFormatGray8, std::span(planes).subspan(2 * 70 * 20));
    EXPECT_TRUE(test::SameValues(AddOne(*blue, 0, 0), AddOne(*colour, 0, 0)));
}

TEST_F(CudaStages, LeaveNoEdgeStrengthWhereBrightnessStandsForFocus) {
    const test::Image frame = test::RandomImage(70, 20, KyiFormatGray8, 1);
    const std::vector<double> values = AddOne(*frame, 2, 1);
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    EXPECT_TRUE(std::all_of(values.begin(), middle, [](double value) { return value == 0.0; }));
    EXPECT_TRUE(std::all_of(middle, values.end(), [](double value) { return value > 0.0; }));
}

TEST_F(CudaStages, DoNotDependOnTheNumberOfThreads) {
    const test::Image frame = test::RandomImage(700, 40, KyiFormatBgr48, 1);
    const std::vector<double> expected = AddOne(*frame, 0, 1);
    for (const int threads : {1, 2, 5}) {
        const test::ThreadScope scope(threads);
        EXPECT_TRUE(test::SameValues(expected, AddOne(*frame, 0, 1)));
    }
}

// ---- what the driver is asked ------------------------------------------------------------------------------------

TEST_F(CudaStages, LaunchTheKernelsInTheOrderOfTheStages) {
    const test::Image frame = test::RandomImage(20, 10, KyiFormatGray8, 1);
    const Lines rest{"copy_green",   "copy_green",       "copy_green",       "multi_filter", "multi_filter",
                     "multi_filter", "high_pass_filter", "high_pass_filter", "total_data"};
    AddOne(*frame, 0, 0);
    EXPECT_EQ(m_driver->Kernels, rest);
    m_driver.Forget();
    Lines all = rest;
    all.insert(all.begin(), "reduction_down_ave");
    AddOne(*frame, 0, 1);
    EXPECT_EQ(m_driver->Kernels, all);
    m_driver.Forget();
    AddOne(*frame, 2, 0);
    EXPECT_EQ(m_driver->Kernels, Lines({"copy_green", "copy_green", "copy_green", "total_data"}));
}

TEST_F(CudaStages, AskForTheReducedFrameBeforeTheKernel) {
    const test::Image frame = test::RandomImage(20, 10, KyiFormatGray8, 1);
    m_driver.Forget(); // the first test of a process has the driver opened
    AddOne(*frame, 0, 1);
    const std::string alloc = "cuMemAlloc_v2";
    const std::string kernel = "cuModuleGetFunction";
    const std::string copy = "cuMemcpyHtoD_v2_ptds";
    const std::string launch = "cuLaunchKernel";
    ASSERT_GT(m_driver->Calls.size(), 6u);
    EXPECT_EQ(Lines(m_driver->Calls.begin(), m_driver->Calls.begin() + 6),
              Lines({alloc, kernel, alloc, copy, launch, kernel}));
    m_driver.Forget();
    AddOne(*frame, 0, 0);
    EXPECT_EQ(Lines(m_driver->Calls.begin(), m_driver->Calls.begin() + 4), Lines({alloc, copy, kernel, alloc}));
}

TEST_F(CudaStages, ReportAllStepsButNoPassesOfTheBlur) {
    const test::Image frame = test::RandomImage(20, 10, KyiFormatGray8, 1);
    const auto reportsOf = [&](std::int32_t disableGpu) {
        const test::Session session = Start(0, 2, disableGpu);
        const test::ProgressReports progress;
        EXPECT_EQ(KyfFocusAddImage(session.get(), frame.get(), 1, progress.Root()), KyfResultOk);
        EXPECT_NE(progress.Root()->Completed, 0);
        EXPECT_EQ(progress.Root()->Percent, 100);
        return progress.Lines();
    };
    Lines onProcessor = reportsOf(1);
    const auto isOfBlur = [](const std::string& line) { return line.starts_with("/2/"); };
    EXPECT_EQ(std::erase_if(onProcessor, isOfBlur), 3u);
    EXPECT_EQ(reportsOf(0), onProcessor);
}

TEST_F(CudaStages, TraceTheirPath) {
    const test::Image frame = test::RandomImage(20, 10, KyiFormatGray8, 1);
    const test::TraceLines lines;
    AddOne(*frame, 0, 0);
    EXPECT_TRUE(test::HasInOrder(lines.Get(), {"IsDisableGPU = false", "isEnableCuda = true", "isEnableOpenCl = false",
                                               "Begin 1st process.", "Begin processing by CUDA.", "Begin 2nd process.",
                                               "Creating edge strength data"}));
    EXPECT_FALSE(lines.Has("OpenCL is not initialized."));
    EXPECT_FALSE(lines.Has("Begin processing by CPU."));
}

TEST_F(CudaStages, AreNotTakenWhenASessionForbidsThem) {
    const test::Image frame = test::RandomImage(20, 10, KyiFormatGray8, 1);
    const test::TraceLines lines;
    m_driver->Calls.clear(); // the first test of a process has the driver initialised
    AddOne(*frame, 0, 0, /*disableGpu=*/1);
    EXPECT_TRUE(lines.Has("isEnableCuda = false"));
    EXPECT_TRUE(lines.Has("Begin processing by CPU."));
    EXPECT_EQ(m_driver->Calls, Lines());
}

TEST_F(CudaStages, LeakNothingOverAThousandFrames) {
    const test::Session session = Start(0);
    const test::Image frame = test::RandomImage(8, 8, KyiFormatGray8, 1);
    for (int i = 0; i < 1000; ++i) {
        m_driver->Calls.clear();
        ASSERT_EQ(KyfFocusAddImage(session.get(), frame.get(), i % 2, nullptr), KyfResultOk);
        ASSERT_TRUE(m_driver->Memory.empty());
    }
    EXPECT_GT(m_driver->Allocations, 7000);
}

TEST_F(CudaStages, MakeAFeaturelessFrameOfADeviceThatFailsAtAnyCall) {
    const test::Image frame = test::RandomImage(20, 10, KyiFormatGray8, 1);
    for (const std::int32_t scopeType : {0, 2}) {
        m_driver.Forget();
        const std::vector<double> whole = AddOne(*frame, scopeType, 1);
        const std::vector<double> featureless(whole.size());
        for (const char* const call :
             {"cuMemAlloc_v2", "cuModuleGetFunction", "cuMemcpyHtoD_v2_ptds", "cuLaunchKernel"}) {
            for (int from = 0; from < 12; ++from) {
                SCOPED_TRACE(std::string(call) + " " + std::to_string(from));
                m_driver.Forget();
                const std::vector<double> values = AddOneOnFailing(call, from, *frame, scopeType);
                const auto calls = std::count(m_driver->Calls.begin(), m_driver->Calls.end(), call);
                EXPECT_TRUE(test::SameValues(calls > from ? featureless : whole, values));
                EXPECT_TRUE(m_driver->Memory.empty());
                EXPECT_EQ(m_driver->Complaints, Lines());
            }
        }
    }
}

TEST_F(CudaStages, KeepZerosWhereResultsDoNotComeBack) {
    const test::Image frame = test::RandomImage(20, 10, KyiFormatGray8, 1);
    const std::vector<double> values = AddOneOnFailing("cuMemcpyDtoH_v2_ptds", 0, *frame, 0);
    EXPECT_TRUE(test::SameValues(std::vector<double>(values.size()), values));
}

TEST_F(CudaStages, RefuseAFrameTooFlatForTheGrid) {
    const test::Session session = Start(0);
    const test::Image frame = test::RandomImage(600, 2, KyiFormatGray8, 1);
    EXPECT_EQ(KyfFocusAddImage(session.get(), frame.get(), 1, nullptr), KyfResultFailAlloc);
    EXPECT_EQ(session->State3D.FrameCount, 0);
}

// ---- a whole make ------------------------------------------------------------------------------------------------

TEST_F(CudaStages, MakeTheHeightsOfTheModel) {
    const test::Case data = test::LoadCase("heightmap", "brightness_on_gpu");
    const test::Session session = test::AddGpuHeightStack(data, m_folder.Path());
    EXPECT_EQ(KyfFocusMakeCompImage(session.get(), 1, nullptr), data.Json.at("make_result").get<KyfResult>());
    EXPECT_EQ(std::count(m_driver->Kernels.begin(), m_driver->Kernels.end(), "middle_filter"), 5);
    EXPECT_TRUE(test::SameValues(test::ReadDoubles(data.File("State3D_HeightDataMap.npy")).Values,
                                 test::Flatten(session->State3D.HeightDataMap, 42, 8)));
}

} // namespace
