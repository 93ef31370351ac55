#include "gpu/opencl_double.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include <dlfcn.h>

#define KY_EXPORT extern "C" __attribute__((visibility("default")))

namespace test {

namespace {

// Compiled kernels are kept between test runs, away from the user's.
void* OpenLoader() {
    std::error_code ignored;
    std::filesystem::create_directories(KY_POCL_CACHE, ignored);
    setenv("POCL_CACHE_DIR", KY_POCL_CACHE, 1);
    unsetenv("OCL_ICD_VENDORS");
    return dlopen(KY_OPENCL_LOADER, RTLD_NOW | RTLD_LOCAL);
}

void* Loader() {
    static void* const loader = OpenLoader();
    return loader;
}

template <typename Function> Function* Original(const char* name) {
    return reinterpret_cast<Function*>(dlsym(Loader(), name));
}

/// Counts a call; the error that it is to fail with, else 0.
cl_int Count(const char* name) {
    OpenClDouble& state = OpenClDouble::Get();
    const int call = ++state.Calls[name];
    if (!Loader()) return CL_INVALID_OPERATION;
    if (!state.Failure || state.Failure->Name != name) return CL_SUCCESS;
    return state.Failure->Call == 0 || state.Failure->Call == call ? state.Failure->Error : CL_SUCCESS;
}

bool IsPocl(cl_platform_id platform) {
    char name[100] = "";
    Original<decltype(clGetPlatformInfo)>("clGetPlatformInfo")(platform, CL_PLATFORM_NAME, sizeof name - 1, name,
                                                               nullptr);
    return std::string(name) == "Portable Computing Language";
}

std::vector<cl_platform_id> PoclPlatforms() {
    if (!Loader()) return {};
    auto* const ask = Original<decltype(clGetPlatformIDs)>("clGetPlatformIDs");
    cl_uint count = 0;
    if (ask(0, nullptr, &count) != CL_SUCCESS) return {};
    std::vector<cl_platform_id> platforms(count);
    ask(count, platforms.data(), nullptr);
    std::erase_if(platforms, [](cl_platform_id platform) { return !IsPocl(platform); });
    return platforms;
}

/// For calls that return an object and tell their error through the last argument.
template <typename Function, typename... Args>
auto Create(const char* name, cl_int* error, Args... args) -> decltype(Original<Function>(name)(args..., error)) {
    if (const cl_int planned = Count(name)) {
        *error = planned;
        return nullptr;
    }
    return Original<Function>(name)(args..., error);
}

template <typename Function, typename... Args> cl_int Call(const char* name, Args... args) {
    if (const cl_int planned = Count(name)) return planned;
    return Original<Function>(name)(args...);
}

} // namespace

OpenClDouble& OpenClDouble::Get() {
    static OpenClDouble state;
    return state;
}

void OpenClDouble::Reset() {
    OpenClDouble fresh;
    fresh.LiveBuffers.swap(LiveBuffers);
    fresh.LiveKernels.swap(LiveKernels);
    *this = std::move(fresh);
}

std::string OpenClDouble::Missing() {
    const std::string help = "; run scripts/install_dependencies test";
    if (!Loader()) return "no OpenCL loader at \"" KY_OPENCL_LOADER "\"" + help;
    return PoclPlatforms().empty() ? "the OpenCL loader finds no PoCL" + help : "";
}

} // namespace test

using test::OpenClDouble;

KY_EXPORT cl_int clGetPlatformIDs(cl_uint room, cl_platform_id* platforms, cl_uint* count) {
    if (const cl_int planned = test::Count("clGetPlatformIDs")) return planned;
    const std::vector<cl_platform_id> shown =
        OpenClDouble::Get().ShowsPlatforms ? test::PoclPlatforms() : std::vector<cl_platform_id>();
    if (count) *count = static_cast<cl_uint>(shown.size());
    if (platforms) std::copy_n(shown.begin(), std::min<std::size_t>(room, shown.size()), platforms);
    return CL_SUCCESS;
}

KY_EXPORT cl_int clGetPlatformInfo(cl_platform_id platform, cl_platform_info name, size_t room, void* value,
                                   size_t* size) {
    return test::Call<decltype(clGetPlatformInfo)>("clGetPlatformInfo", platform, name, room, value, size);
}

KY_EXPORT cl_int clGetDeviceIDs(cl_platform_id platform, cl_device_type type, cl_uint room, cl_device_id* devices,
                                cl_uint* count) {
    return test::Call<decltype(clGetDeviceIDs)>("clGetDeviceIDs", platform, type, room, devices, count);
}

KY_EXPORT cl_int clGetDeviceInfo(cl_device_id device, cl_device_info name, size_t room, void* value, size_t* size) {
    return test::Call<decltype(clGetDeviceInfo)>("clGetDeviceInfo", device, name, room, value, size);
}

KY_EXPORT cl_context clCreateContextFromType(const cl_context_properties* properties, cl_device_type type,
                                             void(CL_CALLBACK* notify)(const char*, const void*, size_t, void*),
                                             void* data, cl_int* error) {
    if (type == CL_DEVICE_TYPE_GPU && OpenClDouble::Get().ShowsGraphicsProcessor) type = CL_DEVICE_TYPE_ALL;
    return test::Create<decltype(clCreateContextFromType)>("clCreateContextFromType", error, properties, type, notify,
                                                           data);
}

