// A machine whose OpenCL library cannot be used: none at all, and one that lacks entry points. The program starts
// itself again with a search path on which libOpenCL.so.1 is no module, so that it finds none whatever the machine has.
#include <cstdlib>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <kyfocus/gpu.h>
#include <unistd.h>

#include "gpu/gpu_switches.h"
#include "gpu/opencl_api.h"
#include "safe3d/stack_session.h"
#include "support/trace_lines.h"

namespace {

using Lines = std::vector<std::string>;

TEST(AbsentOpenCl, IsLookedForOnce) {
    kyf::COpenCLAPI api;
    {
        const test::TraceLines lines;
        api.GetReady();
        EXPECT_EQ(lines.Get(), (Lines{"Begin COpenCLAPI::LoadDll( LPCTSTR )", "Failed: AfxLoadLibrary OpenCL.dll",
                                      "End COpenCLAPI::LoadDll( LPCTSTR )"}));
    }
    const test::TraceLines lines;
    api.GetReady();
    EXPECT_EQ(lines.Get(), Lines());
    EXPECT_TRUE(api.IsLoaded());
    EXPECT_FALSE(api.HasModule());
    EXPECT_FALSE(api.IsInitialized());
}

TEST(AbsentOpenCl, IsToldToTheHost) {
    EXPECT_FALSE(KyfGetEnableGpuOpenCl());
    EXPECT_FALSE(KyfGetEnableGpuOpenCl());
}

TEST(AbsentOpenCl, LeavesFramesToTheProcessor) {
    setenv("CUDA_VISIBLE_DEVICES", "", 1);
    const test::TemporaryFolder folder;
    const test::Session session = test::StartStack({}, folder.Path());
    session->DisableGPU = 0;
    const test::Image frame = test::RandomImage(20, 10, KyiFormatGray8, 1);
    const test::TraceLines lines;
    EXPECT_EQ(KyfFocusAddImage(session.get(), frame.get(), 0, nullptr), KyfResultOk);
    for (const char* const line :
         {"IsDisableGPU = false", "OpenCL is not initialized.", "isEnableOpenCl = false", "Begin processing by CPU."})
        EXPECT_TRUE(lines.Has(line)) << line;
}

// A module once opened may stay in the process: this runs in a process of its own.
TEST(HalfOpenCl, CountsAsNoneAndNamesWhatItLacks) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            EXPECT_NE(dlopen(KY_HALF_OPENCL, RTLD_NOW), nullptr);
            kyf::COpenCLAPI api;
            const test::TraceLines lines;
            for (int i = 0; i < 2; ++i) {
                api.GetReady();
                EXPECT_FALSE(api.IsInitialized());
                EXPECT_FALSE(api.HasModule());
            }
            EXPECT_EQ(lines.Get(), (Lines{"Begin COpenCLAPI::LoadDll( LPCTSTR )", "OpenCL.dll lacks clGetPlatformInfo",
                                          "End COpenCLAPI::LoadDll( LPCTSTR )"}));
            std::_Exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
        },
        testing::ExitedWithCode(EXIT_SUCCESS), "");
}

} // namespace

int main(int argc, char** argv) {
    constexpr const char* kSearchPath = "LD_LIBRARY_PATH";
    const char* const found = std::getenv(kSearchPath);
    const std::string before = found ? found : "";
    if (!before.starts_with(KY_NO_OPENCL_FOLDER)) {
        setenv(kSearchPath, (before.empty() ? KY_NO_OPENCL_FOLDER : KY_NO_OPENCL_FOLDER ":" + before).c_str(), 1);
        execv("/proc/self/exe", argv);
        return EXIT_FAILURE;
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
