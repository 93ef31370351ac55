/// TIFF files (.tif, .tiff).
///
/// Read: the first page, of classic and big files in either byte order, in strips or tiles, with every compression of
/// libtiff. Gray of 1, 2, 4, 8 and 16 bits (below 8 bits widened to 0..255; white-is-zero turned), palettes of up to 8
/// bits (format 3 when all gray, else 4), colour of 8 and 16 bits, chunky or in planes. Other kinds of 8 bits (CMYK,
/// Lab, YCbCr) are turned into colour by libtiff. Further samples, alpha too, are dropped. Rows stand as they are
/// stored, whatever the orientation tag tells. Floating-point and signed samples are refused.
///
/// Written: 8 and 16 bits, gray and colour, chunky strips, uncompressed; as a big file from 4 GB on.
#ifndef KYFOCUS_IMAGING_TIFF_CODEC_H
#define KYFOCUS_IMAGING_TIFF_CODEC_H

#include <span>

#include "imaging/image_file.h"

namespace kyi {

/// Whether a file that begins with these bytes is meant to be a TIFF.
bool IsTiff(std::span<const std::uint8_t> start) noexcept;

/// Throws FileError.
OwnedImage LoadTiff(platform::InputFile& file);

/// Throws FileError; a failure to write is kept by `file` as well.
void SaveTiff(platform::FileReplacement& file, const KyiImageData& image);

} // namespace kyi

#endif
