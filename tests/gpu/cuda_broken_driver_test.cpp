// A machine whose driver cannot be used: one that lacks entry points, and none at all. The program starts itself again
// with a search path on which libcuda.so.1 is no module, so that it finds none whatever the machine has.
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>
#include <kyfocus/gpu.h>
#include <unistd.h>

#include "gpu/cuda_api.h"
#include "gpu/fake_driver.h"
#include "gpu/gpu_switches.h"
#include "support/trace_lines.h"

namespace {

using Lines = std::vector<std::string>;

TEST(AbsentCudaDriver, IsLookedForAgainEachTime) {
    kyf::CCudaAPI api;
    for (int i = 0; i < 2; ++i) {
        const test::TraceLines lines;
        api.GetReady();
        EXPECT_FALSE(api.IsInitialized());
        EXPECT_EQ(lines.Get(), Lines({"Begin CCudaAPI::LoadDll( LPCTSTR )", "Failed: AfxLoadLibrary nvcuda.dll",
                                      "Begin CCudaAPI::Initialize()", "End CCudaAPI::Initialize()",
                                      "End CCudaAPI::LoadDll( LPCTSTR )"}));
    }
}

// A module once opened may stay in the process: what opens one runs in a process of its own.
void ExpectExit(void (*check)()) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            check();
            std::_Exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
        },
        testing::ExitedWithCode(EXIT_SUCCESS), "");
}

TEST(AbsentCudaDriver, IsFoundWhenItComes) {
    ExpectExit([] {
        kyf::CCudaAPI api;
        api.GetReady();
        EXPECT_FALSE(api.IsInitialized());
        const test::OpenedModule driver(KY_FAKE_CUDA);
        api.GetReady();
        EXPECT_TRUE(api.IsInitialized());
    });
}

TEST(AbsentCudaDriver, IsToldToTheHost) { EXPECT_FALSE(KyfGetEnableGpuCuda()); }

TEST(HalfCudaDriver, FailsForGoodAndNamesWhatItLacks) {
    ExpectExit([] {
        const test::OpenedModule driver(KY_HALF_CUDA);
        kyf::CCudaAPI api;
        const test::TraceLines lines;
        api.GetReady();
        EXPECT_FALSE(api.IsInitialized());
        EXPECT_TRUE(lines.Has("nvcuda.dll lacks cuCtxCreate_v2"));
        EXPECT_FALSE(api.Probe());
        api.GetReady();
        EXPECT_FALSE(api.IsInitialized());
    });
}

TEST(CudaDriver, IsGivenUpAtTheEndOfTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            static const test::FakeDriver driver; // outlives the process's object, which is made later
            std::atexit([] {
                const bool isGivenUp = driver->Calls.back() == "cuCtxDestroy" && driver->Calls.size() == 7;
                std::_Exit(isGivenUp ? EXIT_SUCCESS : EXIT_FAILURE);
            });
            std::exit(kyf::IsCudaInitialized() ? EXIT_SUCCESS : EXIT_FAILURE);
        },
        testing::ExitedWithCode(EXIT_SUCCESS), "");
}

} // namespace

int main(int argc, char** argv) {
    constexpr const char* kSearchPath = "LD_LIBRARY_PATH";
    const char* const found = std::getenv(kSearchPath);
    const std::string before = found ? found : "";
    if (!before.starts_with(KY_NO_CUDA_FOLDER)) {
        setenv(kSearchPath, (before.empty() ? KY_NO_CUDA_FOLDER : KY_NO_CUDA_FOLDER ":" + before).c_str(), 1);
        execv("/proc/self/exe", argv);
        return EXIT_FAILURE;
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
