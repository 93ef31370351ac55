// Stands in the place of the OpenCL loader and has nothing of it, so that CUDA's tests run without OpenCL.
extern "C" __attribute__((visibility("default"))) int KyNoOpenCl() { return 0; }
