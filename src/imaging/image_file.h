/// What the four codecs share: owned images, the reason of a refusal, limits, reading line by line.
///
/// Limits. An image has at most 1.5 gigapixels and lines of at most 2^31 - 4 bytes. A compressed file must hold at
/// least one byte for 4096 bytes of decoded samples (images below 16 MiB excepted): real pictures stay far from that,
/// files made to exhaust memory do not. An uncompressed file must hold all its samples. All this is checked before
/// pixels are allocated.
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

/// Bytes of samples that `fileBytes` bytes of a compressed file may claim to hold.
std::uint64_t MostDecodedBytes(std::uint64_t fileBytes) noexcept;

/// Throws FileError unless an image of this size may be made. Any values are allowed.
void CheckImageSize(std::int64_t width, std::int64_t height, std::int32_t pixelBytes);

/// Throws FileError when a compressed file claims too much, see the limits above.
void CheckDecodedBytes(std::uint64_t decodedBytes, std::uint64_t fileBytes);

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
