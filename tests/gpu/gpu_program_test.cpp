// `kyfocus devices` and the options of `compose` for graphics processors, on machines that the tests make up: with the
// driver for tests, with one that lacks entry points, and with none. OpenCL is out of the way.
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "apps/run_program.h"
#include "compose_options.h"
#include "devices_command.h"
#include "gpu_options.h"
#include "gpu_probe.h"
#include "support/case_files.h"
#include "support/file_text.h"
#include "support/images.h"

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;
using test::ProgramResult;

constexpr const char* kFakeDriver = KY_FAKE_CUDA_FOLDER;
constexpr const char* kHalfDriver = KY_HALF_CUDA_FOLDER;
constexpr const char* kNoDriver = KY_NO_CUDA_FOLDER;

/// The driver that programs find while the object lives.
class Machine {
  public:
    explicit Machine(const std::string& driver) {
        const char* const before = std::getenv(kSearchPath);
        m_before = before ? before : "";
        setenv(kSearchPath, (driver + ":" KY_NO_OPENCL_FOLDER ":" + m_before).c_str(), 1);
    }
    ~Machine() { setenv(kSearchPath, m_before.c_str(), 1); }
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

  private:
    static constexpr const char* kSearchPath = "LD_LIBRARY_PATH";
    std::string m_before;
};

std::string RunDevices(const std::string& driver) {
    const Machine machine(driver);
    const ProgramResult result = test::RunProgram({"devices"});
    EXPECT_EQ(result.Status, 0) << result.Errors;
    EXPECT_EQ(result.Errors, "");
    return result.Output;
}

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST(DevicesProgram, TellsOfADriverThatWorks) {
    const std::string text = RunDevices(kFakeDriver);
    EXPECT_TRUE(Has(text, "CUDA       available\n")) << text;
    EXPECT_TRUE(Has(text, "compose takes: CUDA\n")) << text;
}

TEST(DevicesProgram, TellsWhyThereIsNone) {
    const std::string none = RunDevices(kNoDriver);
    EXPECT_TRUE(Has(none, "CUDA       not available: no driver: libcuda.so.1 cannot be opened\n")) << none;
    EXPECT_TRUE(Has(none, "OpenCL     not available: ")) << none;
    EXPECT_TRUE(Has(none, "compose takes: processor\n")) << none;
    const std::string half = RunDevices(kHalfDriver);
    EXPECT_TRUE(Has(half, "it lacks cuCtxCreate_v2\n")) << half;
}

TEST(DevicesProgram, PrintsAnObjectForPrograms) {
    const Machine machine(kNoDriver);
    const ProgramResult result = test::RunProgram({"devices", "--json"});
    const auto json = nlohmann::json::parse(result.Output);
    EXPECT_FALSE(json.at("cuda").at("available").get<bool>());
    EXPECT_EQ(json.at("cuda").at("reason"), "no driver: libcuda.so.1 cannot be opened");
    EXPECT_FALSE(json.at("opencl").at("available").get<bool>());
    EXPECT_EQ(json.at("chosen"), "processor");
}

