/// JPEG files (.jpg, .jpeg).
///
/// Read: gray as format 3, everything else as format 4, CMYK too; 8 bits a sample, baseline, progressive and
/// arithmetic. Pixels stand as they are stored, whatever orientation the file's EXIF data tells. Data that is damaged
/// or ends early fails, also where a picture could be guessed.
///
/// Written: 8 bits, quality 95, all channels in full resolution.
#ifndef KYFOCUS_IMAGING_JPEG_CODEC_H
#define KYFOCUS_IMAGING_JPEG_CODEC_H

#include <span>

#include "imaging/image_file.h"

namespace kyi {

/// Whether a file that begins with these bytes is meant to be a JPEG.
bool IsJpeg(std::span<const std::uint8_t> start) noexcept;

/// Throws FileError.
OwnedImage LoadJpeg(platform::InputFile& file);

/// Throws FileError for 16-bit images and sides above 65500 pixels.
void CheckFitsJpeg(const KyiImageData& image);

/// Throws FileError; a failure to write is kept by `file` as well. The image fits.
void SaveJpeg(platform::FileReplacement& file, const KyiImageData& image);

} // namespace kyi

#endif
