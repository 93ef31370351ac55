/// Height maps as .npy files: the array format of NumPy, read in versions 1 to 3, written in 1.0.
#ifndef KYFOCUS_APP_NPY_FILE_H
#define KYFOCUS_APP_NPY_FILE_H

#include <filesystem>

#include "height_map_file.h"

namespace app {

/// Whether the file begins as .npy files do. False also for a file that can't be read, and for a pipe or a device.
bool IsNpyFile(const std::filesystem::path& file);

/// Loads an array of two dimensions, rows first, of 32- or 64-bit floats in either byte order.
/// Throws Failure, naming the file and the reason, when it is none, damaged or cut short, or no plain file. A
/// header may have 65535 bytes.
HeightMap LoadNpy(const std::filesystem::path& file);

/// Writes the map as 64-bit floats, row after row from the top: shape (Height, Width).
/// Throws Failure, naming the file and the reason; a partial file may stay.
void SaveNpy(const std::filesystem::path& file, const HeightMap& map);

} // namespace app

#endif
