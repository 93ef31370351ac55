/// Differentiation maps as files: gray images of 8 or 16 bits whose samples are the best focus values.
#ifndef KYFOCUS_APP_DIFFERENTIATION_MAP_FILE_H
#define KYFOCUS_APP_DIFFERENTIATION_MAP_FILE_H

#include <cstdint>
#include <filesystem>
#include <vector>

namespace app {

/// Width x Height best focus values, row 0 at the top; each from 0 to Depth - 1.
struct DifferentiationMap {
    int Width = 0;
    int Height = 0;
    int Depth = 0; // levels of a sample: 256 or 65536
    std::vector<std::int32_t> Values;
};

/// Any gray image; its bits give the depth. Throws Failure, naming the file and the reason.
DifferentiationMap LoadDifferentiationMap(const std::filesystem::path& file);

/// Saves by the name's extension, which must not be one of a lossy format. Throws Failure, naming the file and the
/// reason.
void SaveDifferentiationMap(const std::filesystem::path& file, const DifferentiationMap& map);

} // namespace app

#endif
