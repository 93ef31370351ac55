// The driver's table: opening, initialising, giving up, and what is traced of it.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <kyfocus/gpu.h>
#include <kyfocus/session.h>

#include "gpu/cuda_api.h"
#include "gpu/fake_driver.h"
#include "gpu/gpu_switches.h"
#include "gpu/intermediate_code_path.h"
#include "support/case_files.h"
#include "support/trace_lines.h"

namespace {

using Lines = std::vector<std::string>;

const Lines kOpening{"Begin CCudaAPI::LoadDll( LPCTSTR )", "Begin CCudaAPI::Initialize()", "End CCudaAPI::Initialize()",
                     "End CCudaAPI::LoadDll( LPCTSTR )"};

class CudaApi : public testing::Test {
  protected:
    void SetUp() override { kyf::SetIsDisableGpu(0); }
    void TearDown() override {
        EXPECT_EQ(m_driver->Complaints, Lines());
        kyf::SetIsDisableGpu(0);
    }

    test::FakeDriver m_driver;
};

std::string KernelFileBesideTheTest() {
    return (std::filesystem::read_symlink("/proc/self/exe").parent_path() / "CUDAKernels.cu.fatbin").string();
}

TEST_F(CudaApi, InitialisesInTheOrderOfTheDriver) {
    const test::TraceLines lines;
    kyf::CCudaAPI api;
    EXPECT_FALSE(api.IsInitialized());
    api.GetReady();
    EXPECT_TRUE(api.IsInitialized());
    EXPECT_EQ(m_driver->Calls, Lines({"cuInit", "cuDeviceGet", "cuCtxCreate_v2", "cuCtxSetCurrent", "cuModuleLoad"}));
    EXPECT_EQ(lines.Get(), kOpening);
}

TEST_F(CudaApi, TakesTheKernelsFromBesideTheProgram) {
    kyf::CCudaAPI api;
    api.GetReady();
    EXPECT_EQ(m_driver->ModulePath, KernelFileBesideTheTest());
}

/// Kernels of somebody else's in the working folder and wherever the environment points.
class PlantedKernels {
  public:
    PlantedKernels() {
        std::ofstream(m_folder.Path() / "CUDAKernels.cu.fatbin") << "not these";
        std::filesystem::current_path(m_folder.Path());
        for (const char* const name : kVariables) setenv(name, m_folder.Path().c_str(), 1);
        KyfSetIntermediateCodePath(m_folder.Path().wstring().c_str());
    }
    ~PlantedKernels() {
        for (const char* const name : kVariables) unsetenv(name);
        kyf::SetIntermediateCodePath(m_codePath.c_str());
        std::filesystem::current_path(m_before);
    }
    PlantedKernels(const PlantedKernels&) = delete;
    PlantedKernels& operator=(const PlantedKernels&) = delete;

