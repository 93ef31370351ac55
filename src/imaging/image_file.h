/// What the four codecs share: owned images, the reason of a refusal, limits, reading line by line.
///
/// Limits. An image has at most 1.5 gigapixels and lines of at most 2^31 - 4 bytes. An uncompressed file must hold all
/// its samples. For each byte of a compressed file reading holds at most 6144 bytes, or 16 MiB where that is more. That
/// counts the image with the padding of its lines and all that grows with it: indexes beside the colours of a bitmap in
/// run lengths, two rows of a PNG, coefficients of a JPEG in several scans, of a TIFF the largest strip or tile with
/// its decoder's copies and the pixels that libtiff turns into colour. Beside it stand the bytes of the file and
/// buffers of a few MiB whatever the image. Strips and tiles may share their bytes and reach beyond the image: all of
/// them together, packed and unpacked, keep within the same number. Real pictures stay below it, even in one colour:
/// deflate and LZW make up to 1400 bytes of one, of which a palette makes 4200 beside the strip. Files made to exhaust
/// memory do not. All this is checked before pixels are allocated.
#ifndef KYFOCUS_IMAGING_IMAGE_FILE_H
#define KYFOCUS_IMAGING_IMAGE_FILE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <vector>

#include <kyimaging/kyimaging.h>

#include "imaging/layout.h"
#include "platform/files.h"

namespace kyi {

/// Why a file is refused, without the path: for the caller's eyes.
class FileError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct FreeImageData {
    void operator()(KyiImageData* image) const noexcept { KyiFreeImageData(image); }
};
using OwnedImage = std::unique_ptr<KyiImageData, FreeImageData>;

/// Bytes that reading `fileBytes` bytes of a compressed file may hold, see the limits above.
std::uint64_t MostHeldBytes(std::uint64_t fileBytes) noexcept;

/// Throws FileError unless an image of this size may be made. Any values are allowed.
void CheckImageSize(std::int64_t width, std::int64_t height, std::int32_t pixelBytes);

/// Throws FileError when that is exceeded.
void CheckHeldBytes(std::uint64_t bytes, std::uint64_t fileBytes);

/// Bytes of an image in memory, its size checked by CheckImageSize.
std::uint64_t ImageBytes(std::int64_t width, std::int64_t height, std::int32_t format) noexcept;

/// A new image, its size checked. Throws FileError, also when out of memory.
OwnedImage NewImage(std::int64_t width, std::int64_t height, std::int32_t format);

/// Reads all of `bytes`, or throws FileError.
void ReadExactly(platform::InputFile& file, std::uint64_t offset, void* to, std::size_t bytes);

/// Reads lines that lie one after the other in a file, in pieces that stay in the processor's cache.
/// @param useLine  Called with the number of each line from 0 on and its bytes, which it may change.
template <typename UseLine>
void ReadLines(platform::InputFile& file, std::uint64_t offset, std::size_t lineBytes, std::int32_t lines,
               UseLine useLine) {
    constexpr std::size_t kPieceBytes = std::size_t{256} << 10;
    const std::size_t linesPerPiece = std::max<std::size_t>(1, kPieceBytes / std::max<std::size_t>(1, lineBytes));
    const std::size_t count = static_cast<std::size_t>(lines);
    std::vector<std::uint8_t> piece(std::min(linesPerPiece, count) * lineBytes);
    for (std::size_t first = 0; first < count; first += linesPerPiece) {
        const std::size_t here = std::min(linesPerPiece, count - first);
        ReadExactly(file, offset + first * lineBytes, piece.data(), here * lineBytes);
        for (std::size_t i = 0; i < here; ++i)
            useLine(static_cast<std::int32_t>(first + i), piece.data() + i * lineBytes);
    }
}

} // namespace kyi

#endif
