// For the address checks. Contexts, programs and kernels are kept until the process ends, and so is what the driver and
// its compiler have with them; buffers and frames' kernels are counted by the double.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();

const char* __lsan_default_suppressions() { return "leak:libpocl\nleak:libLLVM\nleak:libclang\nleak:libOpenCL\n"; }
