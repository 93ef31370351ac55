/// Images and their files as the commands use them: owned, loaded and saved with errors that name the file.
#ifndef KYFOCUS_APP_IMAGES_H
#define KYFOCUS_APP_IMAGES_H

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>

#include <kyimaging/kyimaging.h>

namespace app {

struct FreeImage {
    void operator()(KyiImageData* image) const { KyiFreeImageData(image); }
};
using Image = std::unique_ptr<KyiImageData, FreeImage>;

/// The file name as the libraries take it: wide text, a byte that is no part of valid UTF-8 as U+DC00 + byte.
std::wstring WidePath(const std::filesystem::path& path);

/// A path as it stands in messages and summaries.
std::string DisplayPath(const std::filesystem::path& path);

/// Loads an image file. Can be called from any thread.
/// Throws Failure with the path and the reason.
Image LoadImage(const std::filesystem::path& path);

/// Saves by the name's extension. Throws Failure with the path and the reason; no partial file stays.
void SaveImage(const std::filesystem::path& path, const KyiImageData& image);

/// Such as "8-bit gray" or "16-bit colour".
std::string DescribeFormat(int format);

/// Such as "640 x 480 8-bit gray".
std::string DescribeImage(const KyiImageData& image);

/// Bytes of the pixel block.
std::size_t ImageBytes(const KyiImageData& image);

} // namespace app

#endif
