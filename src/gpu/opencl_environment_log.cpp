// What the trace log tells of a machine's OpenCL platforms and devices. A query that fails ends the list it belongs to.
#include <array>
#include <cstdint>
#include <cwchar>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <kyimaging/functracelog.h>

#include "gpu/opencl_api.h"
#include "platform/text.h"

namespace kyf {

namespace {

constexpr int kBytesToMegabytes = 20;

void TraceLine(const CFuncTraceLog& log, const wchar_t* head, const std::wstring& value, const wchar_t* tail = L"") {
    log.Trace(__FILE__, __LINE__, head, value.c_str(), tail);
}

/// Asks twice, for the length and for the text. Nothing after an error, which has been traced.
template <typename Query> std::optional<std::string> AskText(const Query& query) {
    std::size_t bytes = 0;
    if (!CheckOpenCl(query(0, nullptr, &bytes))) return std::nullopt;
    std::string text(bytes, '\0');
    if (!CheckOpenCl(query(text.size(), text.data(), nullptr))) return std::nullopt;
    text.resize(text.find('\0') == std::string::npos ? text.size() : text.find('\0'));
    return text;
}

class DeviceLog {
  public:
    DeviceLog(const OpenClTable& table, const CFuncTraceLog& log, cl_device_id device)
        : m_table(table), m_log(log), m_device(device) {}

    bool Write() const {
        return WriteText(CL_DEVICE_NAME, L"    Name: ") && WriteType() && WriteGroupSize() && WriteMemory() &&
               WriteExtensions();
    }

  private:
    template <typename Value> bool Ask(cl_device_info name, Value& value) const {
        return CheckOpenCl(m_table.clGetDeviceInfo(m_device, name, sizeof value, &value, nullptr));
    }

    std::optional<std::string> AskDeviceText(cl_device_info name) const {
        return AskText([&](std::size_t bytes, void* to, std::size_t* needed) {
            return m_table.clGetDeviceInfo(m_device, name, bytes, to, needed);
        });
    }

    bool WriteText(cl_device_info name, const wchar_t* head) const {
        const std::optional<std::string> text = AskDeviceText(name);
        if (text) TraceLine(m_log, head, platform::ToWide(*text));
        return text.has_value();
    }

    bool WriteType() const {
        cl_device_type type = 0;
        if (!Ask(CL_DEVICE_TYPE, type)) return false;
        const wchar_t* name = L"Unknown";
        if (type & CL_DEVICE_TYPE_CPU)
            name = L"CPU";
        else if (type & CL_DEVICE_TYPE_GPU)
            name = L"GPU";
        else if (type & CL_DEVICE_TYPE_ACCELERATOR)
            name = L"Accelerator";
        TraceLine(m_log, L"    Type: ", name);
        return true;
    }

    bool WriteGroupSize() const {
        std::size_t size = 0;
        if (!Ask(CL_DEVICE_MAX_WORK_GROUP_SIZE, size)) return false;
        TraceLine(m_log, L"    Max Work Group Size: ", std::to_wstring(size));
        return true;
    }

    bool WriteMemory() const {
        cl_ulong bytes = 0;
        if (!Ask(CL_DEVICE_GLOBAL_MEM_SIZE, bytes)) return false;
        TraceLine(m_log, L"    Global Memory Size: ", std::to_wstring(bytes >> kBytesToMegabytes), L" MB");
        return true;
    }

    bool WriteExtensions() const {
        const std::optional<std::string> extensions = AskDeviceText(CL_DEVICE_EXTENSIONS);
        if (!extensions) return false;
        TraceLine(m_log, L"    Extensions: ", platform::ToWide(*extensions));
        const bool hasDoubles = extensions->find("cl_khr_fp64") != std::string::npos;
        m_log.Trace(__FILE__, __LINE__,
                    hasDoubles ? L"cl_khr_fp64 is supported!" : L"cl_khr_fp64 is not supported on this device.");
        return true;
    }

    const OpenClTable& m_table;
    const CFuncTraceLog& m_log;
    cl_device_id m_device;
};

void WriteDevices(const OpenClTable& table, const CFuncTraceLog& log, cl_platform_id platform) {
    cl_uint count = 0;
    if (!CheckOpenCl(table.clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, 0, nullptr, &count))) return;
    TraceLine(log, L"  Number of devices: ", std::to_wstring(count));
    if (count == 0) return;
    std::vector<cl_device_id> devices(count);
    if (!CheckOpenCl(table.clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, count, devices.data(), nullptr))) return;
    for (cl_uint i = 0; i < count; ++i) {
        TraceLine(log, L"  Device ", std::to_wstring(i), L":");
        if (!DeviceLog(table, log, devices[i]).Write()) return;
    }
}

bool WritePlatformText(const OpenClTable& table, const CFuncTraceLog& log, cl_platform_id platform,
                       cl_platform_info name, const wchar_t* head) {
    const std::optional<std::string> text = AskText([&](std::size_t bytes, void* to, std::size_t* needed) {
        return table.clGetPlatformInfo(platform, name, bytes, to, needed);
    });
    if (text) TraceLine(log, head, platform::ToWide(*text));
    return text.has_value();
}

} // namespace

void LogOpenClEnvironment(const OpenClTable& table) {
    const CFuncTraceLog log(__FILE__, __LINE__, L"logOpenCLEnvironment( COpenCLAPI& )", 0);
    cl_uint count = 0;
    if (!CheckOpenCl(table.clGetPlatformIDs(0, nullptr, &count))) return;
    TraceLine(log, L"Number of OpenCL platforms: ", std::to_wstring(count));
    if (count == 0) return;
    std::vector<cl_platform_id> platforms(count);
    if (!CheckOpenCl(table.clGetPlatformIDs(count, platforms.data(), nullptr))) return;
    for (cl_uint i = 0; i < count; ++i) {
        TraceLine(log, L"Platform ", std::to_wstring(i), L":");
        if (!WritePlatformText(table, log, platforms[i], CL_PLATFORM_NAME, L"  Name: ") ||
            !WritePlatformText(table, log, platforms[i], CL_PLATFORM_VERSION, L"  Version: "))
            return;
        WriteDevices(table, log, platforms[i]);
    }
}

} // namespace kyf
