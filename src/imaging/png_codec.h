/// PNG files (.png).
///
/// Read: all colour types and bit depths, interlaced too. Gray below 8 bits is widened to 0..255; a palette that is all
/// gray gives format 3, else 4; 16 bits stay 16 bits; alpha is dropped, not blended. Colour profiles and text are
/// skipped.
///
/// Written: 8 and 16 bits, gray and colour, packed for speed rather than size.
#ifndef KYFOCUS_IMAGING_PNG_CODEC_H
#define KYFOCUS_IMAGING_PNG_CODEC_H

#include <span>

#include "imaging/image_file.h"

namespace kyi {

/// Whether a file that begins with these bytes is meant to be a PNG.
bool IsPng(std::span<const std::uint8_t> start) noexcept;

/// Throws FileError.
OwnedImage LoadPng(platform::InputFile& file);

/// Throws FileError; a failure to write is kept by `file` as well.
void SavePng(platform::FileReplacement& file, const KyiImageData& image);

} // namespace kyi

#endif