KY_EXPORT cl_int clGetContextInfo(cl_context context, cl_context_info name, size_t room, void* value, size_t* size) {
    return test::Call<decltype(clGetContextInfo)>("clGetContextInfo", context, name, room, value, size);
}

KY_EXPORT cl_mem clCreateBuffer(cl_context context, cl_mem_flags flags, size_t size, void* host, cl_int* error) {
    OpenClDouble& state = OpenClDouble::Get();
    state.BufferFlags.push_back(flags);
    state.BufferSizes.push_back(size);
    const cl_mem buffer = test::Create<decltype(clCreateBuffer)>("clCreateBuffer", error, context, flags, size, host);
    if (buffer) state.LiveBuffers.insert(buffer);
    return buffer;
}

KY_EXPORT cl_int clReleaseMemObject(cl_mem buffer) {
    OpenClDouble& state = OpenClDouble::Get();
    if (state.LiveBuffers.erase(buffer) == 0) std::abort(); // released twice, or never made
    return test::Call<decltype(clReleaseMemObject)>("clReleaseMemObject", buffer);
}

KY_EXPORT cl_program clCreateProgramWithSource(cl_context context, cl_uint count, const char** texts,
                                               const size_t* lengths, cl_int* error) {
    for (cl_uint i = 0; i < count; ++i)
        OpenClDouble::Get().Sources.push_back(lengths ? std::string(texts[i], lengths[i]) : std::string(texts[i]));
    return test::Create<decltype(clCreateProgramWithSource)>("clCreateProgramWithSource", error, context, count, texts,
                                                             lengths);
}

KY_EXPORT cl_program clCreateProgramWithBinary(cl_context context, cl_uint count, const cl_device_id* devices,
                                               const size_t* lengths, const unsigned char** binaries, cl_int* status,
                                               cl_int* error) {
    return test::Create<decltype(clCreateProgramWithBinary)>("clCreateProgramWithBinary", error, context, count,
                                                             devices, lengths, binaries, status);
}

KY_EXPORT cl_int clBuildProgram(cl_program program, cl_uint count, const cl_device_id* devices, const char* options,
                                void(CL_CALLBACK* notify)(cl_program, void*), void* data) {
    OpenClDouble::Get().Options.emplace_back(options ? options : "(none)");
    OpenClDouble::Get().BuildDeviceCounts.push_back(count);
    return test::Call<decltype(clBuildProgram)>("clBuildProgram", program, count, devices, options, notify, data);
}

KY_EXPORT cl_int clGetProgramInfo(cl_program program, cl_program_info name, size_t room, void* value, size_t* size) {
    return test::Call<decltype(clGetProgramInfo)>("clGetProgramInfo", program, name, room, value, size);
}

KY_EXPORT cl_int clGetProgramBuildInfo(cl_program program, cl_device_id device, cl_program_build_info name, size_t room,
                                       void* value, size_t* size) {
    return test::Call<decltype(clGetProgramBuildInfo)>("clGetProgramBuildInfo", program, device, name, room, value,
                                                       size);
}

KY_EXPORT cl_kernel clCreateKernel(cl_program program, const char* name, cl_int* error) {
    const cl_kernel kernel = test::Create<decltype(clCreateKernel)>("clCreateKernel", error, program, name);
    if (kernel) OpenClDouble::Get().LiveKernels.insert(kernel);
    return kernel;
}

KY_EXPORT cl_int clReleaseKernel(cl_kernel kernel) {
    if (OpenClDouble::Get().LiveKernels.erase(kernel) == 0) std::abort();
    return test::Call<decltype(clReleaseKernel)>("clReleaseKernel", kernel);
}

KY_EXPORT cl_int clSetKernelArg(cl_kernel kernel, cl_uint index, size_t size, const void* value) {
    return test::Call<decltype(clSetKernelArg)>("clSetKernelArg", kernel, index, size, value);
}

KY_EXPORT cl_int clEnqueueReadBuffer(cl_command_queue queue, cl_mem buffer, cl_bool blocking, size_t offset,
                                     size_t size, void* to, cl_uint count, const cl_event* waits, cl_event* event) {
    return test::Call<decltype(clEnqueueReadBuffer)>("clEnqueueReadBuffer", queue, buffer, blocking, offset, size, to,
                                                     count, waits, event);
}

KY_EXPORT cl_int clEnqueueNDRangeKernel(cl_command_queue queue, cl_kernel kernel, cl_uint dimensions,
                                        const size_t* offset, const size_t* global, const size_t* local, cl_uint count,
                                        const cl_event* waits, cl_event* event) {
    const auto sizes = [](const size_t* of) { return std::to_string(of[0]) + "x" + std::to_string(of[1]); };
    OpenClDouble::Get().Launches.push_back(dimensions == 2 ? sizes(global) + "/" + sizes(local) : "not 2 dimensions");
    return test::Call<decltype(clEnqueueNDRangeKernel)>("clEnqueueNDRangeKernel", queue, kernel, dimensions, offset,
                                                        global, local, count, waits, event);
}

KY_EXPORT cl_command_queue clCreateCommandQueue(cl_context context, cl_device_id device,
                                                cl_command_queue_properties properties, cl_int* error) {
    return test::Create<decltype(clCreateCommandQueue)>("clCreateCommandQueue", error, context, device, properties);
}