  private:
    static constexpr const char* kVariables[] = {"CUDA_PATH", "CUDA_HOME", "CUDA_CACHE_PATH", "PWD"};
    const test::TemporaryFolder m_folder;
    const std::filesystem::path m_before = std::filesystem::current_path();
    const std::wstring m_codePath = kyf::IntermediateCodePath();
};

TEST_F(CudaApi, TakesTheKernelsFromNoOtherPlace) {
    const PlantedKernels planted;
    kyf::CCudaAPI api;
    api.GetReady();
    EXPECT_EQ(m_driver->ModulePath, KernelFileBesideTheTest());
}

TEST_F(CudaApi, InitialisesOnceHoweverOftenItIsAsked) {
    kyf::CCudaAPI api;
    api.GetReady();
    const test::TraceLines lines;
    api.GetReady();
    EXPECT_EQ(m_driver->Calls.size(), 5U);
    EXPECT_EQ(lines.Get(), Lines({"Begin CCudaAPI::Initialize()", "End CCudaAPI::Initialize()"}));
}

struct Step {
    const char* Call;
    const char* Line;
};
class CudaSteps : public CudaApi, public testing::WithParamInterface<Step> {};
TEST_P(CudaSteps, FailForGoodAndSaySo) {
    m_driver.FailAt(GetParam().Call);
    const test::TraceLines lines;
    kyf::CCudaAPI api;
    api.GetReady();
    EXPECT_FALSE(api.IsInitialized());
    std::string line = GetParam().Line;
    if (GetParam().Call == std::string("cuModuleLoad")) line.append(1, ' ').append(KernelFileBesideTheTest());
    Lines expected = kOpening;
    expected.insert(expected.begin() + 2, line);
    EXPECT_EQ(lines.Get(), expected);
    m_driver.Forget();
    api.GetReady();
    EXPECT_FALSE(api.IsInitialized());
    EXPECT_EQ(m_driver->Calls, Lines());
}
INSTANTIATE_TEST_SUITE_P(
    Steps, CudaSteps,
    testing::Values(Step{"cuInit", "Failed: this->cuInit( 0 )"}, //
                    Step{"cuDeviceGet", "Failed:  this->cuDeviceGet( &cuda_device, 0 )"},
                    Step{"cuCtxCreate_v2", "Failed:  this->cuCtxCreate( &this->m_cuda_context, 0, cuda_device )"},
                    Step{"cuCtxSetCurrent", "Failed:  this->cuCtxSetCurrent( this->m_cuda_context )"},
                    Step{"cuModuleLoad",
                         "Failed:  this->cuModuleLoad( &this->m_cuda_module, process_image_file_name )"}),
    [](const auto& test) { return std::string(test.param.Call); });

// The addresses of members lie in the object, the handles do not.
bool LiesIn(const kyf::CCudaAPI& api, const void* address) {
    const auto* const begin = reinterpret_cast<const char*>(&api);
    return address >= begin && address < begin + sizeof(api);
}

TEST_F(CudaApi, GivesUpByTheAddressesOfItsMembersWhenTheKernelsDoNotLoad) {
    m_driver.FailAt("cuModuleLoad");
    kyf::CCudaAPI api;
    api.GetReady();
    EXPECT_EQ(m_driver->Calls.back(), "cuCtxDestroy");
    EXPECT_TRUE(LiesIn(api, m_driver->Unloaded));
    EXPECT_TRUE(LiesIn(api, m_driver->Destroyed));
    EXPECT_NE(m_driver->Unloaded, m_driver->Destroyed);
}

TEST_F(CudaApi, OpensNothingWhileItIsSwitchedOffAndOpensLater) {
    kyf::CCudaAPI api;
    kyf::SetIsDisableGpu(1);
    {
        const test::TraceLines lines;
        api.GetReady();
        Lines expected = kOpening;
        expected.insert(expected.begin() + 2, "IsDisableGPU == true");
        expected.insert(expected.begin() + 1, "IsDisableGPU == true");
        EXPECT_EQ(lines.Get(), expected);
    }
    EXPECT_FALSE(api.IsInitialized());
    EXPECT_EQ(m_driver->Calls, Lines());
    kyf::SetIsDisableGpu(0);
    api.GetReady();
    EXPECT_TRUE(api.IsInitialized());
}

TEST_F(CudaApi, StaysInitialisedWhenItIsSwitchedOff) {
    kyf::CCudaAPI api;
    api.GetReady();
    kyf::SetIsDisableGpu(1);
    const test::TraceLines lines;
    api.GetReady();
    EXPECT_TRUE(api.IsInitialized());
    EXPECT_EQ(lines.Get(),
              Lines({"Begin CCudaAPI::Initialize()", "IsDisableGPU == true", "End CCudaAPI::Initialize()"}));
}

TEST_F(CudaApi, LeavesAProbedDriverReadyToInitialiseAgain) {
    kyf::CCudaAPI api;
    EXPECT_TRUE(api.Probe());
    EXPECT_FALSE(api.IsInitialized());
    EXPECT_EQ(m_driver->Calls.size(), 7U);
    EXPECT_EQ(m_driver->Calls.back(), "cuCtxDestroy");
    api.GetReady();
    EXPECT_TRUE(api.IsInitialized());
    EXPECT_EQ(m_driver->Calls.size(), 12U);
}

TEST_F(CudaApi, ProbesAFailedDriverAsAbsent) {
    m_driver.FailAt("cuInit");
    kyf::CCudaAPI api;
    EXPECT_FALSE(api.Probe());
    m_driver.Forget();
    EXPECT_FALSE(api.Probe());
    EXPECT_EQ(m_driver->Calls, Lines());
}

TEST_F(CudaApi, GivesUpAtItsEndWhatItHasInitialised) {
    {
        kyf::CCudaAPI api;
        api.GetReady();
    }
    ASSERT_EQ(m_driver->Calls.size(), 7U);
    EXPECT_EQ(m_driver->Calls[5], "cuModuleUnload");
    EXPECT_EQ(m_driver->Calls[6], "cuCtxDestroy");
    m_driver.Forget();
    {
        kyf::CCudaAPI api;
        m_driver.FailAt("cuDeviceGet");
        api.GetReady();
    }
    EXPECT_EQ(m_driver->Calls, Lines({"cuInit", "cuDeviceGet"}));
}

TEST_F(CudaApi, ForwardsItsCallsWithTheirArguments) {
    kyf::CCudaAPI api;
    api.GetReady();
    m_driver.Forget();
    const std::vector<unsigned char> sent{1, 2, 3};
    std::vector<unsigned char> received(3);
    kyf::CUdeviceptr memory = 0;
    EXPECT_EQ(api.AllocMemory(&memory, 3), 0);
    EXPECT_EQ(api.CopyToDevice(memory, sent.data(), 3), 0);
    EXPECT_EQ(api.CopyToHost(received.data(), memory, 3), 0);
    EXPECT_EQ(api.FreeMemory(memory), 0);
    EXPECT_EQ(received, sent);
    kyf::CUfunction kernel = nullptr;
    EXPECT_EQ(api.GetKernel(&kernel, "copy_green"), 0);
    EXPECT_NE(kernel, nullptr);
    EXPECT_EQ(m_driver->Calls, Lines({"cuMemAlloc_v2", "cuMemcpyHtoD_v2_ptds", "cuMemcpyDtoH_v2_ptds", "cuMemFree_v2",
                                      "cuModuleGetFunction"}));
    m_driver.FailAt("cuMemAlloc_v2");
    EXPECT_NE(api.AllocMemory(&memory, 3), 0);
}

TEST_F(CudaApi, AnswersTheHostAndSwitchesTheBackEndOn) {
    kyf::g_isDisableGpuCuda = 1;
    EXPECT_TRUE(KyfGetEnableGpuCuda());
    EXPECT_EQ(kyf::g_isDisableGpuCuda, 0);
    EXPECT_TRUE(KyfGetEnableGpuCuda());
}

TEST(CudaKernelFile, LiesInTheFolderOfTheProgram) {
    EXPECT_EQ(kyf::CudaKernelFile("/opt/host/program"), "/opt/host/CUDAKernels.cu.fatbin");
    EXPECT_EQ(kyf::CudaKernelFile("program"), "/CUDAKernels.cu.fatbin");
    EXPECT_EQ(kyf::CudaKernelFile(""), "/CUDAKernels.cu.fatbin");
}

TEST(CudaKernelFile, LooksAtThe260FirstBytesOfALongPath) {
    const std::string folder = "/" + std::string(200, 'a');
    const std::string deep = folder + "/" + std::string(57, 'b'); // 259 bytes
    EXPECT_EQ(kyf::CudaKernelFile(deep + "/program"), deep + "/CUDAKernels.cu.fatbin");
    EXPECT_EQ(kyf::CudaKernelFile(deep + "bb/program"), folder + "/CUDAKernels.cu.fatbin");
}

} // namespace
