// The entry points of the driver that tests run. Only what stands here is shown of the library.
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>

#include "gpu/cuda_driver.h"
#include "gpu/fake_cuda.h"
#include "gpu/fake_cuda_kernels.h"

#define KY_ENTRY extern "C" __attribute__((visibility("default"))) kyf::CUresult

namespace {

constexpr kyf::CUresult kSuccess = 0;
constexpr kyf::CUresult kInvalidValue = 1;
constexpr kyf::CUresult kInvalidHandle = 400;
constexpr kyf::CUresult kUnknown = 999;
constexpr int kDevice = 7; // of ordinal 0

char g_context;
char g_module;

test::FakeCudaState& State() { return *FakeCuda(); }

void Expect(bool holds, const char* claim) {
    if (!holds) State().Complaints.emplace_back(claim);
}

// Notes a call; whether it is one that a test wants to fail.
bool Fails(const std::string& name) {
    test::FakeCudaState& state = State();
    int before = 0;
    for (const std::string& call : state.Calls) before += call == name ? 1 : 0;
    state.Calls.push_back(name);
    return name == state.FailingCall && before >= state.FailingFrom;
}

bool IsBlock(kyf::CUdeviceptr address, std::size_t bytes) {
    const auto found = State().Memory.find(address);
    if (found == State().Memory.end()) return false;
    Expect(found->second == bytes, "a copy of another size than the block");
    return found->second >= bytes;
}

} // namespace

test::FakeCudaState* FakeCuda() {
    static test::FakeCudaState state;
    return &state;
}

KY_ENTRY cuInit(unsigned int flags) {
    Expect(flags == 0, "cuInit: flags");
    return Fails("cuInit") ? kUnknown : kSuccess;
}

KY_ENTRY cuDeviceGet(kyf::CUdevice* device, int ordinal) {
    Expect(ordinal == 0, "cuDeviceGet: ordinal");
    if (Fails("cuDeviceGet")) return kUnknown;
    *device = kDevice;
    return kSuccess;
}

KY_ENTRY cuCtxCreate_v2(kyf::CUcontext* context, unsigned int flags, kyf::CUdevice device) {
    Expect(flags == 0 && device == kDevice, "cuCtxCreate_v2: flags or device");
    if (Fails("cuCtxCreate_v2")) return kUnknown;
    *context = reinterpret_cast<kyf::CUcontext>(&g_context);
    return kSuccess;
}

KY_ENTRY cuCtxSetCurrent(kyf::CUcontext context) {
    Expect(context == reinterpret_cast<kyf::CUcontext>(&g_context), "cuCtxSetCurrent: context");
    return Fails("cuCtxSetCurrent") ? kUnknown : kSuccess;
}

KY_ENTRY cuModuleLoad(kyf::CUmodule* module, const char* path) {
    State().ModulePath = path;
    if (const char* const report = std::getenv("KY_FAKE_CUDA_REPORT"))
        std::ofstream(report, std::ios::app) << path << '\n';
    if (Fails("cuModuleLoad")) return kUnknown;
    *module = reinterpret_cast<kyf::CUmodule>(&g_module);
    return kSuccess;
}

KY_ENTRY cuModuleGetFunction(kyf::CUfunction* function, kyf::CUmodule module, const char* name) {
    Expect(module == reinterpret_cast<kyf::CUmodule>(&g_module), "cuModuleGetFunction: module");
    if (Fails("cuModuleGetFunction")) return kUnknown;
    const test::FakeKernel* const kernel = test::FindKernel(name);
    Expect(kernel != nullptr, "cuModuleGetFunction: a name that no kernel has");
    if (!kernel) return kInvalidHandle;
    *function = reinterpret_cast<kyf::CUfunction>(const_cast<test::FakeKernel*>(kernel));
    return kSuccess;
}

// What is in new memory is whatever was there before.
KY_ENTRY cuMemAlloc_v2(kyf::CUdeviceptr* memory, std::size_t bytes) {
    Expect(bytes > 0, "cuMemAlloc_v2: size");
    if (Fails("cuMemAlloc_v2")) return kUnknown;
    void* const block = std::malloc(bytes);
    if (!block) return kUnknown;
    std::memset(block, 0xCD, bytes);
    *memory = reinterpret_cast<kyf::CUdeviceptr>(block);
    State().Memory[*memory] = bytes;
    ++State().Allocations;
    return kSuccess;
}

KY_ENTRY cuMemFree_v2(kyf::CUdeviceptr memory) {
    if (Fails("cuMemFree_v2")) return kUnknown;
    Expect(State().Memory.erase(memory) == 1, "cuMemFree_v2: no block");
    std::free(reinterpret_cast<void*>(memory));
    return kSuccess;
}

KY_ENTRY cuMemcpyHtoD_v2_ptds(kyf::CUdeviceptr to, const void* from, std::size_t bytes) {
    if (Fails("cuMemcpyHtoD_v2_ptds")) return kUnknown;
    if (!IsBlock(to, bytes)) return kInvalidValue;
    std::memcpy(reinterpret_cast<void*>(to), from, bytes);
    return kSuccess;
}

KY_ENTRY cuMemcpyDtoH_v2_ptds(void* to, kyf::CUdeviceptr from, std::size_t bytes) {
    if (Fails("cuMemcpyDtoH_v2_ptds")) return kUnknown;
    if (!IsBlock(from, bytes)) return kInvalidValue;
    std::memcpy(to, reinterpret_cast<const void*>(from), bytes);
    return kSuccess;
}

KY_ENTRY cuLaunchKernel(kyf::CUfunction function, unsigned int gridX, unsigned int gridY, unsigned int gridZ,
                        unsigned int blockX, unsigned int blockY, unsigned int blockZ, unsigned int sharedBytes,
                        kyf::CUstream stream, void** parameters, void** extra) {
    Expect(gridZ == 1 && blockX == 16 && blockY == 16 && blockZ == 1, "cuLaunchKernel: grid or block");
    Expect(sharedBytes == 0 && !stream && !extra, "cuLaunchKernel: shared memory, stream or extra");
    if (Fails("cuLaunchKernel")) return kUnknown;
    Expect(function != nullptr, "cuLaunchKernel: function");
    if (!function) return kInvalidHandle;
    const auto* const kernel = reinterpret_cast<const test::FakeKernel*>(function);
    State().Kernels.emplace_back(kernel->Name);
    return kernel->Launch(State(), {gridX, gridY}, parameters) ? kSuccess : kInvalidValue;
}

// A driver that knows its handles refuses what is none.
KY_ENTRY cuModuleUnload(kyf::CUmodule module) {
    State().Unloaded = module;
    return Fails("cuModuleUnload") ? kUnknown : kInvalidHandle;
}

KY_ENTRY cuCtxDestroy(kyf::CUcontext context) {
    State().Destroyed = context;
    return Fails("cuCtxDestroy") ? kUnknown : kInvalidHandle;
}
