// The program of the frame kernels: built from its text, kept in a file, loaded from there, and what goes wrong.
#include "gpu/opencl_program.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "gpu/intermediate_code_path.h"
#include "gpu/opencl_device.h"
#include "gpu/opencl_source.h"

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

const std::string kGet = "COpenCLProgram::GetProgram()";
const std::string kLog = "COpenCLProgram::PutBuildInfoLog()";

std::string ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFile(const fs::path& path, const std::string& content) { std::ofstream(path, std::ios::binary) << content; }

/// Each test has a folder of compiled programs of its own, not made yet.
class OpenClProgram : public test::OpenClTest {
  protected:
    void SetUp() override {
        OpenClTest::SetUp();
        kyf::SetIntermediateCodePath(Folder().wstring().c_str());
        m_api.GetReady();
        ASSERT_TRUE(m_api.IsInitialized());
        Double().Reset();
    }

    fs::path Folder() const { return m_folder.Path() / "made" / "by the library"; }
    fs::path File() const { return Folder() / "OpenCLFile.bin"; }

    /// A new object's attempt, as in a new process.
    Lines Attempt(bool& hasProgram) const {
        kyf::COpenCLProgram program;
        const test::TraceLines trace;
        hasProgram = program.GetProgram(m_api) != nullptr;
        EXPECT_EQ(program.Program() != nullptr, hasProgram);
        return trace.Get();
    }

    void MakeFile() const {
        kyf::COpenCLProgram program;
        ASSERT_NE(program.GetProgram(m_api), nullptr);
        ASSERT_GT(fs::file_size(File()), 0u);
    }

    static Lines BuildLines() {
        return {"OpenCL: Create Program Width Source.", "OpenCL: Build Program.",
                "OpenCL: Get program binary sizes.",    "OpenCL: Get program binaries.",
                "OpenCL: Output program binaries.",     "OpenCL: Created program binaries."};
    }

    kyf::COpenCLAPI m_api;
    test::TemporaryFolder m_folder;
};

TEST_F(OpenClProgram, IsBuiltFromItsTextAndLeftInAFileOfItsOwner) {
    bool hasProgram = false;
    const Lines lines = Attempt(hasProgram);
    EXPECT_TRUE(hasProgram);
    Lines expected{"Begin " + kGet, File().string()};
    for (const std::string& line : BuildLines()) expected.push_back(line);
    expected.push_back("End " + kGet);
    EXPECT_EQ(lines, expected);
    ASSERT_EQ(Double().Sources.size(), 1u);
    EXPECT_EQ(Double().Sources[0], std::string(kyf::g_frameKernelText, 5086)) << "the terminator goes with the text";
    EXPECT_EQ(Double().Options, Lines{"(none)"});
    EXPECT_EQ(Double().BuildDeviceCounts, std::vector<cl_uint>{1});
    EXPECT_GT(fs::file_size(File()), 0u);
    EXPECT_EQ(fs::status(File()).permissions(), fs::perms(0600));
    EXPECT_EQ(fs::status(Folder()).permissions(), fs::perms(0700));
    EXPECT_EQ(fs::status(Folder().parent_path()).permissions(), fs::perms(0700));
}

TEST_F(OpenClProgram, IsLoadedFromTheFileOfAnEarlierProcess) {
    MakeFile();
    const std::string content = ReadFile(File());
    Double().Reset();
    bool hasProgram = false;
    EXPECT_EQ(Attempt(hasProgram), (Lines{"Begin " + kGet, "End " + kGet}));
    EXPECT_TRUE(hasProgram);
    EXPECT_EQ(Double().Calls["clCreateProgramWithBinary"], 1);
    EXPECT_EQ(Double().Calls["clCreateProgramWithSource"], 0);
    EXPECT_EQ(ReadFile(File()), content);
}

TEST_F(OpenClProgram, IsGotOnce) {
    kyf::COpenCLProgram program;
    EXPECT_EQ(program.Program(), nullptr);
    const cl_program first = program.GetProgram(m_api);
    const test::TraceLines trace;
    EXPECT_EQ(program.GetProgram(m_api), first);
    EXPECT_EQ(trace.Get(), (Lines{"Begin " + kGet, "End " + kGet}));
    EXPECT_EQ(Double().Calls["clCreateProgramWithSource"], 1);
}

