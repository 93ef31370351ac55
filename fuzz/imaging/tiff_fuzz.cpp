// TIFF files of any bytes: both byte orders, with addresses of 32 and of 64 bits.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "imaging/image_file_law.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace std::string_view_literals;
    static constexpr std::string_view kStarts[] = {"II\x2A\0"sv, "MM\0\x2A"sv, "II\x2B\0"sv, "MM\0\x2B"sv};
    const bool isBigEndian = size > 0 && data[0] == 'M';
    const bool isLong = size > 3 && (data[2] == '\x2B' || data[3] == '\x2B');
    fuzz::CheckImageFile(fuzz::WithStart({data, size}, kStarts[(isLong ? 2 : 0) + (isBigEndian ? 1 : 0)]));
    return 0;
}
