#include "gpu_probe.h"

#include <array>
#include <fstream>
#include <optional>

#include <kyfocus/gpu.h>
#include <kyimaging/kyimaging.h>

#include "errors.h"
#include "images.h"
#include "temporary_folder.h"

namespace app {
namespace {

/// The library's trace while the object lives. Without a folder for it there are no lines.
class TraceListener {
  public:
    TraceListener() {
        try {
            m_folder.emplace(std::filesystem::path());
        } catch (const Failure&) {
            return;
        }
        KyiSetTraceLogFolder(WidePath(m_folder->Path()).c_str());
        KyiSetPuttingTraceLog(1);
    }
    ~TraceListener() {
        KyiSetPuttingTraceLog(0);
        KyiSetTraceLogFolder(nullptr);
    }
    TraceListener(const TraceListener&) = delete;
    TraceListener& operator=(const TraceListener&) = delete;

    /// Texts without time and place.
    std::vector<std::string> Lines() const {
        std::vector<std::string> lines;
        if (!m_folder) return lines;
        std::ifstream log(m_folder->Path() / "kyimaging.log");
        for (std::string line; std::getline(log, line);)
            if (const std::size_t place = line.find(") "); place != std::string::npos)
                lines.push_back(line.substr(place + 2));
        return lines;
    }

  private:
    std::optional<TemporaryFolder> m_folder;
};

constexpr const char* kLacksDoubles = "cl_khr_fp64 is not supported on this device.";
constexpr const char* kCannotCompile = "the kernels cannot be compiled for the device";

struct Trouble {
    const char* Mark; // part of a line that stands for it
    const char* Reason;
    bool NamesRest; // what follows the mark in the line is told too
};

constexpr std::array kTroubles{
    Trouble{"AfxLoadLibrary nvcuda.dll", "no driver: libcuda.so.1 cannot be opened", false},
    Trouble{"AfxLoadLibrary OpenCL.dll", "no loader: libOpenCL.so.1 cannot be opened", false},
    Trouble{"nvcuda.dll lacks ", "the driver is too old or too new, it lacks ", true},
    Trouble{"OpenCL.dll lacks ", "the loader is too old or too new, it lacks ", true},
    Trouble{"cuInit(", "the driver finds no device that it can use", false},
    Trouble{"cuDeviceGet(", "the driver gives no device 0", false},
    Trouble{"cuCtxCreate(", "device 0 cannot be opened", false},
    Trouble{"cuCtxSetCurrent(", "device 0 cannot be opened", false},
    Trouble{"process_image_file_name ) ", "the kernels are missing or do not fit device 0: ", true},
    Trouble{"num_platforms == 0", "no platform is installed", false},
    Trouble{"param_value_size == 0", "the first platform has no graphics processor", false},
    Trouble{"OpenCL: m_program = nullptr", kCannotCompile, false}};

std::optional<std::string> TroubleOf(const std::string& line) {
    for (const Trouble& trouble : kTroubles) {
        const std::size_t at = line.find(trouble.Mark);
        if (at == std::string::npos) continue;
        return trouble.Reason + (trouble.NamesRest ? line.substr(at + std::string(trouble.Mark).size()) : "");
    }
    return std::nullopt;
}

BackEnd Probe(const char* name, bool (*ask)()) {
    BackEnd backEnd;
    backEnd.Name = name;
    const TraceListener trace;
    backEnd.IsAvailable = ask();
    const std::vector<std::string> lines = trace.Lines();
    if (!backEnd.IsAvailable) backEnd.Reason = ReasonOf(lines);
    backEnd.Details = DetailsOf(lines);
    return backEnd;
}

} // namespace

BackEnd ProbeCuda() { return Probe("CUDA", KyfGetEnableGpuCuda); }
BackEnd ProbeOpenCl() { return Probe("OpenCL", KyfGetEnableGpuOpenCl); }

std::string ReasonOf(const std::vector<std::string>& traceLines) {
    std::string reason = "the library does not tell why";
    bool lacksDoubles = false;
    for (const std::string& line : traceLines) {
        if (const std::optional<std::string> trouble = TroubleOf(line)) reason = *trouble;
        lacksDoubles = lacksDoubles || line == kLacksDoubles;
    }
    const bool isAskedForDoubles = reason == kCannotCompile;
    return reason +
           (lacksDoubles && isAskedForDoubles ? ", they need doubles (cl_khr_fp64), which a device lacks" : "");
}

std::vector<std::string> DetailsOf(const std::vector<std::string>& traceLines) {
    std::vector<std::string> details;
    for (const std::string& line : traceLines) {
        if (line == kLacksDoubles) details.push_back("    " + line); // told behind the device that it is about
        const bool isPlatform = line.starts_with("Platform ");
        if ((!isPlatform && !line.starts_with("  ")) || line.find("  Extensions: ") != std::string::npos) continue;
        details.push_back(line);
    }
    return details;
}

} // namespace app