TEST_F(OpenClProgram, ReplacesAFileThatTheDriverDoesNotTake) {
    MakeFile();
    const std::string good = ReadFile(File());
    for (const std::string& content : {std::string(), std::string("x"), std::string(5000, '\0'),
                                       std::string("\x7F"
                                                   "ELF of another driver"),
                                       good.substr(0, good.size() / 2)}) {
        SCOPED_TRACE(std::to_string(content.size()) + " bytes");
        WriteFile(File(), content);
        Double().Reset();
        // Half a binary is refused by the drivers of graphics processors; PoCL ends the process.
        if (content.size() == good.size() / 2) Fail("clCreateProgramWithBinary", 1, CL_INVALID_BINARY);
        bool hasProgram = false;
        const Lines lines = Attempt(hasProgram);
        EXPECT_TRUE(hasProgram);
        EXPECT_TRUE(test::HasInOrder(lines, BuildLines()));
        EXPECT_TRUE(lines[1].starts_with("status = ") || lines[1].starts_with("err = ")) << lines[1];
        EXPECT_EQ(Double().Calls["clCreateProgramWithBinary"], 1);
        EXPECT_GT(ReadFile(File()).size(), good.size() / 2);
    }
}

TEST_F(OpenClProgram, TracesStatusAndErrorOfABinaryWithItsPath) {
    MakeFile();
    Fail("clCreateProgramWithBinary", 1, -42);
    bool hasProgram = false;
    EXPECT_TRUE(test::HasInOrder(Attempt(hasProgram), {"Begin " + kGet, "status = 0 err = -42 " + File().string(),
                                                       "OpenCL: Create Program Width Source."}));
    EXPECT_TRUE(hasProgram);
}

TEST_F(OpenClProgram, TracesTheBuildLogOfABinaryThatDoesNotBuild) {
    MakeFile();
    Double().Reset();
    Fail("clBuildProgram", 1, -11);
    bool hasProgram = false;
    EXPECT_TRUE(test::HasInOrder(Attempt(hasProgram),
                                 {"Begin " + kGet, "err = -11", "Begin " + kLog, "End " + kLog,
                                  "OpenCL: Create Program Width Source.", "OpenCL: Output program binaries."}));
    EXPECT_TRUE(hasProgram);
}

TEST_F(OpenClProgram, IsNotReadThroughALinkNorWrittenThroughOne) {
    MakeFile();
    const fs::path planted = m_folder.Path() / "planted";
    fs::rename(File(), planted);
    const std::string content = ReadFile(planted);
    fs::create_symlink(planted, File());
    Double().Reset();
    bool hasProgram = false;
    EXPECT_TRUE(test::HasInOrder(Attempt(hasProgram), {File().string(), "OpenCL: Output program binaries."}));
    EXPECT_TRUE(hasProgram);
    EXPECT_EQ(Double().Calls["clCreateProgramWithBinary"], 0);
    EXPECT_FALSE(fs::is_symlink(File()));
    EXPECT_EQ(ReadFile(planted), content);
}

TEST_F(OpenClProgram, IsNotReadWhereOthersMayWriteTheFile) {
    MakeFile();
    fs::permissions(File(), fs::perms(0666));
    Double().Reset();
    bool hasProgram = false;
    Attempt(hasProgram);
    EXPECT_TRUE(hasProgram);
    EXPECT_EQ(Double().Calls["clCreateProgramWithBinary"], 0);
    EXPECT_EQ(fs::status(File()).permissions(), fs::perms(0600));
}

// A folder below a plain file can be made by nobody, not even by root.
TEST_F(OpenClProgram, IsBuiltAnewEachTimeWhereNoFileCanBeWritten) {
    WriteFile(m_folder.Path() / "plain", "a file");
    for (const fs::path& folder : {m_folder.Path() / "plain" / "folder", fs::path()}) {
        kyf::SetIntermediateCodePath(folder.wstring().c_str());
        for (int process = 0; process < 2; ++process) {
            Double().Reset();
            bool hasProgram = false;
            const Lines lines = Attempt(hasProgram);
            EXPECT_TRUE(hasProgram);
            EXPECT_EQ(test::CountLines(lines, "OpenCL: Output program binaries."), 0);
            EXPECT_EQ(test::CountLines(lines, "OpenCL: Created program binaries."), 1);
            EXPECT_EQ(Double().Calls["clCreateProgramWithSource"], 1);
        }
    }
    EXPECT_FALSE(fs::exists("/OpenCLFile.bin"));
}

