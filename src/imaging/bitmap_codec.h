/// Bitmap files (.bmp).
///
/// Read: 1, 4 and 8 bits with a palette, 16, 24 and 32 bits, run lengths of 4 and 8 bits, channel masks, bottom-up and
/// top-down, headers of 12, 40, 52, 56, 64, 108 and 124 bytes. A palette that is all gray gives format 3, everything
/// else format 4. Channels of other than 8 bits are scaled to 0..255, to the nearest; a fourth channel is dropped.
///
/// Written: format 3 as 8 bits with a gray palette, format 4 as 24 bits, pixels from a multiple of 64 on. All other
/// formats as a block, which only this library reads:
///
///     offset  bytes
///          0      2  "BM"
///          2      4  size of the file, 0 when it does not fit
///         10      4  128, where the pixels begin
///         14     40  the usual header: width, height, 1 plane, 8 * PixelBytes bits, compression "KYI1"
///         54      4  Format word
///         58     70  0
///        128         the pixel block of the image as it lies in memory: Height lines from the lowest up, each
///                    Width * PixelBytes bytes rounded up to 4
///
/// All numbers are little-endian, samples too. Other programs refuse such a file as of a compression that they do
/// not know.
#ifndef KYFOCUS_IMAGING_BITMAP_CODEC_H
#define KYFOCUS_IMAGING_BITMAP_CODEC_H

#include <span>

#include "imaging/image_file.h"

namespace kyi {

/// Whether a file that begins with these bytes is meant to be a bitmap.
bool IsBitmap(std::span<const std::uint8_t> start) noexcept;

/// Throws FileError.
OwnedImage LoadBitmap(platform::InputFile& file);

/// Reads the pixels of a file whose lines lie in it as in `image`, which has its size and format. False for any other
/// file, with the image as it was. Throws FileError, with the pixels overwritten in part.
bool ReloadBitmap(platform::InputFile& file, KyiImageData& image);

/// A failure to write is kept by `file`.
void SaveBitmap(platform::FileReplacement& file, const KyiImageData& image);

} // namespace kyi

#endif
