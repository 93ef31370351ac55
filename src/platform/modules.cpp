#include "platform/modules.h"

#include <array>
#include <cinttypes>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fstream>

#include <dlfcn.h>
#include <unistd.h>

#include "platform/text.h"

namespace platform {

namespace {

struct ModuleName {
    std::wstring_view Known;
    const char* File;
};

constexpr std::array<ModuleName, 2> kModuleNames{{
    {L"nvcuda.dll", "libcuda.so.1"},
    {L"OpenCL.dll", "libOpenCL.so.1"},
}};

std::string FileOf(std::wstring_view name) {
    for (const ModuleName& module : kModuleNames)
        if (module.Known == name) return module.File;
    return ToUtf8(name);
}

} // namespace

void* OpenModule(std::wstring_view name) { return dlopen(FileOf(name).c_str(), RTLD_NOW | RTLD_LOCAL); }

void* FindEntryPoint(void* module, const char* name) noexcept { return module ? dlsym(module, name) : nullptr; }

void CloseModule(void* module) noexcept {
    if (module) dlclose(module);
}

std::string PathOfAddress(const void* address) {
    std::ifstream maps("/proc/self/maps");
    const auto place = reinterpret_cast<std::uintptr_t>(address);
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t first = 0;
        std::uintptr_t end = 0;
        int nameAt = 0; // behind addresses, rights, offset, device and file number
        const int read =
            std::sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR " %*s %*s %*s %*s %n", &first, &end, &nameAt);
        if (read != 2 || place < first || place >= end) continue;
        const auto start = static_cast<std::size_t>(nameAt);
        return start < line.size() && line[start] == '/' ? line.substr(start) : std::string();
    }
    return {};
}

std::string ProgramPath() {
    std::array<char, PATH_MAX> path{};
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    // A path that fills the buffer may have been cut.
    if (length <= 0 || static_cast<std::size_t>(length) == path.size()) return {};
    return {path.data(), static_cast<std::size_t>(length)};
}

} // namespace platform