TEST_F(OpenClProgram, LeavesAFolderThatHasTheFilesName) {
    fs::create_directories(File());
    bool hasProgram = false;
    EXPECT_TRUE(test::HasInOrder(Attempt(hasProgram), {File().string(), "OpenCL: Created program binaries."}));
    EXPECT_TRUE(hasProgram);
    EXPECT_TRUE(fs::is_directory(File()));
}

TEST_F(OpenClProgram, FailsForGoodWithACallOfTheBuildThatFails) {
    struct Step {
        std::string Name;
        int Call;
        std::string Before;
        bool HasLog;
    };
    const std::vector<Step> steps{{"clCreateProgramWithSource", 1, "OpenCL: Create Program Width Source.", false},
                                  {"clBuildProgram", 1, "OpenCL: Build Program.", true},
                                  {"clGetProgramInfo", 1, "OpenCL: Get program binary sizes.", false},
                                  {"clGetProgramInfo", 2, "OpenCL: Get program binaries.", false}};
    for (const Step& step : steps) {
        SCOPED_TRACE(step.Name + " " + std::to_string(step.Call));
        Double().Reset();
        Fail(step.Name, step.Call, -5);
        kyf::COpenCLProgram program;
        const test::TraceLines trace;
        EXPECT_EQ(program.GetProgram(m_api), nullptr);
        EXPECT_TRUE(
            test::HasInOrder(trace.Get(), {step.Before, "err = -5", "OpenCL: m_program = nullptr", "End " + kGet}));
        EXPECT_EQ(trace.Has("Begin " + kLog), step.HasLog);
        EXPECT_FALSE(fs::exists(File()));
        Double().Reset();
        EXPECT_EQ(program.GetProgram(m_api), nullptr) << "not tried again";
        EXPECT_TRUE(Double().Calls.empty());
    }
}

TEST_F(OpenClProgram, IsNotHadWithoutTheListOfDevices) {
    kyf::COpenCLAPI api;
    Fail("clGetContextInfo", 2, -30);
    api.GetReady();
    ASSERT_TRUE(api.IsInitialized());
    kyf::COpenCLProgram program;
    const test::TraceLines trace;
    EXPECT_EQ(program.GetProgram(api), nullptr);
    EXPECT_TRUE(test::HasInOrder(trace.Get(), {"OpenCL: Build Program.", "OpenCL: m_program = nullptr"}));
}

TEST_F(OpenClProgram, TracesWhatTheCompilerSays) {
    const char* text = "kernel void f(global int *a) { a[0] = no_such_name; }";
    cl_int error = 0;
    const cl_program program = m_api.Table().clCreateProgramWithSource(*m_api.Context(), 1, &text, nullptr, &error);
    ASSERT_EQ(error, CL_SUCCESS);
    const cl_device_id device = m_api.FirstDevice();
    EXPECT_NE(m_api.Table().clBuildProgram(program, 1, &device, "", nullptr, nullptr), CL_SUCCESS);
    {
        const test::TraceLines trace;
        kyf::PutBuildInfoLog(m_api, program);
        const Lines lines = trace.Get();
        ASSERT_EQ(lines.size(), 3u);
        EXPECT_NE(lines[1].find("no_such_name"), std::string::npos) << lines[1];
    }
    for (const int call : {1, 2}) {
        Double().Reset();
        Fail("clGetProgramBuildInfo", call, -33);
        const test::TraceLines trace;
        kyf::PutBuildInfoLog(m_api, program);
        EXPECT_EQ(trace.Get(), (Lines{"Begin " + kLog, "err = -33", "End " + kLog}));
    }
}

TEST(OpenClSource, HasTheLengthThatDriversAreGiven) {
    EXPECT_EQ(std::string(kyf::g_frameKernelText).size(), 5085u);
    EXPECT_EQ(std::string(kyf::g_frameKernelText).find("#pragma OPENCL EXTENSION"), std::string::npos);
    EXPECT_NE(std::string(kyf::g_frameKernelText).find("#pragma OPENCL FP_CONTRACT OFF"), std::string::npos);
}

} // namespace
