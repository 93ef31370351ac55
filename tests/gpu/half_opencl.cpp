// An OpenCL library that is too small: one entry point, which nobody may call.
#include <cstdlib>

extern "C" __attribute__((visibility("default"))) int clGetPlatformIDs() { std::abort(); }
