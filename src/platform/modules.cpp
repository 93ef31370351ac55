#include "platform/modules.h"

#include <array>
#include <climits>
#include <cstddef>

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

std::string ProgramPath() {
    std::array<char, PATH_MAX> path{};
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    // A path that fills the buffer may have been cut.
    if (length <= 0 || static_cast<std::size_t>(length) == path.size()) return {};
    return {path.data(), static_cast<std::size_t>(length)};
}

} // namespace platform
