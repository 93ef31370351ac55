/// Height maps as files: 32-bit float TIFF, one sample a pixel, the unit as the writer says.
#ifndef KYFOCUS_APP_HEIGHT_MAP_FILE_H
#define KYFOCUS_APP_HEIGHT_MAP_FILE_H

#include <filesystem>
#include <string>
#include <vector>

namespace app {

/// Width x Height heights, row 0 at the top; NaN is a hole.
struct HeightMap {
    int Width = 0;
    int Height = 0;
    std::vector<double> Values;
};

/// Whether the file is a TIFF of one 32-bit float sample a pixel. False also for a file that can't be read.
bool IsHeightMapFile(const std::filesystem::path& file);

/// Throws Failure, naming the file and the reason, when it is no such TIFF, damaged or cut short. A compressed one may
/// become 3072 bytes of Values for each byte of its file, or 16 MiB where that is more.
HeightMap LoadHeightMap(const std::filesystem::path& file);

/// The unit of the heights that the file's description tells, as SaveHeightMap's callers write it: what follows "unit="
/// in its line. Empty when it tells none, or nothing that could be one. Throws nothing but std::bad_alloc.
std::string HeightUnit(const std::filesystem::path& file);

/// @param description  Goes into the file's description field: what the numbers are and in which unit.
/// Values are rounded to floats. Throws Failure, naming the file and the reason; a partial file may stay.
void SaveHeightMap(const std::filesystem::path& file, const HeightMap& map, const std::string& description);

} // namespace app

#endif
