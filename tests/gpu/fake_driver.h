/// The driver for tests in the place of the machine's: from its opening on, it is the one that the process finds.
#ifndef KYFOCUS_TESTS_GPU_FAKE_DRIVER_H
#define KYFOCUS_TESTS_GPU_FAKE_DRIVER_H

#include <stdexcept>
#include <string>

#include <dlfcn.h>

#include "gpu/fake_cuda.h"

namespace test {

/// Opens a module for the time of a scope.
class OpenedModule {
  public:
    explicit OpenedModule(const char* path) : m_handle(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
        if (!m_handle) throw std::runtime_error(dlerror());
    }
    ~OpenedModule() { dlclose(m_handle); }
    OpenedModule(const OpenedModule&) = delete;
    OpenedModule& operator=(const OpenedModule&) = delete;

    void* Find(const char* name) const { return dlsym(m_handle, name); }

  private:
    void* m_handle;
};

/// The driver with a fresh account; memory that lives in it lives on.
class FakeDriver {
  public:
    FakeDriver() : m_module(KY_FAKE_CUDA), m_state(reinterpret_cast<decltype(&FakeCuda)>(m_module.Find("FakeCuda"))()) {
        Forget();
    }

    FakeCudaState* operator->() const { return m_state; }
    FakeCudaState& operator*() const { return *m_state; }

    /// Clears everything but the memory.
    void Forget() {
        FakeCudaState fresh;
        fresh.Memory.swap(m_state->Memory);
        *m_state = std::move(fresh);
    }
    void FailAt(const std::string& call, int from = 0) {
        m_state->FailingCall = call;
        m_state->FailingFrom = from;
    }

  private:
    OpenedModule m_module;
    FakeCudaState* m_state;
};

} // namespace test

#endif
