/// What holds for an image file of any bytes.
///
/// A load gives an image or a reason, never both. Every sample comes from the file, none from the memory that the
/// pixels were put into. What was loaded can be saved without loss, and loads again the same. A bitmap that can be
/// loaded over an image gives what a load gives.
///
/// Pixel blocks beyond 2 MiB are refused here, as if memory were short: small files may claim up to 16 MiB, and most of
/// the time would go into those.
#ifndef KYFOCUS_FUZZ_IMAGING_IMAGE_FILE_LAW_H
#define KYFOCUS_FUZZ_IMAGING_IMAGE_FILE_LAW_H

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace fuzz {

using Bytes = std::vector<std::uint8_t>;

/// The input as a file of a kind: `start` takes the place of the first bytes.
Bytes WithStart(std::span<const std::uint8_t> input, std::string_view start);

/// Ends the program when the law is broken.
void CheckImageFile(const Bytes& bytes);

} // namespace fuzz

#endif