/// A synthetic stack with heights.
class ComposeOnGpu : public testing::Test {
  protected:
    void Synthesise(const Names& more) const {
        Names arguments{"synth", "-o", Path("stack"), "--size", "96x64", "--frames", "6", "--step", "2"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        ASSERT_EQ(test::RunProgram(arguments).Status, 0);
    }

    std::string Path(const std::string& name) const { return m_folder.Path() / name; }

    ProgramResult Compose(const std::string& name, const Names& more) const {
        Names arguments{"compose",      Path("stack"),       "--progress", "none",
                        "-o",           Path(name + ".png"), "--heights",  Path("stack/heights.txt"),
                        "--height-map", Path(name + ".npy"), "--speed",    "quarter"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return test::RunProgram(arguments);
    }

    bool HaveSameHeights(const std::string& first, const std::string& second) const {
        return test::ReadText(Path(first + ".npy")) == test::ReadText(Path(second + ".npy"));
    }

    void ExpectRefusal(int status, const std::string& reason, const ProgramResult& result) const {
        EXPECT_EQ(result.Status, status);
        EXPECT_TRUE(Has(result.Errors, reason)) << result.Errors;
        EXPECT_FALSE(fs::exists(Path("a.png")));
    }

    test::TemporaryFolder m_folder;
};

TEST_F(ComposeOnGpu, RefusesABackEndThatIsNotThere) {
    Synthesise({});
    const Machine machine(kNoDriver);
    ExpectRefusal(1, "--gpu cuda: CUDA is not available: no driver", Compose("a", {"--mode", "3d", "--gpu", "cuda"}));
    ExpectRefusal(1, "--gpu opencl: OpenCL is not available: ", Compose("a", {"--mode", "3d", "--gpu", "opencl"}));
}

TEST_F(ComposeOnGpu, RefusesOpenClWhereTheLibraryTakesCuda) {
    Synthesise({});
    const Machine machine(kFakeDriver);
    ExpectRefusal(1, "the library takes it before OpenCL, expected --gpu cuda",
                  Compose("a", {"--mode", "3d", "--gpu", "opencl"}));
}

TEST_F(ComposeOnGpu, RefusesOptionsThatContradictEachOther) {
    Synthesise({});
    ExpectRefusal(2, "--gpu and --no-gpu contradict each other", Compose("a", {"--gpu", "auto", "--no-gpu"}));
    ExpectRefusal(2, "--gpu cuda is for --mode 3d or complex, the mode is 2d",
                  Compose("a", {"--mode", "2d", "--gpu", "cuda"}));
    ExpectRefusal(2, "'metal' is not one of auto, cuda, opencl", Compose("a", {"--gpu", "metal"}));
}

// Heights tell the two apart: without threads CUDA judges colour by blue, the processor by green.
TEST_F(ComposeOnGpu, TakesCudaByItsName) {
    Synthesise({});
    const Names mode{"--mode", "3d", "--no-parallel"};
    const auto with = [&](Names more) {
        more.insert(more.end(), mode.begin(), mode.end());
        return more;
    };
    {
        const Machine machine(kFakeDriver);
        EXPECT_EQ(Compose("auto", with({})).Status, 0);
        const ProgramResult cuda = Compose("cuda", with({"--gpu", "cuda"}));
        EXPECT_EQ(cuda.Status, 0);
        EXPECT_TRUE(Has(cuda.Errors, "warning: --gpu judges colour by its blue alone")) << cuda.Errors;
        EXPECT_EQ(Compose("none", with({"--no-gpu"})).Status, 0);
    }
    const Machine machine(kNoDriver);
    EXPECT_EQ(Compose("processor", with({})).Status, 0);
    EXPECT_TRUE(HaveSameHeights("none", "processor"));
    EXPECT_FALSE(HaveSameHeights("cuda", "none"));
    EXPECT_TRUE(HaveSameHeights("auto", "none")) << "colour in one thread stays on the processor";
}

// Images tell the two apart: where a plane fills holes, the median that follows goes by a mask of its own on CUDA.
TEST_F(ComposeOnGpu, TakesCudaByItself) {
    Synthesise({});
    const Names mode{"--mode", "3d", "--plane", "bottom"};
    const auto with = [&](Names more) {
        more.insert(more.end(), mode.begin(), mode.end());
        return more;
    };
    const Machine machine(kFakeDriver);
    EXPECT_EQ(Compose("auto", with({})).Status, 0);
    EXPECT_EQ(Compose("cuda", with({"--gpu", "cuda"})).Status, 0);
    EXPECT_EQ(Compose("none", with({"--no-gpu"})).Status, 0);
    EXPECT_TRUE(HaveSameHeights("auto", "none"));
    EXPECT_EQ(test::ReadText(Path("auto.png")), test::ReadText(Path("cuda.png")));
    EXPECT_NE(test::ReadText(Path("auto.png")), test::ReadText(Path("none.png")));
}

TEST_F(ComposeOnGpu, LeavesFramesToTheProcessorThatAGpuWouldSpoil) {
    Synthesise({"--bits", "16"});
    const Machine machine(kFakeDriver);
    EXPECT_EQ(Compose("auto", {"--mode", "3d"}).Status, 0);
    EXPECT_EQ(Compose("none", {"--mode", "3d", "--no-gpu"}).Status, 0);
    const ProgramResult cuda = Compose("cuda", {"--mode", "3d", "--gpu", "cuda"});
    EXPECT_EQ(cuda.Status, 0);
    EXPECT_TRUE(Has(cuda.Errors, "warning: --gpu judges single bytes of 16-bit frames")) << cuda.Errors;
    EXPECT_TRUE(HaveSameHeights("auto", "none"));
    EXPECT_FALSE(HaveSameHeights("cuda", "none"));
}

// ---- parts -------------------------------------------------------------------------------------------------------

TEST(GpuProbe, TakesTheLastTroubleForTheReason) {
    EXPECT_EQ(app::ReasonOf({"Begin CCudaAPI::Initialize()", "Failed: this->cuInit( 0 )"}),
              "the driver finds no device that it can use");
    EXPECT_EQ(app::ReasonOf({"err = -1", "param_value_size == 0"}), "the first platform has no graphics processor");
    EXPECT_EQ(app::ReasonOf({"Failed:  this->cuModuleLoad( &this->m_cuda_module, process_image_file_name ) /a/b"}),
              "the kernels are missing or do not fit device 0: /a/b");
    EXPECT_EQ(app::ReasonOf({"Failed:  this->cuDeviceGet( &cuda_device, 0 )"}), "the driver gives no device 0");
    EXPECT_EQ(app::ReasonOf({"Failed:  this->cuCtxCreate( &this->m_cuda_context, 0, cuda_device )"}),
              "device 0 cannot be opened");
    EXPECT_EQ(app::ReasonOf({}), "the library does not tell why");
}

TEST(GpuProbe, KeepsThatADeviceLacksDoubles) {
    const std::string lack = "cl_khr_fp64 is not supported on this device.";
    EXPECT_EQ(app::ReasonOf({lack, "err = -11", "OpenCL: m_program = nullptr"}),
              "the kernels cannot be compiled for the device, they need doubles (cl_khr_fp64), which a device lacks");
    EXPECT_EQ(app::ReasonOf({lack, "param_value_size == 0"}), "the first platform has no graphics processor");
    EXPECT_EQ(app::DetailsOf({"Platform 0:", "  Device 0:", "    Extensions: a", lack, "  Device 1:"}),
              Names({"Platform 0:", "  Device 0:", "    " + lack, "  Device 1:"}));
}

TEST(GpuProbe, AnswersWithoutAFolderForTheReasons) {
    setenv("TMPDIR", "/nowhere", 1);
    const app::BackEnd cuda = app::ProbeCuda();
    unsetenv("TMPDIR");
    EXPECT_EQ(cuda.Reason, cuda.IsAvailable ? "" : "the library does not tell why");
}

TEST(GpuProbe, ShowsPlatformsAndDevicesWithoutTheirExtensions) {
    EXPECT_EQ(app::DetailsOf({"Begin x", "Number of OpenCL platforms: 1", "Platform 0:", "  Name: A",
                              "  Device 0:", "    Extensions: a b c", "cl_khr_fp64 is supported!"}),
              Names({"Platform 0:", "  Name: A", "  Device 0:"}));
}

TEST(GpuProbe, NamesWhatComposeTakes) {
    const app::BackEnd cuda{"CUDA", true, "", {}};
    const app::BackEnd openCl{"OpenCL", true, "", {}};
    const app::BackEnd none{"none", false, "reason", {}};
    EXPECT_TRUE(Has(app::DescribeDevices(cuda, openCl), "compose takes: CUDA\n"));
    EXPECT_TRUE(Has(app::DescribeDevices(none, openCl), "compose takes: OpenCL\n"));
    EXPECT_TRUE(Has(app::DescribeDevices(none, none), "compose takes: processor\n"));
    EXPECT_FALSE(nlohmann::json::parse(app::FormatDevicesJson({"x", false, "\xFF", {}}, none)).empty());
}

TEST(GpuOptions, KnowWhatAGpuSpoils) {
    KyfFocusCompositionParameter settings{};
    for (const std::int32_t format : test::AllFormats()) {
        const test::Image frame = test::RandomImage(2, 2, format, 1);
        EXPECT_EQ(app::SpoilsOnGpu(settings, *frame), KyiGetMaxVal(format) > 255) << format;
    }
    const test::Image gray = test::RandomImage(2, 2, KyiFormatGray8, 1);
    for (const std::int32_t scope : {0, 1, 2, 3}) {
        settings.ScopeType = scope;
        EXPECT_EQ(app::SpoilsOnGpu(settings, *gray), scope >= 2) << scope;
    }
}

TEST(GpuOptions, LeaveColourInOneThreadToTheProcessor) {
    for (const std::int32_t format : {KyiFormatGray8, KyiFormatBgr24, KyiFormatBgr32}) {
        const test::Image frame = test::RandomImage(2, 2, format, 1);
        app::ComposeOptions options;
        options.NoParallel = true;
        EXPECT_EQ(app::SessionSettings(options, *frame).DisableGPU, format == KyiFormatGray8 ? 0 : 1) << format;
        options.Gpu = app::GpuChoice::Cuda;
        EXPECT_EQ(app::SessionSettings(options, *frame).DisableGPU, 0) << format;
    }
}

TEST(GpuOptions, KeepTheChoiceOfTheSettingsUnlessTheLineHasOne) {
    app::ComposeOptions options;
    options.Settings.DisableGPU = 1;
    app::CompleteGpuOptions(options);
    EXPECT_EQ(options.Settings.DisableGPU, 1);
    options.Gpu = app::GpuChoice::Auto;
    options.Given = {"--gpu"};
    app::CompleteGpuOptions(options);
    EXPECT_EQ(options.Settings.DisableGPU, 0);
}

} // namespace
