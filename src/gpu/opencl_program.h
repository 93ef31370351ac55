/// The built OpenCL program of the frame kernels, and its file between processes.
#ifndef KYFOCUS_GPU_OPENCL_PROGRAM_H
#define KYFOCUS_GPU_OPENCL_PROGRAM_H

#include <kyimaging/functracelog.h>

#include "gpu/opencl_api.h"

namespace kyf {

/// Builds the frame kernels once. The first build of a machine leaves the driver's binary in "OpenCLFile.bin" in the
/// intermediate code path, and later processes load that; a file that the driver does not take is replaced. One object
/// serves the process; tests make more. The program is never released. No lock.
class COpenCLProgram {
  public:
    COpenCLProgram() = default;
    COpenCLProgram(const COpenCLProgram&) = delete;
    COpenCLProgram& operator=(const COpenCLProgram&) = delete;

    /// The process's object.
    static COpenCLProgram& GetInstance();

    /// The program; null after an attempt that has failed, which is the last. `api` is initialised. Throws
    /// std::bad_alloc.
    cl_program GetProgram(const COpenCLAPI& api);
    /// What GetProgram has given last; null before.
    cl_program Program() const noexcept { return m_program; }

  private:
    bool LoadBinary(const COpenCLAPI& api, const wchar_t* file, const CFuncTraceLog& log);
    bool BuildSource(const COpenCLAPI& api, const wchar_t* file, const CFuncTraceLog& log);

    cl_program m_program = nullptr;
    bool m_is_failed = false;
};

/// Traces what the compiler said for the first device.
void PutBuildInfoLog(const COpenCLAPI& api, cl_program program);

} // namespace kyf

#endif
