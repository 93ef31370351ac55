#include "gpu/opencl_program.h"

#include <algorithm>
#include <memory>
#include <new>
#include <string>

#include <kyfocus/gpu.h>

#include "gpu/gpu_switches.h"
#include "gpu/intermediate_code_path.h"
#include "gpu/opencl_source.h"
#include "platform/folders.h"
#include "platform/own_file.h"
#include "platform/text.h"

namespace kyf {

namespace {

constexpr const wchar_t* kClass = L"COpenCLProgram";
constexpr std::size_t kMostFolderBytes = 260;                  // a longer folder is not made
constexpr std::size_t kMostBinaryBytes = std::size_t{1} << 28; // what is larger is no program of a few kernels

/// The binary's file; its folder is made. Empty where the user has no folder for it.
std::wstring PrepareBinaryFile() {
    const std::wstring folder = IntermediateCodePath();
    if (folder.empty()) return {};
    if (platform::ToUtf8(folder).size() < kMostFolderBytes) platform::MakeFolders(folder.c_str());
    return folder + (folder.back() == L'/' ? L"" : L"/") + L"OpenCLFile.bin";
}

std::unique_ptr<unsigned char[]> AllocBytes(std::size_t bytes) {
    return std::unique_ptr<unsigned char[]>(new (std::nothrow) unsigned char[bytes]());
}

/// The binary as the driver gives it, for a context of one device.
struct Binary {
    std::size_t Size = 0;
    std::unique_ptr<unsigned char[]> Bytes;
};

bool FetchBinary(const COpenCLAPI& api, cl_program program, Binary& binary, const CFuncTraceLog& log) {
    const auto getInfo = api.Table().clGetProgramInfo;
    log.Trace(__FILE__, __LINE__, L"OpenCL: Get program binary sizes.");
    if (!CheckOpenCl(getInfo(program, CL_PROGRAM_BINARY_SIZES, sizeof binary.Size, &binary.Size, nullptr)))
        return false;
    log.Trace(__FILE__, __LINE__, L"OpenCL: Get program binaries.");
    binary.Bytes = AllocBytes(binary.Size);
    if (!binary.Bytes) return false;
    unsigned char* to = binary.Bytes.get();
    return CheckOpenCl(getInfo(program, CL_PROGRAM_BINARIES, sizeof to, static_cast<void*>(&to), nullptr));
}

} // namespace

COpenCLProgram& COpenCLProgram::GetInstance() {
    static COpenCLProgram instance;
    return instance;
}

cl_program COpenCLProgram::GetProgram(const COpenCLAPI& api) {
    const CFuncTraceLog log(__FILE__, __LINE__, kClass, L"GetProgram()", 0);
    if (m_is_failed || m_program) return m_program;
    const std::wstring file = PrepareBinaryFile();
    if (!LoadBinary(api, file.c_str(), log) && !BuildSource(api, file.c_str(), log)) {
        log.Trace(__FILE__, __LINE__, L"OpenCL: m_program = nullptr");
        m_program = nullptr;
        m_is_failed = true;
    }
    return m_program;
}

// A file of another device or driver is told by the driver alone.
bool COpenCLProgram::LoadBinary(const COpenCLAPI& api, const wchar_t* file, const CFuncTraceLog& log) {
    const auto content = platform::ReadOwnFile(file, kMostBinaryBytes);
    if (!content) {
        log.Trace(__FILE__, __LINE__, file);
        return false;
    }
    cl_int status = CL_SUCCESS;
    cl_int error = CL_SUCCESS;
    const cl_program program = api.CreateProgramWithBinary(content->size(), content->data(), &status, &error);
    if (error != CL_SUCCESS || status != CL_SUCCESS) {
        const std::wstring codes = L"status = " + std::to_wstring(status) + L" err = " + std::to_wstring(error);
        log.Trace(__FILE__, __LINE__, codes.c_str(), L" ", file);
        return false;
    }
    if (!CheckOpenCl(api.BuildProgram(program, 1, nullptr))) {
        PutBuildInfoLog(api, program);
        return false;
    }
    m_program = program;
    return true;
}

bool COpenCLProgram::BuildSource(const COpenCLAPI& api, const wchar_t* file, const CFuncTraceLog& log) {
    log.Trace(__FILE__, __LINE__, L"OpenCL: Create Program Width Source.");
    const char* text = g_frameKernelText;
    const std::size_t length = sizeof g_frameKernelText; // with the terminator
    cl_int error = CL_SUCCESS;
    m_program = api.Table().clCreateProgramWithSource(*api.Context(), 1, &text, &length, &error);
    if (!CheckOpenCl(error)) return false;
    log.Trace(__FILE__, __LINE__, L"OpenCL: Build Program.");
    if (!CheckOpenCl(api.BuildProgram(m_program, 1, nullptr))) {
        PutBuildInfoLog(api, m_program);
        return false;
    }
    Binary binary;
    if (!FetchBinary(api, m_program, binary, log)) return false;
    if (platform::WriteOwnFile(file, binary.Bytes.get(), binary.Size))
        log.Trace(__FILE__, __LINE__, L"OpenCL: Output program binaries.");
    log.Trace(__FILE__, __LINE__, L"OpenCL: Created program binaries.");
    return true;
}

void PutBuildInfoLog(const COpenCLAPI& api, cl_program program) {
    const CFuncTraceLog log(__FILE__, __LINE__, kClass, L"PutBuildInfoLog()", 0);
    std::size_t size = 0;
    if (!CheckOpenCl(api.GetBuildLog(program, 0, nullptr, &size))) return;
    const std::unique_ptr<unsigned char[]> bytes = AllocBytes(size);
    if (!bytes) {
        log.Trace(__FILE__, __LINE__, L"Error: Failed to allocate memory for build log");
        return;
    }
    if (!CheckOpenCl(api.GetBuildLog(program, size, bytes.get(), nullptr))) return;
    std::string text(reinterpret_cast<const char*>(bytes.get()), size);
    text.resize(std::min(text.find('\0'), text.size()));
    log.Trace(__FILE__, __LINE__, platform::ToWide(text).c_str());
}

} // namespace kyf

bool KyfGetEnableGpuOpenCl(void) {
    try {
        kyf::g_isDisableGpuOpenCl = 0;
        return kyf::IsOpenClInitialized() && kyf::HasOpenClProgram();
    } catch (const std::bad_alloc&) {
        return false;
    }
}
