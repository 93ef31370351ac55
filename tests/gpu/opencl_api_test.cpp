// Loading OpenCL and making context and queue, with what is traced on the way.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gpu/opencl_device.h"

namespace {

using Lines = std::vector<std::string>;
using OpenClApi = test::OpenClTest;

const std::string kLoad = "COpenCLAPI::LoadDll( LPCTSTR )";
const std::string kInitialize = "COpenCLAPI::Initialize()";
const std::string kEnvironment = "logOpenCLEnvironment( COpenCLAPI& )";

/// Lines outside the environment log.
Lines WithoutEnvironment(Lines lines) {
    const auto begin = std::find(lines.begin(), lines.end(), "Begin " + kEnvironment);
    const auto end = std::find(begin, lines.end(), "End " + kEnvironment);
    if (end != lines.end()) lines.erase(begin, end + 1);
    return lines;
}

Lines Environment(const Lines& lines) {
    const auto begin = std::find(lines.begin(), lines.end(), "Begin " + kEnvironment);
    const auto end = std::find(begin, lines.end(), "End " + kEnvironment);
    return begin == lines.end() ? Lines() : Lines(begin + 1, end);
}

/// What GetReady traces on a new object, the first one's load included.
Lines TraceGetReady(kyf::COpenCLAPI& api) {
    const test::TraceLines trace;
    api.GetReady();
    return trace.Get();
}

TEST_F(OpenClApi, IsReadyWithContextDevicesAndQueue) {
    kyf::COpenCLAPI api;
    EXPECT_FALSE(api.IsLoaded());
    EXPECT_FALSE(api.IsInitialized());
    const Lines lines = TraceGetReady(api);
    EXPECT_EQ(WithoutEnvironment(lines),
              (Lines{"Begin " + kLoad, "End " + kLoad, "Begin " + kInitialize, "End " + kInitialize}));
    EXPECT_TRUE(api.IsLoaded());
    EXPECT_TRUE(api.HasModule());
    EXPECT_TRUE(api.IsInitialized());
    EXPECT_NE(*api.Context(), nullptr);
    EXPECT_NE(*api.CommandQueue(), nullptr);
    EXPECT_GE(api.Devices().size(), 1u);
    EXPECT_EQ(api.FirstDevice(), api.Devices().front());
}

TEST_F(OpenClApi, IsGotReadyOnce) {
    kyf::COpenCLAPI api;
    api.GetReady();
    const cl_context context = *api.Context();
    EXPECT_EQ(TraceGetReady(api), Lines());
    EXPECT_EQ(*api.Context(), context);
    EXPECT_EQ(Double().Calls["clCreateContextFromType"], 1);
    EXPECT_EQ(Double().Calls["clCreateCommandQueue"], 1);
}

TEST_F(OpenClApi, IsOneObjectForTheProcess) {
    kyf::COpenCLAPI& api = kyf::COpenCLAPI::GetInstance();
    EXPECT_TRUE(api.IsInitialized());
    EXPECT_EQ(&api, &kyf::COpenCLAPI::GetInstance());
    EXPECT_EQ(&api, &kyf::COpenCLAPI::TheInstance());
}

TEST_F(OpenClApi, IsNotLoadedWhileSwitchedOffAndLoadsLater) {
    kyf::g_isDisableGpuOpenCl = 1;
    kyf::COpenCLAPI api;
    EXPECT_EQ(TraceGetReady(api), (Lines{"Begin " + kLoad, "IsDisableGPU == true", "End " + kLoad}));
    EXPECT_FALSE(api.IsLoaded());
    EXPECT_TRUE(Double().Calls.empty());
    kyf::g_isDisableGpuOpenCl = 0;
    api.GetReady();
    EXPECT_TRUE(api.IsInitialized());
}

TEST_F(OpenClApi, StaysReadyWhileSwitchedOff) {
    kyf::COpenCLAPI api;
    api.GetReady();
    kyf::g_isDisableGpuOpenCl = 1;
    EXPECT_EQ(TraceGetReady(api), Lines());
    EXPECT_TRUE(api.IsInitialized());
}

TEST_F(OpenClApi, IsNotInitializedWithoutAPlatformAndTriesAgain) {
    Double().ShowsPlatforms = false;
    kyf::COpenCLAPI api;
    EXPECT_EQ(WithoutEnvironment(TraceGetReady(api)), (Lines{"Begin " + kLoad, "End " + kLoad, "Begin " + kInitialize,
                                                             "num_platforms == 0", "End " + kInitialize}));
    EXPECT_TRUE(api.IsLoaded());
    EXPECT_FALSE(api.IsInitialized());
    Double().ShowsPlatforms = true;
    EXPECT_EQ(TraceGetReady(api), (Lines{"Begin " + kInitialize, "End " + kInitialize})) << "is not loaded again";
    EXPECT_TRUE(api.IsInitialized());
}

TEST_F(OpenClApi, TracesAnErrorOfCountingPlatforms) {
    kyf::COpenCLAPI api;
    Fail("clGetPlatformIDs", 0, -1001);
    const Lines lines = WithoutEnvironment(TraceGetReady(api));
    EXPECT_TRUE(test::HasInOrder(lines, {"Begin " + kInitialize, "err = -1001", "num_platforms == 0"}));
    EXPECT_FALSE(api.IsInitialized());
}

TEST_F(OpenClApi, IsNotInitializedOnAFirstPlatformWithoutAGraphicsProcessor) {
    Double().ShowsGraphicsProcessor = false;
    kyf::COpenCLAPI api;
    const Lines lines = WithoutEnvironment(TraceGetReady(api));
    EXPECT_TRUE(
        test::HasInOrder(lines, {"Begin " + kInitialize, "err = -1", "param_value_size == 0", "End " + kInitialize}));
    EXPECT_FALSE(api.IsInitialized());
    EXPECT_EQ(Double().Calls["clCreateCommandQueue"], 0);
}

TEST_F(OpenClApi, IsInitializedWhateverFailsPastTheSizeOfTheDeviceList) {
    for (const auto& [name, call] : {std::pair<std::string, int>{"clGetContextInfo", 2}, {"clCreateCommandQueue", 1}}) {
        SCOPED_TRACE(name);
        Double().Reset();
        Fail(name, call, -6);
        kyf::COpenCLAPI api;
        const Lines lines = WithoutEnvironment(TraceGetReady(api));
        EXPECT_TRUE(test::HasInOrder(lines, {"Begin " + kInitialize, "err = -6", "End " + kInitialize}));
        EXPECT_TRUE(api.IsInitialized());
    }
}

TEST_F(OpenClApi, DescribesPlatformsAndDevices) {
    kyf::COpenCLAPI api;
    const Lines lines = Environment(TraceGetReady(api));
    ASSERT_GE(lines.size(), 11u);
    EXPECT_EQ(lines[0], "Number of OpenCL platforms: 1");
    EXPECT_EQ(lines[1], "Platform 0:");
    EXPECT_EQ(lines[2], "  Name: Portable Computing Language");
    EXPECT_TRUE(lines[3].starts_with("  Version: OpenCL ")) << lines[3];
    EXPECT_TRUE(lines[4].starts_with("  Number of devices: ")) << lines[4];
    EXPECT_EQ(lines[5], "  Device 0:");
    EXPECT_TRUE(lines[6].starts_with("    Name: ")) << lines[6];
    EXPECT_EQ(lines[7], "    Type: CPU");
    EXPECT_TRUE(lines[8].starts_with("    Max Work Group Size: ")) << lines[8];
    EXPECT_TRUE(lines[9].starts_with("    Global Memory Size: ") && lines[9].ends_with(" MB")) << lines[9];
    EXPECT_TRUE(lines[10].starts_with("    Extensions: ")) << lines[10];
    EXPECT_EQ(lines[11], "cl_khr_fp64 is supported!");
}

TEST_F(OpenClApi, DescribesNothingWithoutATrace) {
    kyf::COpenCLAPI api;
    api.GetReady();
    EXPECT_EQ(Double().Calls["clGetPlatformInfo"], 0);
    EXPECT_EQ(Double().Calls["clGetDeviceInfo"], 0);
}

TEST_F(OpenClApi, EndsAListOfTheDescriptionWithTheQueryThatFails) {
    struct Step {
        std::string Name;
        int Call;
        std::string Last; // line before the error, up to its colon
    };
    const std::vector<Step> steps{{"clGetPlatformIDs", 1, ""},
                                  {"clGetPlatformIDs", 2, "Number of OpenCL platforms"},
                                  {"clGetPlatformInfo", 1, "Platform 0"},
                                  {"clGetPlatformInfo", 4, "  Name"},
                                  {"clGetDeviceIDs", 1, "  Version"},
                                  {"clGetDeviceIDs", 2, "  Number of devices"},
                                  {"clGetDeviceInfo", 1, "  Device 0"},
                                  {"clGetDeviceInfo", 3, "    Name"},
                                  {"clGetDeviceInfo", 4, "    Type"},
                                  {"clGetDeviceInfo", 5, "    Max Work Group Size"},
                                  {"clGetDeviceInfo", 6, "    Global Memory Size"}};
    for (const Step& step : steps) {
        SCOPED_TRACE(step.Name + " " + std::to_string(step.Call));
        Double().Reset();
        Fail(step.Name, step.Call, -30);
        kyf::COpenCLAPI api;
        const Lines lines = Environment(TraceGetReady(api));
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.back(), "err = -30");
        EXPECT_EQ(lines.size() > 1 ? lines[lines.size() - 2].substr(0, step.Last.size()) : "", step.Last);
        EXPECT_TRUE(api.IsInitialized()) << "the description is for the log alone";
    }
}

} // namespace
