// JPEG files of any bytes.
#include <cstddef>
#include <cstdint>

#include "imaging/image_file_law.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::CheckImageFile(fuzz::WithStart({data, size}, "\xFF\xD8\xFF"));
    return 0;
}
