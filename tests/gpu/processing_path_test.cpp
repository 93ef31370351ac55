// The choice of the path on machines with both back ends, or with an OpenCL that cannot build the frame kernels. What a
// back end has come to stays for the process: each case runs in one of its own.
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gpu/fake_driver.h"
#include "gpu/intermediate_code_path.h"
#include "gpu/opencl_device.h"
#include "gpu/opencl_program.h"
#include "reference/median.h"
#include "safe3d/maps.h"
#include "safe3d/middle_filter.h"
#include "safe3d/stack_session.h"

namespace {

using Lines = std::vector<std::string>;

void ExpectExit(void (*check)()) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            check();
            std::_Exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
        },
        testing::ExitedWithCode(EXIT_SUCCESS), "");
}

// Without threads a graphics processor judges colour by blue, the processor by green.
std::vector<double> AddColour(std::int32_t disableGpu, Lines* lines = nullptr) {
    const test::TemporaryFolder folder;
    const test::Session session = test::StartStack({}, folder.Path());
    session->DisableGPU = disableGpu;
    const test::Image frame = test::RandomImage(70, 20, KyiFormatBgr24, 1);
    const test::TraceLines trace;
    EXPECT_EQ(KyfFocusAddImage(session.get(), frame.get(), 0, nullptr), KyfResultOk);
    if (lines) *lines = trace.Get();
    return test::ToList(*session->EdgeFrames[0]);
}

/// OpenCL is there, the program of the frame kernels is not, and never will be.
void LoseTheProgram() {
    setenv("CUDA_VISIBLE_DEVICES", "", 1);
    ASSERT_EQ(test::OpenClDouble::Get().Missing(), "");
    const test::TemporaryFolder folder;
    kyf::SetIntermediateCodePath(folder.Path().wstring().c_str());
    ASSERT_TRUE(kyf::IsOpenClInitialized());
    test::OpenClDouble::Get().Failure = {"clBuildProgram", 0, CL_BUILD_PROGRAM_FAILURE};
    ASSERT_FALSE(kyf::HasOpenClProgram());
    test::OpenClDouble::Get().Reset();
}

TEST(ProcessingPath, TakesCudaFirstAndGetsOpenClReadyAllTheSame) {
    ExpectExit([] {
        const test::FakeDriver driver;
        Lines lines;
        AddColour(0, &lines);
        EXPECT_TRUE(test::HasInOrder(lines, {"IsDisableGPU = false", "Begin CCudaAPI::LoadDll( LPCTSTR )",
                                             "isEnableCuda = true", "Begin COpenCLAPI::LoadDll( LPCTSTR )",
                                             "isEnableOpenCl = false", "Begin 1st process.",
                                             "Begin processing by CUDA.", "Begin 2nd process."}));
        EXPECT_TRUE(kyf::COpenCLAPI::TheInstance().IsInitialized());
        EXPECT_EQ(test::CountLines(lines, "OpenCL is initialized."), 0);
        EXPECT_EQ(test::CountLines(lines, "Begin COpenCLProgram::GetProgram()"), 0);
        EXPECT_TRUE(test::OpenClDouble::Get().Launches.empty());
        EXPECT_FALSE(driver->Kernels.empty());
    });
}

TEST(ProcessingPath, IsTheProcessorWithoutTheProgramOfTheFrameKernels) {
    ExpectExit([] {
        LoseTheProgram();
        Lines lines;
        const std::vector<double> values = AddColour(0, &lines);
        EXPECT_TRUE(
            test::HasInOrder(lines, {"isEnableCuda = false", "OpenCL is initialized.", "OpenCL: program == nullptr",
                                     "isEnableOpenCl = false", "Begin processing by CPU."}));
        EXPECT_TRUE(test::OpenClDouble::Get().Launches.empty());
        EXPECT_TRUE(test::SameValues(AddColour(1), values));
    });
}

TEST(ProcessingPath, OfTheMedianDoesNotAskForThatProgram) {
    ExpectExit([] {
        LoseTheProgram();
        const test::MapShape shape{20, 10};
        const std::vector<std::int32_t> samples = test::RandomSamples(200, 0, 65535, 1);
        const std::vector<std::int32_t> mask(200);
        const test::Uint16Image image = test::NewUint16(shape, samples);
        EXPECT_EQ(kyf::MiddleFilter(*image, *test::NewMask(shape, mask), 11, 0), 1);
        EXPECT_EQ(test::OpenClDouble::Get().Launches, Lines({"32x16/16x16"}));
        EXPECT_EQ(test::ToList(*image), reference::MiddleFilter({20, 10, samples}, {20, 10, mask}, 11).Values);
    });
}

} // namespace
