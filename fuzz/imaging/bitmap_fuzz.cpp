// Bitmap files of any bytes, with the samples of all formats that the library itself writes.
#include <cstddef>
#include <cstdint>

#include "imaging/image_file_law.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::CheckImageFile(fuzz::WithStart({data, size}, "BM"));
    return 0;
}
