/// Shared modules that are opened at run time and never linked.
#ifndef KYFOCUS_PLATFORM_MODULES_H
#define KYFOCUS_PLATFORM_MODULES_H

#include <string>
#include <string_view>

namespace platform {

/// Opens a shared module by the name that traces give it: "nvcuda.dll" is libcuda.so.1 here, "OpenCL.dll" is
/// libOpenCL.so.1, any other name stands for itself. It is searched where the system searches for shared libraries.
/// @return null when there is none, or when it cannot be loaded.
void* OpenModule(std::wstring_view name);

/// Address of an exported name; null when the module lacks it.
void* FindEntryPoint(void* module, const char* name) noexcept;

/// Null is accepted.
void CloseModule(void* module) noexcept;

/// Full file name of the program or shared library that holds an address of this process, wherever the working folder
/// is and was. Empty when the system does not tell.
std::string PathOfAddress(const void* address);

/// Full file name of the program that this process runs. Empty when the system does not tell.
std::string ProgramPath();

} // namespace platform

#endif
